pkg_check_modules(LMDB REQUIRED IMPORTED_TARGET lmdb)
pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
target_link_libraries(${bench} PRIVATE PkgConfig::LMDB PkgConfig::SQLITE)
