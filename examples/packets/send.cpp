// The sender: a file as packets, each on its way at its time, on a network as bad as it is asked to be.
#include <auspool/auclock.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <queue>
#include <random>
#include <thread>

#include "common/audio_input.h"
#include "common/command_line.h"
#include "packets/settings.h"
#include "packets/wire.h"

namespace packets {
namespace {

struct UnderWay {
  double departure;
  Datagram packet;
  bool operator>(const UnderWay &other) const { return departure > other.departure; }
};

class Sender {
public:
  explicit Sender(const SendSettings &settings)
      : settings_(settings), input_(settings.file), socket_(Socket::sending(settings.port)), random_(settings.seed) {}

  int run() {
    const double first = au_now() + settings_.lead / 1e3 + 0.05;
    const double rate = static_cast<double>(input_.rate());
    double due = first;
    while (const int frames = example::interrupted() ? 0 : input_.read(settings_.frames)) {
      leave_until(due - settings_.lead / 1e3);
      put_under_way(frames, due, rate);
      due += frames / (rate * (1 + settings_.drift * 1e-6));
    }
    leave_until(due + 1);
    Datagram end;
    end.head.number = number_;
    end.head.timestamp = due;
    end.head.rate = rate;
    for (int i = 0; i < 3; ++i) socket_.send(end);
    std::printf("packets: %llu, lost on purpose: %d, swapped: %d, %.3f s\n", static_cast<unsigned long long>(number_),
                lost_, swapped_, due - first);
    return example::interrupted() ? 1 : 0;
  }

private:
  double random(double high) { return std::uniform_real_distribution<double>(0, high)(random_); }

  void put_under_way(int frames, double due, double rate) {
    Datagram packet;
    packet.head.frames = static_cast<std::uint32_t>(frames);
    packet.head.number = number_++;
    packet.head.timestamp = due;
    packet.head.rate = rate;
    for (int i = 0; i < frames; ++i) {
      packet.audio.push_back(input_.left()[static_cast<std::size_t>(i)]);
      packet.audio.push_back(input_.right()[static_cast<std::size_t>(i)]);
    }
    const double late = random(settings_.jitter / 1e3);
    const bool swapped = random(100) < settings_.reordering, lost = random(100) < settings_.loss;
    lost_ += lost;
    swapped_ += swapped && !lost;
    const double behind = swapped ? 3 * frames / rate : 0.0;  // three packets later
    if (!lost) under_way_.push({due - settings_.lead / 1e3 + late + behind, std::move(packet)});
  }

  // Sends what departs up to a time, each at its own.
  void leave_until(double time) {
    for (; !under_way_.empty() && under_way_.top().departure <= time; under_way_.pop()) {
      std::this_thread::sleep_for(std::chrono::duration<double>(under_way_.top().departure - au_now()));
      socket_.send(under_way_.top().packet);
    }
  }

  const SendSettings &settings_;
  example::AudioInput input_;
  Socket socket_;
  std::mt19937 random_;
  std::priority_queue<UnderWay, std::vector<UnderWay>, std::greater<>> under_way_;
  std::uint64_t number_ = 0;
  int lost_ = 0, swapped_ = 0;
};

}  // namespace

int send(const SendSettings &settings) {
  return Sender(settings).run();
}

}  // namespace packets
