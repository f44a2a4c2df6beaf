find_path(AUSPOOL_CBLAS_INCLUDE cblas.h PATH_SUFFIXES openblas x86_64-linux-gnu REQUIRED)
find_library(AUSPOOL_OPENBLAS openblas REQUIRED)
target_include_directories(${bench} SYSTEM PRIVATE ${AUSPOOL_CBLAS_INCLUDE})
target_link_libraries(${bench} PRIVATE ${AUSPOOL_OPENBLAS})
