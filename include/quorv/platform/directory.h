/*
 * File information, directories, and the search of a directory by a wildcard pattern.
 *
 * Paths are narrow strings; the W forms take 16-bit wide strings and narrow them (each unit cut to its low 8
 * bits): a path of 260 or more characters fails there. Null paths and handles are accepted and fail.
 */
#ifndef QUORV_PLATFORM_DIRECTORY_H
#define QUORV_PLATFORM_DIRECTORY_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Attributes of MFileInfo; 0 for anything else. */
enum { MFILE_DIRECTORY = 8, MFILE_REGULAR = 16 };

/* What is known of a file; times in seconds as the system's stat gives them, low 32 bits. */
typedef struct MFileInfo {
    uint32_t attributes;
    uint32_t size; /* bytes, low 32 bits */
    uint32_t status_change_time;
    uint32_t access_time;
    uint32_t modification_time;
} MFileInfo;

/* What a directory search delivers. */
enum { MDIR_FILES = 0, MDIR_DIRECTORIES = 1, MDIR_BOTH = 2 };

/* A directory search in progress. */
typedef struct MDirFind *MDirHandle;

/* Describes a file or directory (links are followed): 1, or 0 when there is none. */
QUORV_API int32_t MGetFileInfoS(MFileInfo *info, const char *path);
QUORV_API int32_t MGetFileInfoW(MFileInfo *info, const uint16_t *path);
/* Creates a directory with the permissions 0775 less the process's mask; removes an empty one: 1 on success,
 * else 0. */
QUORV_API int32_t MDirectoryCreateS(const char *path);
QUORV_API int32_t MDirectoryCreateW(const uint16_t *path);
QUORV_API int32_t MDirectoryRemoveS(const char *path);
QUORV_API int32_t MDirectoryRemoveW(const uint16_t *path);
/* 1 when the path is a directory that can be opened, else 0. */
QUORV_API int32_t MIsDirectoryS(const char *path);
QUORV_API int32_t MIsDirectoryW(const uint16_t *path);
/* 1 when the two paths are equal, the case of ASCII letters ignored; the files are not looked at. */
QUORV_API int32_t MIsSameFileS(const char *a, const char *b);
QUORV_API int32_t MIsSameFileW(const uint16_t *a, const uint16_t *b);

/*
 * Starts a search of one directory; null when it cannot be opened or there is no memory.
 *
 * pattern_path  a directory, with or without its separator at the end: every name; or, when the last
 * component holds a wildcard, a directory and a pattern for names: '?' stands for any one byte, '*' for any
 *               run of bytes, ASCII letters match in both cases; "*" and "*.*" match every name. A pattern
 *               without a directory searches the current one.
 * filter        one of MDIR_*
 *
 * Only regular files and directories are found, "." and ".." among the latter.
 */
QUORV_API MDirHandle MDirStartFindS(const char *pattern_path, uint32_t filter);
QUORV_API MDirHandle MDirStartFindW(const uint16_t *pattern_path, uint32_t filter);
QUORV_API MDirHandle MDirStartFindExS(const char *pattern_path, uint32_t filter);
QUORV_API MDirHandle MDirStartFindExW(const uint16_t *pattern_path, uint32_t filter);

/*
 * Delivers the next match: 1, or 0 when there is none.
 *
 * name          out: the directory as given, with its separator, and the name; there must be room for the
 *               directory's length and 257 characters
 * is_directory  out: 1 for a directory, 0 for a file; the Ex forms fill an MFileInfo instead; may be null
 *
 * 0 has two meanings. At the end of the directory name is set empty; end the search with MDirEndFind. When an
 * entry cannot be examined (a link that leads nowhere) name is left as it was and the search has ended
 * itself: the handle must not be used again, not even by MDirEndFind. Set name[0] to another value before the
 * call to tell the two apart.
 */
QUORV_API int32_t MDirFindNextS(MDirHandle find, char *name, uint32_t *is_directory);
QUORV_API int32_t MDirFindNextExS(MDirHandle find, char *name, MFileInfo *info);
/* As MDirFindNextExS, the name widened as by MCharToWChar. */
QUORV_API int32_t MDirFindNextExW(MDirHandle find, uint16_t *name, MFileInfo *info);

/* Ends a search and frees it: 1, or 0 for null. */
QUORV_API int32_t MDirEndFind(MDirHandle find);
QUORV_API int32_t MDirEndFindEx(MDirHandle find);

#ifdef __cplusplus
}
#endif

#endif
