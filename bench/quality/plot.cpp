#include "quality/plot.h"

#include <algorithm>

#include "quality/svg.h"

namespace quality {
namespace {

constexpr double kWidth = 860, kHeight = 420, kLeft = 70, kRight = 150, kTop = 40, kBottom = 50;
constexpr const char *kColours[] = {"#888888", "#0072b2", "#009e73", "#e69f00", "#d55e00"};  // told apart by all eyes

}  // namespace

Plot::Plot(const char *title, const Axis &x, const Axis &y) : x_(x), y_(y) {
  add_grid(title);
}

double Plot::across(double x) const {
  return kLeft + (std::clamp(x, x_.least, x_.most) - x_.least) / (x_.most - x_.least) * (kWidth - kLeft - kRight);
}

double Plot::down(double y) const {
  return kHeight - kBottom -
         (std::clamp(y, y_.least, y_.most) - y_.least) / (y_.most - y_.least) * (kHeight - kTop - kBottom);
}

void Plot::add_grid(const char *title) {
  const double right = kWidth - kRight, bottom = kHeight - kBottom;
  for (double x = x_.least; x <= x_.most + x_.step / 1e6; x += x_.step) {
    body_ +=
        svg_text("<path d='M%.1f %.1fV%.1f' stroke='#ddd'/><text x='%.1f' y='%.1f' text-anchor='middle'>%g</text>\n",
                 across(x), kTop, bottom, across(x), bottom + 16, x);
  }
  for (double y = y_.least; y <= y_.most + y_.step / 1e6; y += y_.step) {
    body_ += svg_text("<path d='M%.1f %.1fH%.1f' stroke='#ddd'/><text x='%.1f' y='%.1f' text-anchor='end'>%g</text>\n",
                      kLeft, down(y), right, kLeft - 6, down(y) + 4, y);
  }
  body_ += svg_text("<text x='%.1f' y='22' font-size='15'>%s</text>\n", kLeft, title);
  body_ +=
      svg_text("<text x='%.1f' y='%.1f' text-anchor='middle'>%s</text>\n", (kLeft + right) / 2, kHeight - 12, x_.name);
  body_ += svg_text("<text transform='translate(18 %.1f) rotate(-90)' text-anchor='middle'>%s</text>\n",
                    (kTop + bottom) / 2, y_.name);
}

void Plot::add_curve(const char *name, const std::vector<Point> &points) {
  const char *colour = kColours[curves_ % 5];
  body_ += svg_text("<polyline fill='none' stroke-width='1.3' stroke='%s' points='", colour);
  for (const Point &point : points) body_ += svg_text("%.1f,%.1f ", across(point.x), down(point.y));
  const double y = kTop + 14 + 20 * curves_++, x = kWidth - kRight + 12;
  body_ += svg_text("'/>\n<path d='M%.1f %.1fh20' stroke-width='3' stroke='%s'/><text x='%.1f' y='%.1f'>%s</text>\n", x,
                    y - 4, colour, x + 26, y, name);
}

bool Plot::write(const std::string &path) const {
  return write_svg(path, kWidth, kHeight, body_);
}

}  // namespace quality
