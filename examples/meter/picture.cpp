#include "meter/picture.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace meter {
namespace {

constexpr double kLeft = 50, kWidth = 800;
constexpr double kFloor = -80;  // decibels, of both panels
const char *const kChannelNames[] = {"left", "right"};
const char *const kColours[] = {"#1f6fb2", "#c2571a"};
const char *const kDashes[] = {"none", "6 4"};  // so that equal channels are both seen

__attribute__((format(printf, 2, 3))) void add(std::string &svg, const char *format, ...) {
  char text[512];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  svg += text;
}

std::string escaped(const std::string &text) {
  std::string out;
  for (const char c : text) out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return out;
}

// A scale of decibels, and the place of values on it.
struct Panel {
  double top, height;

  double y(double decibels) const { return top + height * std::clamp(decibels / kFloor, 0.0, 1.0); }

  void draw(std::string &svg) const {
    for (double db = 0; db >= kFloor; db -= 20) {
      add(svg, "<line x1='%g' x2='%g' y1='%.1f' y2='%.1f' stroke='#ddd'/>", kLeft, kLeft + kWidth, y(db), y(db));
      add(svg, "<text x='%g' y='%.1f' text-anchor='end'>%g</text>\n", kLeft - 6, y(db) + 4, db);
    }
  }

  void mark(std::string &svg, double x, const char *format, double value) const {
    add(svg, "<line x1='%.1f' x2='%.1f' y1='%g' y2='%g' stroke='#eee'/>", x, x, top, top + height);
    add(svg, "<text x='%.1f' y='%g' text-anchor='middle'>", x, top + height + 16);
    add(svg, format, value);
    svg += "</text>\n";
  }
};

// About eight steps of a round number of seconds.
double step_of(double seconds) {
  const double decade = std::pow(10, std::floor(std::log10(seconds / 8)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (seconds / 8 <= factor * decade) return factor * decade;
  return 10 * decade;
}

class Levels {
public:
  Levels(const Panel &panel, const History &history) : panel_(panel), history_(history) {}

  void draw(std::string &svg) const {
    panel_.draw(svg);
    const double seconds = history_.highest().seconds, step = step_of(seconds);
    for (int i = 0; i * step <= seconds; ++i) panel_.mark(svg, x(i * step), "%g s", i * step);
    for (std::size_t channel = 0; channel < 2; ++channel) {
      line(svg, channel, &Moment::rms, "RMS", "stroke-width='2'");
      line(svg, channel, &Moment::peak, "peak", "stroke-opacity='0.5'");
    }
    for (const Moment &m : history_.columns())
      if (m.clip[0] || m.clip[1])
        add(svg, "<rect class='clip' x='%.1f' y='%g' width='2' height='6' fill='red'/>\n", x(m.seconds),
            panel_.top - 8);
  }

private:
  double x(double seconds) const { return kLeft + kWidth * seconds / history_.highest().seconds; }

  void line(std::string &svg, std::size_t channel, Stereo Moment::*level, const char *name, const char *stroke) const {
    add(svg, "<polyline fill='none' stroke='%s' stroke-dasharray='%s' %s points='", kColours[channel], kDashes[channel],
        stroke);
    for (const Moment &m : history_.columns())
      add(svg, "%.1f,%.1f ", x(m.seconds), panel_.y(static_cast<double>((m.*level)[channel])));
    add(svg, "'><title>%s, %s</title></polyline>\n", name, kChannelNames[channel]);
  }

  const Panel &panel_;
  const History &history_;
};

void draw_spectrum(std::string &svg, const Panel &panel, const std::vector<float> &bands,
                   const Measurement &measurement) {
  panel.draw(svg);
  const double width = kWidth / static_cast<double>(bands.size());
  const double low = std::log(measurement.band_hz(0));
  const double high = std::log(measurement.band_hz(static_cast<double>(bands.size())));
  for (const double hz : {30.0, 100.0, 300.0, 1000.0, 3000.0, 10000.0, 30000.0}) {
    const double place = (std::log(hz) - low) / (high - low);
    if (place > 0 && place < 1) panel.mark(svg, kLeft + kWidth * place, "%g Hz", hz);
  }
  for (std::size_t i = 0; i < bands.size(); ++i) {
    const double y = panel.y(kFloor * (1 - static_cast<double>(bands[i])));
    add(svg, "<rect class='band' x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='#4a8f5a'/>\n",
        kLeft + static_cast<double>(i) * width, y, width - 1, panel.top + panel.height - y);
  }
}

}  // namespace

std::string picture_of(const History &history, const Measurement &measurement, const std::string &title) {
  const Panel levels{50, 200}, spectrum{310, 160};
  std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='870' height='500' font-family='sans-serif' font-size='12'>\n"
      "<rect width='100%' height='100%' fill='white'/>\n<text x='50' y='24' font-size='15'>" +
      escaped(title) + "</text>\n";
  add(svg,
      "<text x='850' y='24' text-anchor='end'>dB: <tspan fill='%s'>left</tspan>, <tspan fill='%s'>right</tspan>; "
      "bold RMS, thin peak</text>\n",
      kColours[0], kColours[1]);
  Levels(levels, history).draw(svg);
  svg += "<text x='50' y='302'>highest of each band, dB</text>\n";
  draw_spectrum(svg, spectrum, history.highest().spectrum, measurement);
  return svg + "</svg>\n";
}

}  // namespace meter
