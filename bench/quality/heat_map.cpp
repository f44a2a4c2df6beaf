#include "quality/heat_map.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "quality/svg.h"

namespace quality {
namespace {

constexpr double kCell = 2, kLeft = 60, kTop = 40, kBottom = 50, kGap = 50, kScale = 90, kStep = 10;
constexpr int kColours = static_cast<int>(-kDarkest / kStep) + 1;  // the first is all that is below

std::string colour(int number) {
  // From silence to full scale; brightness rises all the way.
  constexpr double kMarks[][3] = {{0, 0, 0},     {30, 20, 110},  {140, 30, 130},
                                  {225, 75, 60}, {250, 170, 40}, {255, 255, 220}};
  const double at = 5.0 * number / (kColours - 1);
  const auto low = static_cast<std::size_t>(std::min(at, 4.0));
  const double part = at - static_cast<double>(low);
  std::array<int, 3> mixed = {};
  for (std::size_t i = 0; i < 3; ++i) {
    mixed[i] = static_cast<int>(std::lround(kMarks[low][i] + part * (kMarks[low + 1][i] - kMarks[low][i])));
  }
  return svg_text("#%02x%02x%02x", mixed[0], mixed[1], mixed[2]);
}

int number_of(double level) {
  return static_cast<int>(std::clamp(std::ceil((level - kDarkest) / kStep), 0.0, kColours - 1.0));
}

// The cells of one colour: runs up each column, over a ground of the first colour.
std::string runs(const HeatMap &map, int number) {
  std::string path;
  for (std::size_t x = 0; x < map.columns.size(); ++x) {
    const auto &column = map.columns[x];
    for (std::size_t y = 0; y < column.size();) {
      std::size_t end = y;
      while (end < column.size() && number_of(column[end]) == number) ++end;
      if (end > y) path += svg_text("M%zu %zuv-%zu", x, column.size() - y, end - y);
      y = std::max(end, y + 1);
    }
  }
  return path;
}

std::string drawn(const HeatMap &map, double left) {
  const double width = static_cast<double>(map.columns.size());
  const double height = static_cast<double>(map.columns.front().size());
  std::string body = svg_text("<text x='%g' y='24' font-size='15'>%s</text>\n", left, map.title);
  body += svg_text("<g transform='translate(%g %g) scale(%g)' shape-rendering='crispEdges'>\n", left, kTop, kCell);
  body += svg_text("<rect width='%g' height='%g'/>\n", width, height);
  body += "<g fill='none' transform='translate(.5 0)'>\n";
  for (int i = 1; i < kColours; ++i) body += "<path stroke='" + colour(i) + "' d='" + runs(map, i) + "'/>\n";
  return body + "</g></g>\n";
}

std::string marks(const Axis &x, const Axis &y, double left, double width, double height) {
  const double bottom = kTop + height;
  std::string body;
  for (double at = x.least; at <= x.most; at += x.step) {
    const double across = left + (at - x.least) / (x.most - x.least) * width;
    body += svg_text("<text x='%.1f' y='%.1f' text-anchor='middle'>%g</text>\n", across, bottom + 16, at);
  }
  for (double at = y.least; at <= y.most; at += y.step) {
    const double down = bottom - (at - y.least) / (y.most - y.least) * height;
    body += svg_text("<text x='%.1f' y='%.1f' text-anchor='end'>%g</text>\n", left - 6, down + 4, at);
  }
  body += svg_text("<text x='%.1f' y='%.1f' text-anchor='middle'>%s</text>\n", left + width / 2, bottom + 38, x.name);
  return body + svg_text("<text transform='translate(%.1f %.1f) rotate(-90)' text-anchor='middle'>%s</text>\n",
                         left - 30, kTop + height / 2, y.name);
}

std::string scale(double left, double height) {
  std::string body;
  const double each = height / kColours;
  for (int i = 0; i < kColours; ++i) {
    const double top = kTop + height - (i + 1) * each;
    body += svg_text("<rect x='%g' y='%.1f' width='16' height='%.1f' fill='%s'/>\n", left, top, each + 0.5,
                     colour(i).c_str());
    if (i % 3 == 0) body += svg_text("<text x='%g' y='%.1f'>%g dB</text>\n", left + 22, top + 4, kDarkest + i * kStep);
  }
  return body;
}

}  // namespace

bool write_heat_maps(const std::string &path, const Axis &x, const Axis &y, const std::vector<HeatMap> &maps) {
  const double width = kCell * static_cast<double>(maps.front().columns.size());
  const double height = kCell * static_cast<double>(maps.front().columns.front().size());
  double left = kLeft;
  std::string body;
  for (const HeatMap &map : maps) {
    body += drawn(map, left) + marks(x, y, left, width, height);
    left += width + kGap;
  }
  body += scale(left - kGap / 2, height);
  return write_svg(path, left - kGap / 2 + kScale, kTop + height + kBottom, body);
}

}  // namespace quality
