pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
target_link_libraries(${bench} PRIVATE PkgConfig::SWRESAMPLE PkgConfig::SPEEXDSP zita-resampler)
