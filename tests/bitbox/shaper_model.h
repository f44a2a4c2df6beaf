// A plain model of the noise and of the shaped quantiser: one sample at a time, in samples, as their definition has it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace auspool::testing {

struct NoiseModel {
  std::uint32_t x = 0xDEADBEEF;

  std::uint32_t next() {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    return x;
  }
  double rectangular() { return static_cast<double>(next() & 0x7FFFFFFF) - 0.5; }
  double triangular() {
    const std::int64_t a = next() & 0x7FFFFFFF;
    const std::int64_t b = next() & 0x7FFFFFFF;
    return static_cast<double>(a - b);
  }
};

template <typename Real>
class ShaperModel {
public:
  ShaperModel(int bits, std::vector<float> zeros, std::vector<float> poles = {})
      : zeros_(zeros.begin(), zeros.end()),
        poles_(poles.begin(), poles.end()),
        state_(zeros.size() + 1),
        step_(static_cast<Real>(1 / std::ldexp(1.0, bits - 1))),
        scale_(static_cast<Real>(std::ldexp(1.0, bits - 1))),
        highest_(static_cast<Real>(std::ldexp(1.0, bits - 1) - 1)),
        amplitude_(1 / std::ldexp(1.0, bits - 1) / 2147483647.0) {}

  Real process(Real x, NoiseModel &noise) {
    const Real f = state_[0];
    const Real t = x - f;
    const Real q = std::nearbyint((static_cast<Real>(noise.triangular() * amplitude_) + t) * scale_);
    Real output = q * step_;
    Real e = output - t;
    if (q > highest_ || q < -scale_) {
      output = q > highest_ ? Real{1} : Real{-1};
      e = std::clamp(output - t, -step_, step_);
    }
    const std::size_t n = zeros_.size();
    for (std::size_t i = 0; i + 1 < n; ++i) state_[i] = zeros_[i] * e + state_[i + 1] - pole(i, f);
    state_[n - 1] = zeros_[n - 1] * e - pole(n - 1, f);
    state_[n] = e;
    return output;
  }

  // What the end of a call does: the state is kept in 32 bits.
  void round_state() {
    for (Real &s : state_) s = static_cast<Real>(static_cast<float>(s));
  }

private:
  Real pole(std::size_t i, Real f) const { return poles_.empty() ? 0 : poles_[i] * f; }

  std::vector<Real> zeros_, poles_, state_;
  Real step_, scale_, highest_;
  double amplitude_;
};

}  // namespace auspool::testing
