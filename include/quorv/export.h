/**
 * @file
 * What the shared library shows to its callers.
 */
#ifndef QUORV_EXPORT_H
#define QUORV_EXPORT_H

/**
 * @defgroup general General
 * The version, and what marks the functions of the interface.
 * @{
 */

#if defined(__GNUC__)
/** Marks a function of the public interface: default visibility in a library that hides the rest. */
#define QUORV_API __attribute__((visibility("default")))
/** Lets the compiler check the arguments of a function that takes a printf format. */
#define QUORV_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define QUORV_API
#define QUORV_PRINTF(format_index, first_argument)
#endif

/** @} */

#endif
