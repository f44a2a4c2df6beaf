pkg_check_modules(AUSPOOL_FFTW REQUIRED IMPORTED_TARGET fftw3 fftw3f)
pkg_check_modules(EBUR128 REQUIRED IMPORTED_TARGET libebur128)
target_link_libraries(${bench} PRIVATE PkgConfig::AUSPOOL_FFTW PkgConfig::EBUR128)
