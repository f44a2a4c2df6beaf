#include "platform/audio_device/pipewire/io_cycle.h"

#include <algorithm>

namespace auspool::platform {
namespace {

constexpr TimeStamp kNone = {};  // of a direction that is not there

}  // namespace

IoCycle::IoCycle(ObjectId device, std::uint32_t channels, IoProc proc, void *client)
    : device_(device),
      channels_(channels),
      proc_(proc),
      client_(client),
      samples_(std::size_t{kMostCycleFrames} * channels) {
  list_.list.count = 1;
  list_.buffers[0] = {channels, 0, samples_.data()};
}

TimeStamp IoCycle::stamp(const CycleMoment &moment, double seconds_off) const {
  const double passed = moment.rate > 0.0 ? (frames_run_ - first_frame_) / moment.rate : 0.0;
  const auto ticks = static_cast<std::int64_t>((passed + seconds_off) * 1e9);
  TimeStamp stamp;
  stamp.sample_time = frames_run_ + seconds_off * moment.rate;
  stamp.host_time = moment.host_time + static_cast<std::uint64_t>(ticks);
  stamp.mFlags = TimeStamp::kSampleTimeValid | (moment.host_time != 0 ? TimeStamp::kHostTimeValid : 0);
  return stamp;
}

template <typename Step>
void IoCycle::in_steps(std::uint32_t frames, const Step &step) {
  first_frame_ = frames_run_;
  for (std::uint32_t done = 0; done < frames;) {
    const std::uint32_t now = std::min(frames - done, kMostCycleFrames);
    list_.buffers[0].bytes = now * channels_ * 4;
    step(std::size_t{done} * channels_, std::size_t{now} * channels_);
    frames_run_ += now;
    done += now;
  }
}

void IoCycle::play(float *samples, std::uint32_t frames, const CycleMoment &moment) {
  in_steps(frames, [&](std::size_t first, std::size_t count) {
    std::fill_n(samples_.data(), count, 0.0f);
    const TimeStamp now = stamp(moment, 0.0), heard = stamp(moment, moment.latency);
    proc_(device_, &now, nullptr, &kNone, &list_.list, &heard, client_);
    std::copy_n(samples_.data(), count, samples + first);
  });
}

void IoCycle::capture(const float *samples, std::uint32_t frames, const CycleMoment &moment) {
  in_steps(frames, [&](std::size_t first, std::size_t count) {
    std::copy_n(samples + first, count, samples_.data());
    const TimeStamp now = stamp(moment, 0.0), picked_up = stamp(moment, -moment.latency);
    proc_(device_, &now, &list_.list, &picked_up, nullptr, &kNone, client_);
  });
}

}  // namespace auspool::platform
