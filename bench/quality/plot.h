// Plots of curves as SVG.
#pragma once

#include <string>
#include <vector>

namespace quality {

struct Axis {
  const char *name;
  double least;
  double most;
  double step;  // between its marks
};

struct Point {
  double x;
  double y;
};

class Plot {
public:
  Plot(const char *title, const Axis &x, const Axis &y);

  // Draws in the next colour; the name goes into the legend.
  void add_curve(const char *name, const std::vector<Point> &points);

  // False where the file cannot be written.
  bool write(const std::string &path) const;

private:
  void add_grid(const char *title);
  double across(double x) const;
  double down(double y) const;

  Axis x_;
  Axis y_;
  int curves_ = 0;
  std::string body_;
};

}  // namespace quality
