# Reads the version from the public header, where it is kept.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../include/auspool/version.h lines REGEX "#define AUSPOOL_VERSION_[A-Z]+ [0-9]+")
list(TRANSFORM lines REPLACE ".* ([0-9]+)$" "\\1")
list(JOIN lines "." AUSPOOL_VERSION)
