pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
target_link_libraries(${bench} PRIVATE PkgConfig::SWRESAMPLE PkgConfig::SOXR)
