# FFTW in long double, which the transforms are compared with.
find_package(PkgConfig REQUIRED)
pkg_check_modules(AUSPOOL_FFTW_LONG REQUIRED IMPORTED_TARGET fftw3l)
target_link_libraries(${test} PRIVATE PkgConfig::AUSPOOL_FFTW_LONG)

# A sink that the tests themselves put on the sound server.
if(AUSPOOL_PIPEWIRE)
  pkg_check_modules(AUSPOOL_TEST_PIPEWIRE REQUIRED libpipewire-0.3)  # its definitions would spoil the shared header
  target_include_directories(${test} SYSTEM PRIVATE ${AUSPOOL_TEST_PIPEWIRE_INCLUDE_DIRS})
  target_link_libraries(${test} PRIVATE ${AUSPOOL_TEST_PIPEWIRE_LIBRARIES})
endif()
