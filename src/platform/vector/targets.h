// Which processors the kernels are compiled for. Include before any header of Highway.
//
// Each target more is one more compilation of every kernel. Floating-point arithmetic gains nothing from SSSE3 over
// SSE4 or from AVX3_DL over AVX3; the kernels keep vectors in arrays, which the scalable vectors of Arm and RISC-V do
// not allow.
#pragma once

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

// Without vectors the plain loops serve: the compiler makes of them what it can.
#define AUSPOOL_PLAIN_TARGET (HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128)
