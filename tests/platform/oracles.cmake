# FFTW in long double, which the transforms are compared with.
find_package(PkgConfig REQUIRED)
pkg_check_modules(AUSPOOL_FFTW_LONG REQUIRED IMPORTED_TARGET fftw3l)
target_link_libraries(${test} PRIVATE PkgConfig::AUSPOOL_FFTW_LONG)
