pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
target_link_libraries(${bench} PRIVATE PkgConfig::SOXR)
