#include "platform/fft/roots.h"

#include <bit>
#include <cmath>
#include <numbers>

namespace auspool::fft {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

// exp(-2 pi i k / size) by way of an angle of at most an eighth of a turn, where sine and cosine lose nothing.
std::complex<double> exact_root(std::size_t k, std::size_t size) {
  const std::size_t quarter = size / 4;
  const std::size_t rest = k % quarter;
  const auto angle = [&](std::size_t part) { return kTurn * static_cast<double>(part) / static_cast<double>(size); };
  double cosine = std::cos(angle(rest));
  double sine = std::sin(angle(rest));
  if (rest > quarter / 2) {
    cosine = std::sin(angle(quarter - rest));
    sine = std::cos(angle(quarter - rest));
  } else if (rest == quarter / 2) {
    cosine = sine = std::numbers::sqrt2 / 2;  // the rounded angle would part them
  }
  switch (k / quarter) {
  case 0:
    return {cosine, -sine};
  case 1:
    return {-sine, -cosine};
  case 2:
    return {-cosine, sine};
  default:
    return {sine, cosine};
  }
}

}  // namespace

// Sizes are at least 4.
Roots::Roots(std::size_t size) : shift_(std::countr_zero(size) / 2), mask_((std::size_t{1} << shift_) - 1) {
  const std::size_t fine_count = mask_ + 1;
  coarse_.resize(size / fine_count);
  for (std::size_t k = 0; k < coarse_.size(); ++k) coarse_[k] = exact_root(k * fine_count, size);
  fine_less_1_.resize(fine_count);
  for (std::size_t k = 0; k < fine_count; ++k) {
    const double angle = kTurn * static_cast<double>(k) / static_cast<double>(size);
    const double sine_of_half = std::sin(angle / 2);
    fine_less_1_[k] = {-2 * sine_of_half * sine_of_half, -std::sin(angle)};
  }
}

}  // namespace auspool::fft
