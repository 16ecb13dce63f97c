/**
 * @file
 * File information, directories, and the search of a directory by a wildcard pattern.
 */
#ifndef QUORV_PLATFORM_DIRECTORY_H
#define QUORV_PLATFORM_DIRECTORY_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup directory Directories
 * @ingroup platform
 * File information, directories, and the search of a directory by a wildcard pattern.
 *
 * Paths are narrow strings; the W forms take 16-bit wide strings and narrow them (each unit cut to its low 8
 * bits): a path of 260 or more characters fails there, and so does one with a unit whose low 8 bits are
 * zero. Null paths and handles are accepted and fail.
 * @{
 */

/** Attributes of MFileInfo; 0 for anything else. */
enum {
    MFILE_DIRECTORY = 8, /**< a directory */
    MFILE_REGULAR = 16   /**< a regular file */
};

/** What is known of a file; times in seconds as the system's stat gives them, low 32 bits. */
typedef struct MFileInfo {
    uint32_t attributes;         /**< MFILE_DIRECTORY, MFILE_REGULAR or 0 */
    uint32_t size;               /**< bytes, low 32 bits */
    uint32_t status_change_time; /**< when its owner, mode or contents changed */
    uint32_t access_time;        /**< when it was read */
    uint32_t modification_time;  /**< when its contents changed */
} MFileInfo;

/** What a directory search delivers. */
enum {
    MDIR_FILES = 0,       /**< regular files */
    MDIR_DIRECTORIES = 1, /**< directories */
    MDIR_BOTH = 2         /**< both */
};

/** A directory search in progress. */
typedef struct MDirFind *MDirHandle;

/**
 * Describes a file or directory; links are followed.
 *
 * @param[out] info  the description; left alone when there is none
 * @param[in]  path  a path
 *
 * @return 1, or 0 when there is no such file or an argument is null
 */
QUORV_API int32_t MGetFileInfoS(MFileInfo *info, const char *path);
/** MGetFileInfoS for a wide path. @copydetails MGetFileInfoS */
QUORV_API int32_t MGetFileInfoW(MFileInfo *info, const uint16_t *path);

/**
 * Creates a directory with the permissions 0775 less the process's mask.
 *
 * @param[in] path  a path; its parent must be there
 *
 * @return 1 on success, else 0
 */
QUORV_API int32_t MDirectoryCreateS(const char *path);
/** MDirectoryCreateS for a wide path. @copydetails MDirectoryCreateS */
QUORV_API int32_t MDirectoryCreateW(const uint16_t *path);

/**
 * Removes an empty directory.
 *
 * @param[in] path  a path
 *
 * @return 1 on success, else 0
 */
QUORV_API int32_t MDirectoryRemoveS(const char *path);
/** MDirectoryRemoveS for a wide path. @copydetails MDirectoryRemoveS */
QUORV_API int32_t MDirectoryRemoveW(const uint16_t *path);

/**
 * Tells whether a path is a directory that can be opened.
 *
 * @param[in] path  a path
 *
 * @return 1 when it is, else 0
 */
QUORV_API int32_t MIsDirectoryS(const char *path);
/** MIsDirectoryS for a wide path. @copydetails MIsDirectoryS */
QUORV_API int32_t MIsDirectoryW(const uint16_t *path);

/**
 * Compares two paths, the case of ASCII letters ignored; the files are not looked at.
 *
 * @param[in] a  a path
 * @param[in] b  a path
 *
 * @return 1 when they are equal, else 0
 */
QUORV_API int32_t MIsSameFileS(const char *a, const char *b);
/** MIsSameFileS for a wide path. @copydetails MIsSameFileS */
QUORV_API int32_t MIsSameFileW(const uint16_t *a, const uint16_t *b);

/**
 * Starts a search of one directory for regular files and directories, "." and ".." among the latter.
 *
 * @param[in] pattern_path  a directory, with or without its separator at the end: every name; or, when the
 *                          last component holds a wildcard, a directory and a pattern for names: '?' stands
 *                          for any one byte, '*' for any run of bytes, ASCII letters match in both cases; "*"
 *                          and "*.*" match every name. A pattern without a directory searches the current
 *                          one.
 * @param[in] filter        MDIR_FILES, MDIR_DIRECTORIES or MDIR_BOTH
 *
 * @return the search, which MDirEndFind frees; null when the directory cannot be opened, the path is empty or
 *         there is no memory
 */
QUORV_API MDirHandle MDirStartFindS(const char *pattern_path, uint32_t filter);
/** MDirStartFindS for a wide path. @copydetails MDirStartFindS */
QUORV_API MDirHandle MDirStartFindW(const uint16_t *pattern_path, uint32_t filter);
/** The same as MDirStartFindS. @copydetails MDirStartFindS */
QUORV_API MDirHandle MDirStartFindExS(const char *pattern_path, uint32_t filter);
/** The same as MDirStartFindW. @copydetails MDirStartFindS */
QUORV_API MDirHandle MDirStartFindExW(const uint16_t *pattern_path, uint32_t filter);

/**
 * Delivers the next match of a search.
 *
 * 0 has two meanings. At the end of the directory name is set empty; end the search with MDirEndFind. When an
 * entry cannot be examined (a link that leads nowhere) name is left as it was and the search has ended
 * itself: the handle must not be used again, not even by MDirEndFind. Set name[0] to another value before the
 * call to tell the two apart.
 *
 * @param[in]  find          the search
 * @param[out] name          the directory as given, with its separator, and the name; there must be room for
 *                           the directory's length and 257 characters
 * @param[out] is_directory  1 for a directory, 0 for a file; may be null
 *
 * @return 1, or 0 when there is none
 */
QUORV_API int32_t MDirFindNextS(MDirHandle find, char *name, uint32_t *is_directory);

/**
 * Delivers the next match of a search with its description; otherwise as MDirFindNextS.
 *
 * @param[in]  find  the search
 * @param[out] name  as for MDirFindNextS
 * @param[out] info  the description; may be null
 *
 * @return 1, or 0 when there is none
 */
QUORV_API int32_t MDirFindNextExS(MDirHandle find, char *name, MFileInfo *info);
/** As MDirFindNextExS, the name widened as by MCharToWChar. @copydetails MDirFindNextExS */
QUORV_API int32_t MDirFindNextExW(MDirHandle find, uint16_t *name, MFileInfo *info);

/**
 * Ends a search and frees it.
 *
 * @param[in] find  the search
 *
 * @return 1, or 0 for null
 */
QUORV_API int32_t MDirEndFind(MDirHandle find);
/** The same as MDirEndFind. @copydetails MDirEndFind */
QUORV_API int32_t MDirEndFindEx(MDirHandle find);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
