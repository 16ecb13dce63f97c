/**
 * @file
 * The version of the interface that these headers declare; the library's SONAME follows it.
 */
#ifndef QUORV_VERSION_H
#define QUORV_VERSION_H

/** @addtogroup general
 * @{
 */

/** Raised when programs must be compiled again. */
#define QUORV_VERSION_MAJOR 0
/** Raised when something is added. */
#define QUORV_VERSION_MINOR 1
/** Raised for corrections. */
#define QUORV_VERSION_PATCH 0

/** @} */

#endif
