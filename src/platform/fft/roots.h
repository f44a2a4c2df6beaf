// Roots of unity.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

namespace auspool::fft {

// exp(-2 pi i k / size), for k below `size`, a power of two. Each is right to about one unit in the last place; what
// accumulates when one root is multiplied from the one before does not arise.
class Roots {
public:
  explicit Roots(std::size_t size);

  std::complex<double> operator()(std::size_t k) const {
    // coarse * fine, with the fine root less 1: the product is then a small correction to the exact coarse root.
    const std::complex<double> coarse = coarse_[k >> shift_];
    const std::complex<double> fine = fine_less_1_[k & mask_];
    return {coarse.real() + (coarse.real() * fine.real() - coarse.imag() * fine.imag()),
            coarse.imag() + (coarse.real() * fine.imag() + coarse.imag() * fine.real())};
  }

private:
  int shift_;
  std::size_t mask_;
  std::vector<std::complex<double>> coarse_;
  std::vector<std::complex<double>> fine_less_1_;
};

}  // namespace auspool::fft
