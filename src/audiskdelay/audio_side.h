// What the host's two audio threads do, the same in both generations. Frames of 4 bytes in the rings are two samples of
// 16 bits, frames of 8 the floats as they come.
#pragma once

#include <cstdint>

#include "auspool/rbuffer.h"

namespace auspool::audiskdelay {

// Writing thread. Until all is in the ring, it sleeps for a millisecond whenever nothing fits. Returns `frames`.
std::int32_t write_frames(rbuffer &write_ring, std::int32_t frame_bytes, const float *interleaved, std::int32_t frames);

// Reading thread. Returns how many frames there were. Never waits.
std::int32_t read_frames(rbuffer &read_ring, std::int32_t frame_bytes, float *interleaved, std::int32_t frames);

// Reading thread, when nothing is to be heard: throws away what is in the ring, clears the first frame of the output,
// leaves the rest as it is, and returns `frames`.
std::int32_t discard_frames(rbuffer &read_ring, float *interleaved, std::int32_t frames);

}  // namespace auspool::audiskdelay
