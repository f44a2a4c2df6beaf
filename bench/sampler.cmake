pkg_check_modules(SAMPLERATE REQUIRED IMPORTED_TARGET samplerate)
target_link_libraries(${bench} PRIVATE PkgConfig::SAMPLERATE zita-resampler)
