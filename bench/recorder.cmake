pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
target_link_libraries(${bench} PRIVATE PkgConfig::SNDFILE)
