// A long stretch of audio in a temporary file, any frame of which is reached quickly.
//
//   BTAudioBuffer *store = BTAudioBufferCreate(44100 * 600);              // the last ten minutes
//   BTAudioBufferWrite(store, samples, frames * 4, frames, true);         // audio
//   BTAudioBufferWrite(store, nullptr, 0, frames, true);                  // silence: one small record, however long
//   BTAudioBufferWrite(store, nullptr, 0, frames, false);                 // a gap: time went by, nothing is stored
//
//   std::uint64_t start, length;
//   BTAudioBufferGetInfo(store, &start, &length, nullptr);
//   for (std::uint64_t at = start; at < start + length;) {
//     char audio[16384];
//     void *data = audio;
//     std::uint32_t bytes = sizeof audio, frames = 0;
//     if (!BTAudioBufferRead(store, &at, &data, &bytes, &frames, nullptr)) break;
//     at += frames;
//   }
//   BTAudioBufferDestroy(store);
//
// A frame is 4 bytes in whatever form the caller chose. Frames are counted from 0 as they are written, silence included
// and gaps not; the count never starts again. Audio and silence come in at the new end, and the old end is cut off as
// soon as the store holds more than its maximum.
//
// The store takes no lock: all calls come from one thread or under the owner's lock. All but BTAudioBufferGetInfo may
// wait for the disk, so none is for a real-time thread. After creation nothing allocates, but for a read that is asked
// to.
//
// Memory is flat: 4 MiB of cache, pinned if the system allows it, and some 100 KiB beside them.
//
// The file: 128 KiB for 32,766 frames of audio, none for silence, and one for about 3,000 records. It never shrinks and
// grows to at most 262,144 blocks, 34 GB: at 44,100 frames a second after 54 hours of sound, whatever the maximum. Disk
// space is given back, as holes in the file, for audio that was cut off because the store holds its maximum, 8 MiB at a
// time: what the file takes on disk follows the audio that is held. But blocks cut off in that way are not used again:
// once the file is full, room for new audio is made of the oldest audio block by block, and every silence that pushes
// audio out makes the store smaller for good. A silence longer than the maximum then leaves no room for audio at all,
// although writes still return true. Who runs longer than 54 hours of sound destroys the store and creates another.
#pragma once

#include <cstdint>

namespace auspool::audiskdelay {

struct BTAudioBuffer;

// A store for `max_frames` frames; 0 stands for 158,760,000, an hour at 44,100 Hz. Null if memory or a temporary file
// cannot be had.
BTAudioBuffer *BTAudioBufferCreate(std::uint64_t max_frames) noexcept;

// Accepts null. The file goes with it.
void BTAudioBufferDestroy(BTAudioBuffer *buffer) noexcept;

// The oldest frame held, the frames held from there on, and the bytes that the file has grown to (holes included).
// Each pointer may be null.
void BTAudioBufferGetInfo(const BTAudioBuffer *buffer, std::uint64_t *start_frame, std::uint64_t *length_frames,
                          std::uint64_t *file_bytes) noexcept;

// Adds frames at the new end, of whose number only the low 32 bits count; 0 frames are true and nothing.
//
//   data       isAudio
//   a pointer  true     `frames` frames of audio; `bytes` must be 4 * frames, or nothing is written
//   null       true     silence
//   null       false    a gap: only the mapping to real time moves on
//   a pointer  false    a fatal mistake of the caller
//
// Then cuts the old end until no more than the maximum is held. Audio goes in whole records there, so one frame too
// many takes up to 32,766 frames away; silence is cut to the frame.
//
// True if everything was stored. False if audio could not be: neither memory nor file had room, and none could be made
// of older audio. What was stored before that stays, and the end of the store tells how much. Where the disk is full or
// fails, audio waits in memory, and older audio makes room for it.
bool BTAudioBufferWrite(BTAudioBuffer *buffer, const void *data, std::uint32_t bytes, std::uint64_t frames,
                        bool isAudio) noexcept;

// Reads from the frame `*froffset` on, from one record only: the caller goes on from where it ended until it has
// enough.
//
// `*data` is where audio goes and `*bytes`, set before the call, how much fits. If `*data` is null, memory for as much,
// but at most 512 frames, is allocated, which the caller releases by std::free. With no `data` at all nothing is read,
// and `*bytes` and `*frames` tell how much the record holds from there on.
// After the call `*bytes` and `*frames` are what was read, and `*flag` is 1. All but `froffset` may be null, but `data`
// needs `bytes`. False if the position is not held or its audio cannot be had at this time; then no output has changed.
bool BTAudioBufferRead(BTAudioBuffer *buffer, const std::uint64_t *froffset, void **data, std::uint32_t *bytes,
                       std::uint32_t *frames, std::uint8_t *flag) noexcept;

// The frames of gap that were entered after `frame`; 0 for a frame that is not there yet.
std::uint64_t BTAudioBufferGetPhysicalOffset(BTAudioBuffer *buffer, std::uint64_t frame) noexcept;

}  // namespace auspool::audiskdelay
