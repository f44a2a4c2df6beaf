#include "platform/audio_device/pipewire/settings.h"

#include <algorithm>
#include <cstdlib>

namespace auspool::platform {
namespace {

// All whole numbers of a text such as "[ 44100, 48000 ]".
std::vector<std::uint32_t> numbers_in(const char *text) {
  std::vector<std::uint32_t> numbers;
  while (*text) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(text, &end, 10);
    if (end != text) numbers.push_back(static_cast<std::uint32_t>(number));
    text = end != text ? end : text + 1;
  }
  return numbers;
}

}  // namespace

void GraphSettings::set(std::string_view key, const char *value) {
  const std::vector<std::uint32_t> numbers = numbers_in(value ? value : "");
  const std::uint32_t number = numbers.empty() ? 0 : numbers[0];
  const auto known = [&](std::uint32_t otherwise) { return number != 0 ? number : otherwise; };
  if (key == "clock.allowed-rates") allowed_rates_ = numbers;
  if (key == "clock.rate") rate_ = known(48000);
  if (key == "clock.quantum") frames_ = known(1024);
  if (key == "clock.min-quantum") least_frames_ = known(32);
  if (key == "clock.max-quantum") most_frames_ = known(8192);
  if (key == "clock.force-rate") forced_rate_ = number;
  if (key == "clock.force-quantum") forced_frames_ = number;
}

bool GraphSettings::allows_rate(double rate) const {
  if (forced_rate_ != 0) return rate == forced_rate_;
  return rate == rate_ || std::ranges::find(allowed_rates_, rate) != allowed_rates_.end();
}

bool GraphSettings::allows_frames(std::uint32_t frames) const {
  if (forced_frames_ != 0) return frames == forced_frames_;
  return frames >= least_frames_ && frames <= most_frames_;
}

double GraphSettings::rate_for(double wish) const {
  if (forced_rate_ != 0) return forced_rate_;
  return wish != 0.0 && allows_rate(wish) ? wish : rate_;
}

std::uint32_t GraphSettings::frames_for(std::uint32_t wish) const {
  if (forced_frames_ != 0) return forced_frames_;
  return std::clamp(wish != 0 ? wish : frames_, least_frames_, std::max(least_frames_, most_frames_));
}

}  // namespace auspool::platform
