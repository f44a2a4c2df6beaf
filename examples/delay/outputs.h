// Where delayed audio goes: a file, or a device.
#pragma once

#include <auspool/auplayer.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/audio_output.h"
#include "common/command_line.h"
#include "common/device.h"
#include "delay/settings.h"

namespace delay {

class Output {
public:
  Output(const Settings &settings, float rate) : rate_(rate) {
    settings.out.empty() ? start_device(settings) : open_file(settings.out);
  }

  // A device takes it in its own time: the call waits until it needs no more than half a second.
  void write(const std::vector<float> &left, const std::vector<float> &right) {
    const float *const channels[2] = {left.data(), right.data()};
    frames_ += static_cast<std::int64_t>(left.size());
    if (file_) return file_->write(channels, static_cast<int>(left.size()));
    wait_until_waiting(0.5f);
    const au_channel_pair pair = {const_cast<float *>(left.data()), const_cast<float *>(right.data())};
    auplayer2_play(player_.get(), &pair, 1, static_cast<uint32_t>(left.size()), rate_);
  }

  // All of it has been written, or heard.
  void finish() {
    if (file_) return file_->finish();
    auplayer2_play_done(player_.get());
    wait_until_waiting(0);
  }

  bool is_device() const { return player_ != nullptr; }
  std::int64_t frames() const { return frames_; }

private:
  void open_file(const std::string &path) {
    SF_INFO form{};
    form.channels = 2;
    form.format = SF_FORMAT_PCM_16;  // as the delay stores it
    file_.emplace(path, static_cast<int>(rate_), form);
  }

  void start_device(const Settings &settings) {
    player_.reset(auplayer2_create());
    if (!player_) throw std::bad_alloc();
    auplayer2_set_options(player_.get(), &settings.options);
    const std::int32_t status = auplayer2_start(player_.get());
    if (status == AUPLAYER_NO_DEFAULT_DEVICE) throw std::runtime_error("there is no default output device");
    if (status != 0) throw std::runtime_error("the device does not start" + example::status_text(status));
  }

  void wait_until_waiting(float most) const {
    constexpr std::chrono::milliseconds kLook{5};
    constexpr std::chrono::seconds kPatience{5};
    const auto begun = std::chrono::steady_clock::now();
    while (auplayer2_get_buffer_length(player_.get()) > most && !example::interrupted()) {
      if (std::chrono::steady_clock::now() - begun > kPatience) throw std::runtime_error("the device takes no audio");
      std::this_thread::sleep_for(kLook);
    }
  }

  const float rate_;
  std::int64_t frames_ = 0;
  std::optional<example::AudioOutput> file_;
  std::unique_ptr<auplayer2, void (*)(auplayer2 *)> player_{nullptr, auplayer2_destroy};
};

}  // namespace delay
