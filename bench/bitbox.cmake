pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
target_link_libraries(${bench} PRIVATE PkgConfig::SWRESAMPLE PkgConfig::SNDFILE)
