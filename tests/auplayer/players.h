// Both generations of the player behind one face, on simulated devices.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "auplayer/auplayer2_record.h"
#include "auplayer/auplayer_record.h"
#include "support/signals.h"
#include "support/simulated_devices.h"

namespace auspool::testing {

#define PLAYER_GENERATION(Name, prefix)                                                                       \
  struct Name {                                                                                               \
    using Handle = prefix;                                                                                    \
    static constexpr const char *name = #prefix;                                                              \
    static constexpr auto create = prefix##_create;                                                           \
    static constexpr auto destroy = prefix##_destroy;                                                         \
    static constexpr auto options = prefix##_options;                                                         \
    static constexpr auto set_options = prefix##_set_options;                                                 \
    static constexpr auto start = prefix##_start;                                                             \
    static constexpr auto stop = prefix##_stop;                                                               \
    static constexpr auto is_active = prefix##_is_active;                                                     \
    static constexpr auto is_playing = prefix##_is_playing;                                                   \
    static constexpr auto get_buffer_length = prefix##_get_buffer_length;                                     \
    static constexpr auto now_playing = prefix##_now_playing;                                                 \
    static constexpr auto device_latency = prefix##_device_latency;                                           \
    static constexpr auto play_done = prefix##_play_done;                                                     \
    static constexpr auto set_gain = prefix##_set_gain;                                                       \
    static constexpr auto get_gain = prefix##_get_gain;                                                       \
    static constexpr auto device = prefix##_device;                                                           \
    static constexpr auto begin_allow_idle_sleep = prefix##_begin_allow_idle_sleep;                           \
    static constexpr auto end_allow_idle_sleep = prefix##_end_allow_idle_sleep;                               \
    static void play(Handle *player, const au_channel_pair &channels, std::uint32_t frames, float rate);      \
    static void play_wait(Handle *player, const au_channel_pair &channels, std::uint32_t frames, float rate); \
    static void set_callback(Handle *player, const std::function<void(float *, int, double)> *callback);      \
  }
PLAYER_GENERATION(FirstGeneration, auplayer);
PLAYER_GENERATION(SecondGeneration, auplayer2);
#undef PLAYER_GENERATION

inline void FirstGeneration::play(auplayer *player, const au_channel_pair &channels, std::uint32_t frames, float rate) {
  auplayer_play(player, &channels, frames, rate);
}
inline void SecondGeneration::play(auplayer2 *player, const au_channel_pair &channels, std::uint32_t frames,
                                   float rate) {
  auplayer2_play(player, &channels, 1, frames, rate);
}
inline void FirstGeneration::play_wait(auplayer *player, const au_channel_pair &channels, std::uint32_t frames,
                                       float rate) {
  auplayer_play_wait(player, &channels, frames, rate);
}
inline void SecondGeneration::play_wait(auplayer2 *player, const au_channel_pair &channels, std::uint32_t frames,
                                        float rate) {
  auplayer2_play_wait(player, &channels, 1, frames, rate);
}

// The callback gets an interleaved buffer, its frames and the rate.
using PullCallback = std::function<void(float *, int, double)>;
inline void FirstGeneration::set_callback(auplayer *player, const PullCallback *callback) {
  const auplayer_audio_callback pair = {[](float *interleaved, std::int32_t frames, float rate, void *context) {
                                          (*static_cast<const PullCallback *>(context))(interleaved, frames,
                                                                                        static_cast<double>(rate));
                                        },
                                        const_cast<PullCallback *>(callback)};
  auplayer_set_audio_callback(player, callback ? &pair : nullptr);
}
inline void SecondGeneration::set_callback(auplayer2 *player, const PullCallback *callback) {
  const auplayer2_audio_callback pair = {
      [](const au_channel_pair *channels, std::int32_t stride, std::int32_t frames, std::int32_t rate, void *context) {
        EXPECT_EQ(stride, 2);
        EXPECT_EQ(channels->right, channels->left + 1);
        (*static_cast<const PullCallback *>(context))(channels->left, frames, rate);
      },
      const_cast<PullCallback *>(callback)};
  auplayer2_set_audio_callback(player, callback ? &pair : nullptr);
}

// A player and the devices that it may play on.
template <typename Generation>
class PlayerTest : public ::testing::Test {
protected:
  using G = Generation;

  ~PlayerTest() override { G::destroy(player); }

  void set_options(const std::function<void(AuPlayerOptions &)> &change) {
    AuPlayerOptions options = G::options(player);
    change(options);
    G::set_options(player, &options);
  }

  void play(const Samples &left, const Samples &right, float rate = 44100.0f) {
    G::play(player, {const_cast<float *>(left.data()), const_cast<float *>(right.data())},
            static_cast<std::uint32_t>(left.size()), rate);
  }
  void play(const Samples &both, float rate = 44100.0f) { play(both, both, rate); }

  // Runs a device, and gives what was to be heard on one channel of one buffer.
  Samples heard(std::uint32_t device, std::uint32_t cycles, std::uint32_t channel = 0, std::size_t buffer = 0) {
    Samples all;
    devices.on_output = [&](std::span<const ausim_buffer> buffers, std::uint32_t) {
      const auto samples = channel_of(buffers[buffer], channel);
      all.insert(all.end(), samples.begin(), samples.end());
    };
    ausim_run(devices, device, cycles);
    devices.on_output = nullptr;
    return all;
  }

  std::uint32_t stereo() { return devices.add_default_output(output_device(kInterleaved)); }

  SimulatedDevices devices;
  typename Generation::Handle *player = Generation::create();
};

using Generations = ::testing::Types<FirstGeneration, SecondGeneration>;
struct GenerationNames {
  template <typename Generation>
  static std::string GetName(int) {
    return Generation::name;
  }
};

// The first `count` samples.
inline Samples head(const Samples &samples, std::size_t count) {
  return {samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(std::min(count, samples.size()))};
}

}  // namespace auspool::testing
