pkg_check_modules(TAGLIB REQUIRED IMPORTED_TARGET taglib)
target_link_libraries(${bench} PRIVATE PkgConfig::TAGLIB)
