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
if(AUSPOOL_PIPEWIRE)
  list(APPEND modules libpipewire-0.3)
endif()
if(AUSPOOL_IDLE_SLEEP)
  list(APPEND modules libsystemd)
endif()
foreach(module ${modules})
  pkg_check_modules(AUSPOOL_${module} REQUIRED IMPORTED_TARGET ${module})
  list(APPEND AUSPOOL_LIBRARIES PkgConfig::AUSPOOL_${module})
endforeach()
# For static linking pkg-config follows what it requires into every library that a distribution has built libav with; we
# link libav itself shared.
set(shared_modules ${modules})
list(FILTER modules EXCLUDE REGEX "^lib(av|sw)")
list(FILTER shared_modules INCLUDE REGEX "^lib(av|sw)")
list(TRANSFORM shared_modules REPLACE "^lib" "-l")
set_source_files_properties(platform/idle_sleep.cpp platform/power.cpp platform/login/bus.cpp PROPERTIES
  COMPILE_DEFINITIONS AUSPOOL_IDLE_SLEEP=$<BOOL:${AUSPOOL_IDLE_SLEEP}>)
# LAPACK's one subroutine that we call is linked in, in its reference form. Behind the name liblapack.so.3 a system may
# have any implementation, such as one that starts threads in every process that loads it.
find_library(AUSPOOL_LAPACK liblapack_pic.a REQUIRED)
find_library(AUSPOOL_BLAS libblas.a PATH_SUFFIXES blas REQUIRED)
find_library(AUSPOOL_GFORTRAN libgfortran.so.5 REQUIRED)
set(linear_algebra ${AUSPOOL_LAPACK} ${AUSPOOL_BLAS} ${AUSPOOL_GFORTRAN})
list(APPEND AUSPOOL_LIBRARIES ${linear_algebra})
list(APPEND shared_modules ${linear_algebra})
list(JOIN modules " " AUSPOOL_PKG_REQUIRES)
list(JOIN shared_modules " " AUSPOOL_PKG_LIBS)
