// How far two signals are apart.
#pragma once

#include <vector>

namespace quality {

struct Residual {
  double within;  // decibels relative to the reference: the difference up to `edge`
  double whole;   // and at all frequencies
};

// Of two signals that begin and end in silence and that differ in time by a sample or two: that is found and taken out,
// to a part of a sample. Levels are left as they are.
Residual residual(const std::vector<double> &reference, const std::vector<double> &other, double rate, double edge);

}  // namespace quality
