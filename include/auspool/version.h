/* The version of auspool, and the only place where it stands: the build reads it from here. */
#ifndef AUSPOOL_VERSION_H
#define AUSPOOL_VERSION_H

#define AUSPOOL_VERSION_MAJOR 0
#define AUSPOOL_VERSION_MINOR 1
#define AUSPOOL_VERSION_PATCH 0

#endif /* AUSPOOL_VERSION_H */
