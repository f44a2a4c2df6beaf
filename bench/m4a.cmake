pkg_check_modules(LIBAVFORMAT REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil)
target_link_libraries(${bench} PRIVATE PkgConfig::LIBAVFORMAT)
