# soxr, libsamplerate, zita-resampler, speexdsp and libswresample are the peers; tones and their measure are those of the
# tests, and libsndfile reads recordings.
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(SAMPLERATE REQUIRED IMPORTED_TARGET samplerate)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
target_link_libraries(${bench} PRIVATE PkgConfig::SOXR PkgConfig::SAMPLERATE PkgConfig::SWRESAMPLE PkgConfig::SPEEXDSP
                                       PkgConfig::SNDFILE zita-resampler)
target_include_directories(${bench} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
file(GLOB parts CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/quality/*.cpp)
target_sources(${bench} PRIVATE ${parts} ${PROJECT_SOURCE_DIR}/tests/support/tone.cpp)
