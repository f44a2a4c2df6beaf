#include "meter/display.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace meter {
namespace {

constexpr int kBarWidth = 40;
constexpr int kRows = 8;
constexpr int kSteps = 8;  // in a row
constexpr const char *kEighths[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr struct {
  double hz;
  const char *name;
} kMarks[] = {{30, "30"}, {100, "100"}, {300, "300"}, {1000, "1k"}, {3000, "3k"}, {10000, "10k"}};

std::string formatted(const char *format, double a, double b = 0) {
  char text[64];
  std::snprintf(text, sizeof text, format, a, b);
  return text;
}

double tenths(float value) {
  return std::round(static_cast<double>(value) * 10) / 10 + 0.0;  // never -0
}

// The names of frequencies, each where its band begins, as far as there is room.
std::string scale_of(const Measurement &measurement) {
  std::string scale(measurement.bands(), ' ');
  for (const auto &mark : kMarks) {
    std::size_t band = 0;
    while (band < scale.size() && measurement.band_hz(static_cast<double>(band)) < mark.hz) ++band;
    const std::size_t length = std::strlen(mark.name);
    if (band > 0 && scale[band - 1] == ' ' && band + length <= scale.size()) scale.replace(band, length, mark.name);
  }
  return scale + " Hz";
}

}  // namespace

Display::Display(std::string title, double total, const Measurement &measurement)
    : title_(std::move(title)), total_(total), scale_(scale_of(measurement)) {
  std::setlocale(LC_CTYPE, "");
  has_blocks_ = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

// RMS as a bar, the peak as a line in front of it.
std::string Display::bar(float rms, float peak) const {
  std::string text(kBarWidth, '.');
  const auto place = [](float level) {
    return std::min(kBarWidth, static_cast<int>(std::lround(level * static_cast<float>(kBarWidth))));
  };
  std::fill_n(text.begin(), place(rms), '#');
  if (place(peak) > 0) text[static_cast<std::size_t>(place(peak) - 1)] = '|';
  return text;
}

// Row 0 is the lowest.
std::string Display::spectrum_row(const Moment &moment, int row) const {
  std::string text;
  for (const float level : moment.spectrum) {
    const int height = static_cast<int>(std::lround(level * static_cast<float>(kRows * kSteps))) - row * kSteps;
    const int step = std::clamp(height, 0, kSteps);
    text += has_blocks_ ? kEighths[step] : step >= kSteps / 2 ? "#" : " ";
  }
  return text;
}

std::vector<std::string> Display::lines(const Moment &m) const {
  std::vector<std::string> lines = {title_ + formatted("  %.1f", m.seconds) +
                                    (total_ > 0 ? formatted(" of %.1f s", total_) : " s")};
  for (std::size_t i = 0; i < 2; ++i) {
    const auto peak = tenths(m.peak[i]), rms = tenths(m.rms[i]);
    lines.push_back((i == 0 ? "L [" : "R [") + bar(m.rms_shown[i], m.peak_shown[i]) +
                    formatted("] peak %6.1f  RMS %6.1f dB", peak, rms) + (m.clip[i] ? " CLIP" : ""));
  }
  for (int row = kRows; row-- > 0;) {
    const double top = -80 + (row + 1) * 80.0 / kRows;
    lines.push_back((row % 2 != 0 ? formatted("%4.0f ", top) : "     ") + spectrum_row(m, row));
  }
  lines.push_back("     " + scale_);
  return lines;
}

void Display::draw(const Moment &moment) {
  if (drawn_lines_ > 0) std::printf("\033[%zuA", drawn_lines_);
  std::fputs("\033[?7l", stdout);  // what is too long for the terminal is cut rather than wrapped
  const std::vector<std::string> drawn = lines(moment);
  for (const std::string &line : drawn) std::printf("%s\033[K\n", line.c_str());
  std::fputs("\033[?7h", stdout);
  std::fflush(stdout);
  drawn_lines_ = drawn.size();
}

}  // namespace meter
