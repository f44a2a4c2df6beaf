pkg_check_modules(FLAC REQUIRED IMPORTED_TARGET flac)
pkg_check_modules(LIBAVCODEC REQUIRED IMPORTED_TARGET libavcodec libavutil)
pkg_check_modules(LAME REQUIRED IMPORTED_TARGET lame)
target_link_libraries(${bench} PRIVATE PkgConfig::FLAC PkgConfig::LAME PkgConfig::LIBAVCODEC)
