#include "bitbox/simple_shape.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace auspool {
namespace {

struct SimpleShape {
  double rate;
  std::array<float, 2> taps;
};

constexpr SimpleShape simple_shape_coeffs[] = {
    {44100, {1.5792102f, -0.8166979f}},  {48000, {1.5979563f, -0.8032116f}},  {64000, {1.6186513f, -0.7537428f}},
    {88200, {1.5995380f, -0.7026008f}},  {96000, {1.5922426f, -0.6913098f}},  {128000, {1.5695951f, -0.6618792f}},
    {176400, {1.5527647f, -0.6426589f}}, {192000, {1.5495598f, -0.6392004f}}, {256000, {1.5417415f, -0.6309603f}},
    {352800, {1.5368057f, -0.6258844f}}, {384000, {1.5373799f, -0.6264724f}},
};

// The two taps are a pair of zeros at radius e^(+-i angle).
struct Zeros {
  double radius, angle;
};

Zeros zeros_of(const std::array<float, 2> &taps) {
  const double radius = std::sqrt(-static_cast<double>(taps[1]));
  return {radius, std::acos(static_cast<double>(taps[0]) / (2 * radius))};
}

std::array<float, 2> taps_of(const Zeros &zeros) {
  return {static_cast<float>(2 * zeros.radius * std::cos(zeros.angle)),
          static_cast<float>(-zeros.radius * zeros.radius)};
}

// Radius and angle go in straight lines over the logarithm of the rate. What moves between rows is where the zeros lie,
// so a rate between two rows shapes as they do.
std::array<float, 2> between(const SimpleShape &below, const SimpleShape &above, double rate) {
  const double part = std::log(rate / below.rate) / std::log(above.rate / below.rate);
  const Zeros from = zeros_of(below.taps);
  const Zeros to = zeros_of(above.taps);
  return taps_of({std::lerp(from.radius, to.radius, part), std::lerp(from.angle, to.angle, part)});
}

}  // namespace

std::array<float, 2> simple_shape(double sample_rate) {
  const double rate = std::trunc(sample_rate);
  const auto *const above = std::find_if(std::begin(simple_shape_coeffs), std::end(simple_shape_coeffs),
                                         [&](const SimpleShape &row) { return row.rate >= rate; });
  if (above == std::end(simple_shape_coeffs)) return std::prev(above)->taps;
  if (above->rate == rate || above == std::begin(simple_shape_coeffs)) return above->taps;
  return between(*std::prev(above), *above, rate);
}

}  // namespace auspool
