# What the library links. AUSPOOL_LIBRARIES is what both forms need, AUSPOOL_PKG_REQUIRES names it for pkg-config.
find_package(Threads REQUIRED)
set(AUSPOOL_LIBRARIES Threads::Threads ${CMAKE_DL_LIBS})
set(AUSPOOL_PKG_REQUIRES "")
