pkg_check_modules(SAMPLERATE REQUIRED IMPORTED_TARGET samplerate)
pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
target_link_libraries(${bench} PRIVATE PkgConfig::SAMPLERATE PkgConfig::SPEEXDSP)
