#include <complex>
#include <vector>

#include "platform/linear_algebra.h"

// LAPACK's subroutine, as Fortran is called: everything by address.
extern "C" void zgelsy_(const std::int32_t *m, const std::int32_t *n, const std::int32_t *nrhs, std::complex<double> *a,
                        const std::int32_t *lda, std::complex<double> *b, const std::int32_t *ldb, std::int32_t *jpvt,
                        const double *rcond, std::int32_t *rank, std::complex<double> *work, const std::int32_t *lwork,
                        double *rwork, std::int32_t *info);

namespace auspool::linear_algebra {

bool solve_least_squares(const LeastSquares &system) {
  const std::int32_t LDA = system.rows, LDB = system.rows;
  const double RCOND = system.precision;
  std::vector<std::int32_t> JPVT(static_cast<std::size_t>(system.columns));  // 0: a column may be moved
  std::vector<double> RWORK(2 * static_cast<std::size_t>(system.columns));
  std::int32_t rank = 0, info = 0;
  const auto solve = [&](std::complex<double> *work, std::int32_t LWORK) {
    zgelsy_(&system.rows, &system.columns, &system.right_sides, system.a, &LDA, system.b, &LDB, JPVT.data(), &RCOND,
            &rank, work, &LWORK, RWORK.data(), &info);
    return info == 0;
  };
  std::complex<double> wanted;
  if (!solve(&wanted, -1)) return false;
  std::vector<std::complex<double>> work(static_cast<std::size_t>(wanted.real()));
  return solve(work.data(), static_cast<std::int32_t>(work.size()));
}

}  // namespace auspool::linear_algebra
