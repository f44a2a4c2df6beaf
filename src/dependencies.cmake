# What the library links. AUSPOOL_LIBRARIES is what both forms need, AUSPOOL_PKG_REQUIRES names it for pkg-config.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
set(AUSPOOL_LIBRARIES Threads::Threads ${CMAKE_DL_LIBS})
set(modules
  libhwy
  libplist-2.0
  libpng
  libturbojpeg
)
list(APPEND modules ${AUSPOOL_CODEC_MODULES})
foreach(module ${modules})
  pkg_check_modules(AUSPOOL_${module} REQUIRED IMPORTED_TARGET ${module})
  list(APPEND AUSPOOL_LIBRARIES PkgConfig::AUSPOOL_${module})
endforeach()
list(JOIN modules " " AUSPOOL_PKG_REQUIRES)
