/* The version of the interface these headers declare; the library's SONAME follows it. */
#ifndef QUORV_VERSION_H
#define QUORV_VERSION_H

#define QUORV_VERSION_MAJOR 0
#define QUORV_VERSION_MINOR 1
#define QUORV_VERSION_PATCH 0

#endif
