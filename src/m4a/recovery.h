// The mirror of a plain file's sizes, from which its index can be built should the recording be cut off.
#pragma once

#include <cstddef>
#include <cstdio>

struct m4a_t;

namespace auspool::m4a {

// Both write at the stream's position, and flush: what is told is on the disk as soon as the packet itself. A record
// that cannot be written is right up to there and gets nothing more.
void begin_mirror(m4a_t &m4a, std::FILE *recovery_file);
void mirror_size(m4a_t &m4a, std::size_t size);

// Cuts the record behind the sizes of the packets that there still are.
void forget_sizes(m4a_t &m4a);

}  // namespace auspool::m4a
