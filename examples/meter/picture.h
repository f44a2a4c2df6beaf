// The picture of a measurement: levels over time above, the spectrum below.
#pragma once

#include <string>

#include "meter/history.h"

namespace meter {

// The text of an SVG file.
std::string picture_of(const History &history, const Measurement &measurement, const std::string &title);

}  // namespace meter
