// Where the output frames of a rate conversion lie between the input frames, and how many frames that takes.
#pragma once

#include <cstdint>

namespace auspool {

// The conversion reads a sequence that begins with the four frames of history; source frame k stands at 4 + k.
// Output frame k lies `step` further on than its predecessor. Positions are computed anew for each frame, never
// accumulated: the same expressions decide how many frames are needed, so that the two cannot disagree.
struct SamplerPosition {
  double step;   // input frames an output frame
  double first;  // position of output frame 0 in the sequence

  double in_sequence(double k) const { return first + step * k; }

  // The same place, counted so that floor() gives the source frame that is the last of the four around it.
  double in_source(double k) const { return (first - 1.0) + step * k; }
};

SamplerPosition sampler_position(double fraction, double rate_in, double rate_out);

// Input frames that `frames_out` output frames take, 1 or more of them.
std::uint32_t sampler_frames_needed(const SamplerPosition &position, std::uint32_t frames_out);

// The most output frames, up to `wanted`, for which `frames_in` input frames suffice.
std::uint32_t sampler_frames_possible(const SamplerPosition &position, std::uint32_t wanted, std::uint32_t frames_in);

// A count as a number of frames: NaN and what is below 0 give 0, what is too large the largest.
std::uint32_t frames_from(double count);

}  // namespace auspool
