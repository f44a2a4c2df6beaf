// What comes in, from a device or the generator of silence, on its way to the host's callback.
#include <algorithm>
#include <new>

#include "auline/auline_record.h"

using namespace auspool;
using namespace auspool::platform;

namespace {

constexpr float kSilenceRate = 44100.0f;
constexpr std::uint32_t kSilenceFrames = 256, kMostSilenceFrames = 1 << 20;

}  // namespace

// ---- The device ----

DeviceStatus auline::device_io_proc(ObjectId, const TimeStamp *, const BufferList *input, const TimeStamp *,
                                    BufferList *, const TimeStamp *, void *self) {
  if (self) static_cast<auline *>(self)->line_io_proc(input);
  return 0;
}

// Channels that lie by themselves are handed on where they are, others are copied.
void auline::line_io_proc(const BufferList *buffers) {
  ChannelDescriptor channels[2] = {};
  const std::uint32_t frames =
      check_buffer_info_cache(working_left, working_right, buffers, channels, buffer_info_cache);
  if (frames == 0) return;
  if (channels[0].stride != 1 || channels[1].stride != 1) return copy_and_call(channels, frames);
  const au_channel_pair pair = {channels[0].data, channels[1].data};
  callback(context, &pair, static_cast<std::int32_t>(frames), rate);
}

void auline::copy_and_call(const ChannelDescriptor (&channels)[2], std::uint32_t frames) {
  float left[kMostCycleFrames], right[kMostCycleFrames];
  const au_channel_pair pair = {left, right};
  for (std::size_t done = 0; done < frames; done += kMostCycleFrames) {
    const std::size_t count = std::min<std::size_t>(frames - done, kMostCycleFrames);
    for (std::size_t i = 0; i < count; ++i) {
      left[i] = channels[0].data[(done + i) * channels[0].stride];
      right[i] = channels[1].data[(done + i) * channels[1].stride];
    }
    callback(context, &pair, static_cast<std::int32_t>(count), rate);
  }
}

// ---- Silence ----

std::int32_t auline::start_silence() {
  silence_frames = options.buffer_frames != 0 ? options.buffer_frames : kSilenceFrames;
  rate = options.sample_rate != 0.0f ? options.sample_rate : kSilenceRate;
  if (silence_frames > kMostSilenceFrames || !(rate >= 1.0f && rate <= 1e7f)) return AUDEVICE_BAD_VALUE;
  silence_period = silence_frames / static_cast<double>(rate);
  silence.reset(new (std::nothrow) float[2 * std::size_t{silence_frames}]);
  if (!silence || !timer.install(silence_gen_timer_task, this)) {
    silence.reset();
    return AUDEVICE_NO_MEMORY;
  }
  active = 1;
  timer.prime(silence_period);
  return 0;
}

// A device of two planes, of zeroes each time anew: the callback may have left something there.
void auline::silence_gen_timer_task(void *self) {
  auto &line = *static_cast<auline *>(self);
  float *const planes = line.silence.get();
  const std::uint32_t frames = line.silence_frames, bytes = frames * std::uint32_t{sizeof(float)};
  std::fill_n(planes, 2 * std::size_t{frames}, 0.0f);
  const BufferListOf<2> list = {{2, 0}, {{1, bytes, planes}, {1, bytes, planes + frames}}};
  line.line_io_proc(&list.list);
  line.timer.prime(line.silence_period);
}
