// The receiver: one thread takes packets from the network and queues them, another is the output.
#include <auspool/auclock.h>
#include <auspool/aupacketplayer.h>
#include <auspool/auplayer.h>
#include <sndfile.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <memory>
#include <thread>

#include "common/command_line.h"
#include "common/console.h"
#include "common/device.h"
#include "packets/settings.h"
#include "packets/wire.h"

namespace packets {
namespace {

const char *name_of(uint32_t state) {
  switch (state) {
  case AuPacketPlayerPlayback:
    return "playback";
  case AuPacketPlayerEmpty:
    return "empty";
  case AuPacketPlayerBuffering:
    return "buffering";
  default:
    return "created";
  }
}

class Receiver {
public:
  Receiver(const ReceiveSettings &settings, Socket &socket, example::Console &console, const Datagram &first)
      : settings_(settings),
        console_(console),
        rate_(settings.rate > 0 ? settings.rate : first.head.rate),
        player_(aupacketplayer_create(4096, settings.out.empty() ? nullptr : log, this,
                                      static_cast<float>(first.head.rate)),
                aupacketplayer_destroy),
        socket_(socket) {
    if (!player_) throw std::bad_alloc();
    take(first);
  }

  int run() {
    std::thread network([this] {
      while (!done_)
        if (const auto packet = socket_.receive()) take(*packet);
    });
    try {
      settings_.out.empty() ? play() : write_file();
    } catch (...) {
      done_ = true;
      network.join();
      throw;
    }
    done_ = true;
    network.join();
    return report();
  }

private:
  static constexpr double kStatusEvery = 1.0;  // seconds

  void take(const Datagram &packet) {
    if (packet.head.frames == 0) {
      sent_ = packet.head.number;
      end_ = packet.head.timestamp;
      return;
    }
    last_ = au_now();
    aupacketplayer_play(player_.get(), packet.audio.data(), packet.head.frames, packet.head.timestamp);
    ++received_;
  }

  // The device's own thread asks for the audio, so this one has only to look on.
  void play() {
    aupacketplayer_set_auplayer_callbacks(player_.get());
    auto *const output = static_cast<auplayer *>(aupacketplayer_get_callbacks(player_.get()).context);
    if (!output) throw std::bad_alloc();
    AuPlayerOptions options = auplayer_options(output);
    options.device = settings_.device;
    options.io_buffer_frames = static_cast<std::uint32_t>(settings_.block);
    auplayer_set_options(output, &options);
    const std::int32_t status = aupacketplayer_start(player_.get());
    if (status == AUPLAYER_NO_DEFAULT_DEVICE) throw std::runtime_error("there is no default output device");
    if (status != 0) throw std::runtime_error("the device does not start" + example::status_text(status));
    console_.complain("playing on " + example::device_name(auplayer_device(output)));
    const double start = au_now();
    for (due_ = start; !is_over(); due_ = au_now()) {
      tell_status(due_ - start);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    aupacketplayer_stop(player_.get());
  }

  // A file in place of a device: frame k is heard at a given time, however late this thread gets to make it.
  void write_file() {
    SF_INFO info = {};
    info.channels = 2;
    info.samplerate = static_cast<int>(std::lround(rate_));
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file(sf_open(settings_.out.c_str(), SFM_WRITE, &info), sf_close);
    if (!file) throw std::runtime_error(settings_.out + ": " + sf_strerror(nullptr));
    std::vector<float> block(2 * static_cast<std::size_t>(settings_.block));
    aupacketplayer_callbacks output = {};
    output.context = this;
    output.get_latency = [](void *self) { return static_cast<Receiver *>(self)->due_ - au_now(); };
    aupacketplayer_set_callbacks(player_.get(), output);
    aupacketplayer_start(player_.get());
    const double start = au_now();
    for (due_ = start; !is_over(); due_ = start + static_cast<double>(written_) / rate_) {
      std::this_thread::sleep_for(std::chrono::duration<double>(due_ - au_now()));
      aupacketplayer_get_frames(player_.get(), block.data(), settings_.block, static_cast<float>(rate_));
      if (sf_writef_float(file.get(), block.data(), settings_.block) != settings_.block) {
        throw std::runtime_error(settings_.out + ": " + sf_strerror(file.get()));
      }
      written_ += settings_.block;
      tell_status(due_ - start);
    }
  }

  // The sender has said so, and what it sent has been heard; or nothing has come for long.
  bool is_over() const {
    if (example::interrupted() || (end_ == 0 && au_now() - last_ > settings_.wait)) return true;
    return end_ > 0 && due_ > end_ && status().state != AuPacketPlayerPlayback;
  }

  aupacketplayer_status status() const { return aupacketplayer_get_status(player_.get()); }

  void tell_status(double seconds) {
    if (seconds < next_status_) return;
    next_status_ += kStatusEvery;
    const aupacketplayer_status now = status();
    if (settings_.json) {
      console_.say(nlohmann::ordered_json{{"seconds", seconds},
                                          {"state", name_of(now.state)},
                                          {"offset_ms", now.offset * 1e3},
                                          {"correction_ppm", now.rate_correction * 1e6},
                                          {"received", received_.load()}});
      return;
    }
    char line[160];
    std::snprintf(line, sizeof line, "%7.1f s  %-9s  offset %+7.2f ms  correction %+8.1f ppm  %llu packets", seconds,
                  name_of(now.state), now.offset * 1e3, now.rate_correction * 1e6,
                  static_cast<unsigned long long>(received_));
    console_.say(std::string(line));
  }

  int report() {
    const bool ended = end_ > 0;
    const auto lost = ended ? static_cast<long long>(sent_) - static_cast<long long>(received_) : 0LL;
    if (settings_.json) {
      console_.say(nlohmann::ordered_json{{"received", received_.load()}, {"lost", lost}, {"frames", written_}});
    } else {
      console_.say("packets: " + std::to_string(received_) + ", lost: " + std::to_string(lost) +
                   (settings_.out.empty() ? "" : ", frames written: " + std::to_string(written_)));
    }
    if (!ended) console_.complain("the sender did not say that it was done");
    return ended ? 0 : 1;
  }

  // Runs where frames are got: on the thread that writes the file, which may wait.
  static void log(void *self, int32_t level, const char *format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (level <= 1) static_cast<Receiver *>(self)->console_.complain(text);
  }

  const ReceiveSettings &settings_;
  example::Console &console_;
  const double rate_;
  const std::unique_ptr<aupacketplayer, void (*)(aupacketplayer *)> player_;
  Socket &socket_;
  std::atomic<bool> done_ = false;
  std::atomic<std::uint64_t> received_ = 0, sent_ = 0;
  std::atomic<double> last_ = 0;  // when the last packet came
  std::atomic<double> end_ = 0;   // when the stream is over
  double due_ = 0;                // when the block being made is heard
  double next_status_ = 0;        // seconds
  std::int64_t written_ = 0;      // frames
};

}  // namespace

int receive(const ReceiveSettings &settings) {
  example::Console console;
  Socket socket = Socket::listening(settings.port);
  console.complain("listening on port " + std::to_string(socket.port()));
  const double patience = au_now() + settings.wait;
  while (!example::interrupted() && au_now() < patience) {
    const auto first = socket.receive();
    if (first && first->head.frames > 0) return Receiver(settings, socket, console, *first).run();
  }
  throw std::runtime_error("no packet came");
}

}  // namespace packets
