// Levels over a plane as SVG, in colours of 10 dB each.
#pragma once

#include <string>
#include <vector>

#include "quality/plot.h"

namespace quality {

inline constexpr double kDarkest = -180;  // decibels

struct HeatMap {
  const char *title;
  std::vector<std::vector<double>> columns;  // decibels, each from the bottom up; all of one length
};

// Side by side, with the same axes. False where the file cannot be written.
bool write_heat_maps(const std::string &path, const Axis &x, const Axis &y, const std::vector<HeatMap> &maps);

}  // namespace quality
