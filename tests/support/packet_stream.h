// A stream of packets on its way to a packet player, and the output that plays it, simulated on a clock of their own:
// drift, jitter, loss, reordering; and what is heard of it, sample by sample.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <queue>
#include <random>
#include <vector>

#include "auspool/aupacketplayer.h"
#include "support/hand_clock.h"

namespace auspool::testing {

struct StreamSettings {
  double drift = 0.0;             // 1e-4: the output's clock is 100 ppm fast
  std::uint32_t packet = 441;     // frames
  std::uint32_t call = 512;       // frames
  double lead = 0.1;              // seconds from a packet's departure to its time
  double arrival_jitter = 0.0;    // seconds on the way, at most
  double timestamp_jitter = 0.0;  // seconds off, either way
  double loss = 0.0;              // of all packets
  double reordering = 0.0;        // packets that come three later
  bool pads = true;
  std::uint32_t seed = 1;
};

// What was heard in one call of aupacketplayer_get_frames.
struct Heard {
  double time;             // seconds since the first call
  bool has_position;       // whether audio was heard whose place in the stream can be told
  double late;             // then: seconds from when it was due
  double rate_correction;  // the controller's
  std::uint32_t silent;    // frames
  std::uint32_t gaps;      // that began here
};

class PacketStream {
public:
  static constexpr double kRate = 44100.0;

  explicit PacketStream(const StreamSettings &settings, aupacketplayer_log_callback log = nullptr,
                        void *context = nullptr)
      : settings_(settings),
        player_(aupacketplayer_create(1024, log, context, kRate), aupacketplayer_destroy),
        random_(settings.seed),
        table_(2 * (kPeriod + settings.packet)),
        output_(2 * settings.call) {
    for (std::uint32_t i = 0; i < kPeriod + settings.packet; ++i) {
      table_[2 * i] = 1.0f;
      table_[2 * i + 1] = static_cast<float>(i % kPeriod) / kPeriod;
    }
    aupacketplayer_set_pads_missing_audio(player_.get(), settings.pads);
    aupacketplayer_start(player_.get());
  }

  // The next call.
  Heard next() {
    const double time = static_cast<double>(calls_++) * settings_.call / (kRate * (1.0 + settings_.drift));
    clock_.ticks = static_cast<std::uint64_t>(std::llround((kStart + time) * 1e9));
    deliver_until(time);
    aupacketplayer_get_frames(player_.get(), output_.data(), static_cast<std::int32_t>(settings_.call), kRate);
    Heard heard = {time, false, 0.0, aupacketplayer_get_status(player_.get()).rate_correction, 0, 0};
    find_silence(heard);
    find_position(heard);
    return heard;
  }

  std::int64_t lost() const { return lost_; }
  aupacketplayer *player() const { return player_.get(); }

private:
  static constexpr double kStart = 1000.0;         // by the clock
  static constexpr double kFirst = 0.25;           // when the first packet is due, after that
  static constexpr std::uint32_t kPeriod = 16384;  // frames until the marks of the stream repeat

  struct Packet {
    double arrival;
    std::int64_t number;
    double timestamp;
    bool operator>(const Packet &other) const { return arrival > other.arrival; }
  };

  double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }

  void deliver_until(double time) {
    for (double due; (due = kFirst + static_cast<double>(number_) * settings_.packet / kRate) - settings_.lead <= time;
         ++number_) {
      const double late = uniform(0, settings_.arrival_jitter);
      const double behind = uniform(0, 1) < settings_.reordering ? 3 * settings_.packet / kRate : 0.0;
      const double off = uniform(-settings_.timestamp_jitter, settings_.timestamp_jitter);
      const bool is_lost = uniform(0, 1) < settings_.loss;
      lost_ += is_lost;
      if (!is_lost) under_way_.push({due - settings_.lead + late + behind, number_, kStart + due + off});
    }
    for (; !under_way_.empty() && under_way_.top().arrival <= time; under_way_.pop()) {
      const Packet &packet = under_way_.top();
      const auto place = static_cast<std::size_t>(packet.number * settings_.packet % kPeriod);
      aupacketplayer_play(player_.get(), &table_[2 * place], settings_.packet, packet.timestamp);
    }
  }

  void find_silence(Heard &heard) {
    for (std::uint32_t i = 0; i < settings_.call; ++i) {
      const bool silent = output_[2 * i] < 0.5f;
      heard.silent += silent;
      heard.gaps += silent && !was_silent_;
      was_silent_ = silent;
    }
  }

  // The marks of the stream rise evenly; where two neighbours do, they tell the place.
  void find_position(Heard &heard) const {
    for (std::uint32_t i = 0; i + 1 < settings_.call && !heard.has_position; ++i) {
      const double mark = static_cast<double>(output_[2 * i + 1]) * kPeriod;
      const double step = static_cast<double>(output_[2 * i + 3]) * kPeriod - mark;
      if (output_[2 * i] < 0.999f || output_[2 * i + 2] < 0.999f || step < 0.9 || step > 1.1) continue;
      const double at = heard.time + i / (kRate * (1.0 + settings_.drift));
      const double off = (at - kFirst) * kRate - mark;
      heard.has_position = true;
      heard.late = (off - kPeriod * std::round(off / kPeriod)) / kRate;
    }
  }

  const StreamSettings settings_;
  HandClock clock_;
  std::unique_ptr<aupacketplayer, void (*)(aupacketplayer *)> player_;
  std::mt19937_64 random_;
  std::vector<float> table_, output_;
  std::priority_queue<Packet, std::vector<Packet>, std::greater<>> under_way_;
  std::int64_t calls_ = 0, number_ = 0, lost_ = 0;
  bool was_silent_ = true;
};

}  // namespace auspool::testing
