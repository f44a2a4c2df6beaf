// The packet player in its plainest form: a sorted list for packets, everything copied and moved as it comes, one pass
// a call. Packets with equal timestamps are not its business.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "auspool/ausampler.h"

namespace auspool::testing {

struct ModelPacket {
  std::vector<float> audio;
  double timestamp;
  bool is_flush;
  double frames() const { return static_cast<double>(audio.size() / 2); }
};

class PlayerModel {
public:
  PlayerModel(std::size_t capacity, float rate) : capacity_(capacity), rate_(rate), sampler_(ausampler_create(2)) {}
  ~PlayerModel() { ausampler_destroy(sampler_); }
  PlayerModel(const PlayerModel &) = delete;
  PlayerModel &operator=(const PlayerModel &) = delete;

  std::vector<float> get(std::uint32_t frames, float rate, double playing_time) {
    steal();
    const float output_rate = control(rate);
    const std::uint32_t in =
        ausampler_read_frames_in(sampler_, frames, static_cast<double>(rate_), static_cast<double>(output_rate));
    input_.clear();
    wanted_ = in;
    take();
    if (state == 0xFEF0 && !heap_.empty() && heap_.front().timestamp <= playing_time) {
      state = 0xFEEE;
      next = 0;
      note("1 switching to playback state node:%f playback:%f", heap_.front().timestamp, playing_time);
    }
    if (state == 0xFEEE || state == 0xFEEF) evaluate(playing_time);
    input_.resize(std::size_t{2} * in);
    std::vector<float> output(std::size_t{2} * frames);
    ausampler_read_interleaved(sampler_, input_.data(), output.data(), frames, static_cast<double>(rate_),
                               static_cast<double>(output_rate));
    return output;
  }

  std::vector<ModelPacket> queue;  // newest last
  std::vector<std::string> log;
  bool pads = true, resamples = true;
  double last = 0, next = 0, offset = 0, previous = 0, sum = 0, correction = 0;
  bool skip = false;
  std::uint32_t state = 0xFEED;

private:
  void note(const char *line) { log.emplace_back(line); }
  void note(const char *format, double first, double second = 0.0) {
    char text[200];
    std::snprintf(text, sizeof text, format, first, second);
    log.emplace_back(text);
  }

  void steal() {
    bool flushed = false;
    for (; !queue.empty(); queue.pop_back()) {
      ModelPacket &packet = queue.back();
      if (packet.is_flush) {
        note("3 flushing buffered audio");
        heap_.clear();
        held_.clear();
        state = 0xFEF0;
        flushed = true;
      } else if (!flushed && packet.timestamp <= last) {
        note("3 rejecting packet %f", packet.timestamp);
      } else if (!flushed && heap_.size() < capacity_) {
        const auto later = [&](const ModelPacket &other) { return other.timestamp > packet.timestamp; };
        heap_.insert(std::find_if(heap_.begin(), heap_.end(), later), packet);
      }
    }
  }

  float control(float rate) {
    if (!resamples) return rate;
    const double e = offset / 0.05;
    if (!skip) sum = std::min(50000.0, std::max(-50000.0, sum + e));
    const double derivative = skip ? 0 : (e - previous) * 3.0;
    previous = e;
    correction = correction * 0.9 + (0.01 * e + 1e-6 * sum + derivative) * 0.1;
    skip = false;
    const auto result = static_cast<float>((1 + correction) * static_cast<double>(rate));
    return std::min(std::max(result, rate * 42000 / 44100), 44100 * rate / 42000);
  }

  // From what is held to the input, moving the rest to the front.
  void take() {
    const std::size_t count = std::min(held_.size() / 2, wanted_);
    const auto end = held_.begin() + static_cast<std::ptrdiff_t>(2 * count);
    input_.insert(input_.end(), held_.begin(), end);
    held_.erase(held_.begin(), end);
    wanted_ -= count;
  }

  void empty() {
    if (state != 0xFEEF) note("1 Empty buffer!");
    state = 0xFEEF;
  }

  void evaluate(double playing_time) {
    for (;;) {
      if (heap_.empty()) return empty();
      state = 0xFEEE;
      const double timestamp = heap_.front().timestamp;
      if (timestamp <= last) {
        note("3 skipping too-old packet %f", timestamp);
        heap_.erase(heap_.begin());
        continue;
      }
      const double k = std::exp2(-static_cast<double>(wanted_) / (2 * static_cast<double>(rate_)));
      offset = k * offset + (1 - k) * (timestamp - playing_time);
      if (offset < -0.05) {
        note("1 Throwing away packets to catch up");
        while (!heap_.empty() && heap_.front().timestamp < playing_time) heap_.erase(heap_.begin());
        offset = 0;
        continue;
      }
      if (offset > 0.05) {
        note("1 Buffered packets are too new, oldest:%f playing:%f, padding with silence", timestamp, playing_time);
        state = 0xFEF0;
        next = offset = 0;
        return;
      }
      return play();
    }
  }

  void play() {
    while (wanted_ > 0) {
      if (heap_.empty()) return empty();
      const ModelPacket packet = heap_.front();
      const double gap = next == 0 ? 0 : (packet.timestamp - next) * static_cast<double>(rate_);
      const bool pad = pads && std::trunc(gap) >= 301 && std::trunc(gap) <= 44099;
      if (packet.timestamp <= last) {
        heap_.erase(heap_.begin());
      } else if (pad) {
        held_.assign(2 * static_cast<std::size_t>(gap), 0.0f);
        next = packet.timestamp;
        skip = true;
        take();
      } else {
        heap_.erase(heap_.begin());
        last = packet.timestamp;
        next = packet.timestamp + static_cast<double>(static_cast<float>(packet.frames()) / rate_);
        held_ = packet.audio;
        take();
      }
    }
  }

  std::size_t capacity_;
  float rate_;
  ausampler *sampler_;
  std::vector<ModelPacket> heap_;  // by timestamp
  std::vector<float> held_, input_;
  std::size_t wanted_ = 0;
};

}  // namespace auspool::testing
