target_include_directories(${bench} PRIVATE ${PROJECT_SOURCE_DIR}/tests)  # a clock that stands
pkg_check_modules(JACK REQUIRED IMPORTED_TARGET jack)
target_link_libraries(${bench} PRIVATE PkgConfig::JACK zita-resampler)
