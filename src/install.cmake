# Installation: headers, both libraries, and what find_package and pkg-config read.
include(CMakePackageConfigHelpers)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/auspool DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS auspool EXPORT auspool)
install(TARGETS auspool_static)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/auspool)
install(EXPORT auspool NAMESPACE auspool:: FILE auspool-targets.cmake DESTINATION ${package_dir})
write_basic_package_version_file(auspool-config-version.cmake COMPATIBILITY SameMinorVersion)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/auspool-config.cmake.in auspool-config.cmake
                              INSTALL_DESTINATION ${package_dir})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/auspool-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/auspool-config-version.cmake
        DESTINATION ${package_dir})

# From the folder of the .pc file back to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH AUSPOOL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/auspool.pc.in auspool.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/auspool.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
