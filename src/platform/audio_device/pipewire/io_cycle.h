// What the real-time thread does with one IO proc: lends it a buffer of its own and carries the audio across.
#pragma once

#include <vector>

#include "platform/audio_device.h"

namespace auspool::platform {

// When a cycle runs, by what the graph knows of its clock and latency.
struct CycleMoment {
  std::uint64_t host_time = 0;  // 0 if it is not known
  double latency = 0.0;         // seconds from here to the ear, or from the microphone to here
  double rate = 0.0;
};

class IoCycle {
public:
  IoCycle(ObjectId device, std::uint32_t channels, IoProc proc, void *client);

  // On the real-time thread: takes no lock, allocates nothing, makes no system call. Samples are interleaved.
  void play(float *samples, std::uint32_t frames, const CycleMoment &moment);
  void capture(const float *samples, std::uint32_t frames, const CycleMoment &moment);

private:
  template <typename Step>
  void in_steps(std::uint32_t frames, const Step &step);
  TimeStamp stamp(const CycleMoment &moment, double seconds_off) const;

  const ObjectId device_;
  const std::uint32_t channels_;
  const IoProc proc_;
  void *const client_;
  double frames_run_ = 0.0;   // since IO started
  double first_frame_ = 0.0;  // of them before this cycle
  std::vector<float> samples_;
  BufferListOf<1> list_{};
};

}  // namespace auspool::platform
