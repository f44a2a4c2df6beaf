# libsndfile, which reads what is stored.
find_package(PkgConfig REQUIRED)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
target_link_libraries(${test} PRIVATE PkgConfig::SNDFILE)
