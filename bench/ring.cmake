# JACK's ring buffer; Boost's and moodycamel's queues are headers alone.
pkg_check_modules(JACK REQUIRED IMPORTED_TARGET jack)
target_link_libraries(${bench} PRIVATE PkgConfig::JACK)
