// What an example program says while it works: lines on standard output, and how far it is on standard error. On a
// terminal that is one line, drawn anew below the others; elsewhere a short line at each quarter of the way.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace example {

class Console {
public:
  ~Console() { clear(); }

  void say(const std::string &line) { print(stdout, line); }
  void say(const nlohmann::ordered_json &object) {
    say(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));  // a path need not be UTF-8
  }
  void complain(const std::string &line) { print(stderr, line); }

  // Whether there is something to draw; asked for each block of work, so it is cheap.
  bool due(double seconds, double total) const {
    if (!terminal_) return seconds >= total * quarters_ / 4;
    return std::chrono::steady_clock::now() >= next_time_;
  }

  // How much of so many seconds of audio is done, and its level now where that is told, and whatever else there is.
  void progress(double seconds, double total, std::optional<double> decibels = {}, const std::string &more = "") {
    const std::lock_guard lock(mutex_);
    next_time_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    quarters_ = std::floor(seconds / total * 4) + 1;
    std::fprintf(stderr, "%s[%s] %3.0f%%  %.1f of %.1f s", terminal_ ? "\r\033[K" : "",
                 bar(seconds / total, 24).c_str(), 100 * seconds / total, seconds, total);
    if (decibels) std::fprintf(stderr, "  level [%s] %6.1f dB", bar(1 + *decibels / 60, 20).c_str(), *decibels);
    std::fputs(more.c_str(), stderr);
    if (!terminal_) std::fputc('\n', stderr);
    std::fflush(stderr);
    drawn_ = terminal_;
  }

private:
  static std::string bar(double fraction, int width) {
    const auto full = static_cast<std::size_t>(fraction > 0 ? std::min(fraction, 1.0) * width : 0);  // a NaN is nothing
    return std::string(full, '#') + std::string(static_cast<std::size_t>(width) - full, '.');
  }

  void print(std::FILE *file, const std::string &line) {
    const std::lock_guard lock(mutex_);
    clear();
    std::fprintf(file, "%s\n", line.c_str());
    std::fflush(file);
  }

  void clear() {
    if (drawn_) std::fputs("\r\033[K", stderr);
    drawn_ = false;
  }

  const bool terminal_ = isatty(STDERR_FILENO) == 1;
  std::mutex mutex_;
  bool drawn_ = false;
  double quarters_ = 1;  // the next to report where there is no terminal
  std::chrono::steady_clock::time_point next_time_{};
};

}  // namespace example
