// Blocks of the file: new ones, those that are free again, and those that are never used again.
#pragma once

#include <cstdint>
#include <optional>

#include "audiskdelay/BTAudioBuffer/context.h"

namespace auspool::audiskdelay {

// The index of a block for nodes or audio: one from the list of free ones, else a new one, else what room the oldest
// audio leaves. May change the tree.
std::optional<std::uint32_t> take_file_block(BTAudioBuffer *buffer);

// Puts a block whose audio has gone on the list of free ones. Its disk space stays with it, for its next use.
// False if the tree has no room for the list's record; then the block is lost.
bool free_file_block(BTAudioBuffer *buffer, std::uint32_t blockIndex);

// Gives up a block whose audio has gone: it is never used again, and its disk space is given back before long.
void lose_file_block(BTAudioBuffer *buffer, std::uint32_t blockIndex);

}  // namespace auspool::audiskdelay
