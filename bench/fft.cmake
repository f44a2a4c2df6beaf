pkg_check_modules(AUSPOOL_FFTW REQUIRED IMPORTED_TARGET fftw3 fftw3f)
target_link_libraries(${bench} PRIVATE PkgConfig::AUSPOOL_FFTW)
