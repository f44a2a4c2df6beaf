pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
find_package(GTest REQUIRED)  # the tests' sound server says with it what went wrong
target_link_libraries(${bench} PRIVATE PkgConfig::SWRESAMPLE PkgConfig::SOXR GTest::gtest)
target_include_directories(${bench} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
foreach(name sound_server programs temp_dir)
  target_sources(${bench} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/${name}.cpp)
endforeach()
target_sources(${bench} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/players/starts.cpp)
