/**
 * @file
 * INI files: sections of key and value lines, read, edited and written back.
 */
#ifndef QUORV_PLATFORM_INI_H
#define QUORV_PLATFORM_INI_H

#include <quorv/export.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup ini INI files
 * @ingroup platform
 * Settings in text files: sections of key and value lines.
 *
 *     [Section]          its name may be empty
 *     Key = value        blanks around names and values do not count
 *     # * ;              begin a comment line
 *
 * MIniStartS reads the whole file; queries and edits work in memory; MIniEndS writes the edits back. Names
 * are compared ignoring the case of ASCII letters. Of several sections, or keys in a section, of the same
 * name the first counts. Keys before the first section and lines of any other form are ignored. Lines end
 * with LF or CR LF, and hold up to 2046 bytes without their ending.
 *
 * Lines that were not edited stay as they are, byte for byte. New and changed lines are written as
 * "Key=value" with CR LF; a new key goes to the end of its section, a new section to the end of the file.
 * When anything is written back, a last line without an ending gets one.
 *
 * A handle belongs to one thread at a time. A handle does not see what others do to its file; when the file
 * has changed by the time the edits are written back, they are made to what it holds then.
 *
 * **What may happen to a file.** Killed at any moment, or without power, a user's settings are the old or
 * the new ones, or can be made the new ones:
 *
 * - MIniStartS creates a missing file, empty. Another one it leaves alone, unless a save of it was killed
 *   (see below).
 * - MIniEndS leaves the file alone when nothing was edited. Otherwise it writes the new text beside the
 *   file, to NAME_wip. Whole and on the disk, that becomes NAME_tmp and at once takes the file's place and
 *   name, with the old file's owner, group and mode; access lists and extended attributes are not taken
 *   over.
 * - Where owner, group or mode could not be kept that way, or the file has further hard links or cannot be
 *   renamed over, it is written over instead, and NAME_tmp goes when the copy is on the disk. Only a save
 *   that is killed in between leaves the file cut short, or empty. The next MIniStartS finds that the file
 *   is the beginning of NAME_tmp, and makes it whole; a NAME_tmp that holds the same as the file it
 *   removes. It does neither with a NAME_tmp that belongs to anyone but the file's owner or this process's
 *   user.
 * - When writing over the file fails half-way, or a path that ends with "_tmp" has 260 or more characters,
 *   NAME_tmp takes the file's place after all: it belongs to the process then, and further hard links keep
 *   the old contents, or what was made of them. Should that fail, too, NAME_tmp stays at its name.
 * - A NAME_tmp that a save finds is renamed to NAME_tmp_old, a NAME_wip is removed.
 * - A file that cannot be written is left as it was, and so is one whose folder takes no new files. A
 *   symbolic link stays what it is: all this is about the file that it led to when it was opened.
 * @{
 */

/** An INI file that is being worked on. */
typedef struct MIniFile *MIniHandle;

/** Types of a value. */
enum {
    MINI_TYPE_INTEGER = 1, /**< a 32-bit integer, in decimal in the file */
    MINI_TYPE_STRING = 2   /**< a zero-terminated string */
};

/** One value to read or write. */
typedef struct MIniQuery {
    const char *section; /**< null for the section "default"; "" for that without a name, "[]" */
    const char *key;     /**< the key's name */
    void *value;         /**< buffer to read into, or the value to write; not changed by MIniWriteS */
    uint32_t type;       /**< MINI_TYPE_INTEGER or MINI_TYPE_STRING */
    uint32_t size;       /**< bytes at value; MIniReadS sets it to the length of a string it read */
} MIniQuery;

/**
 * Opens a file, or creates it empty when there is none, and reads it. A save that was killed is finished
 * first.
 *
 * @param[in] path  of the file; copied
 *
 * @return a handle that MIniEndS frees; null when the file cannot be opened or read, when a line is too long
 *         or the file larger than intptr_t can tell, for a null path and without memory; the file is then as
 *         it was
 */
QUORV_API MIniHandle MIniStartS(const char *path);

/**
 * Writes the edits back, if there are any, and frees the handle in every case.
 *
 * What that does to the file, and to others beside it, stands at the top of this page.
 *
 * @param[in] ini  the file
 *
 * @return 1 when the file is in place as edited; 0 when the edits could not be saved (a full disk, say) or
 *         ini is null
 */
QUORV_API int32_t MIniEndS(MIniHandle ini);

/**
 * Reads a value.
 *
 * A string needs query->size to be more than its length, which is then stored in query->size. Of an integer,
 * the first query->size bytes (at most 4) are stored; text that is no number reads as 0, and numbers beyond
 * 32 bits as the nearest limit.
 *
 * @param[in]     ini    the file
 * @param[in,out] query  what to read and where to
 *
 * @return 1, or 0 when a required argument is null or 0, the type is unknown, the key is not there or a
 *         string does not fit
 */
QUORV_API int32_t MIniReadS(MIniHandle ini, MIniQuery *query);

/**
 * Sets a value, making key and section as needed.
 *
 * An integer of fewer than 4 bytes is extended with zeroes. Of a string, size only has to be nonzero; blanks
 * at its ends are lost when the file is read again.
 *
 * @param[in] ini    the file
 * @param[in] query  what to write; copied
 *
 * @return 1, or 0 for arguments as for MIniReadS, without memory, and for what could not be read back: a
 *         section name with ']', a key that is empty, with '=' or that begins with '[', '#', '*' or ';',
 *         line breaks anywhere, key and value of together 2045 bytes or more
 */
QUORV_API int32_t MIniWriteS(MIniHandle ini, const MIniQuery *query);

/**
 * Reads a value as MIniReadS does, without the record.
 *
 * @param[in]     ini      the file
 * @param[in]     section  null for the section "default"
 * @param[in]     key      the key's name
 * @param[in]     type     MINI_TYPE_INTEGER or MINI_TYPE_STRING
 * @param[out]    value    *size bytes, the caller's
 * @param[in,out] size     bytes at value; out: the length of a string, unchanged by integers
 *
 * @return 1, or 0 as for MIniReadS
 */
QUORV_API int32_t MIniReadSingleS(MIniHandle ini, const char *section, const char *key, uint32_t type,
                                  void *value, uint32_t *size);

/**
 * Sets a value as MIniWriteS does, without the record.
 *
 * @param[in] ini      the file
 * @param[in] section  null for the section "default"
 * @param[in] key      the key's name
 * @param[in] type     MINI_TYPE_INTEGER or MINI_TYPE_STRING
 * @param[in] value    the value; copied
 * @param[in] size     bytes at value
 *
 * @return 1, or 0 as for MIniWriteS
 */
QUORV_API int32_t MIniWriteSingleS(MIniHandle ini, const char *section, const char *key, uint32_t type,
                                   const void *value, uint32_t size);

/**
 * Removes a key, or a section and its keys; comment lines stay. Writing a key again brings it, and its
 * section, back.
 *
 * @param[in] ini      the file
 * @param[in] section  null for the section "default"
 * @param[in] key      the key's name, or null for the whole section
 *
 * @return 1, or 0 when there is no such key or section
 */
QUORV_API int32_t MIniRemoveS(MIniHandle ini, const char *section, const char *key);

/**
 * Gives the name of the first section; MIniFindNextCategoryS gives those behind it, in order. A section
 * without a name ("[]"), which can be read and written, is passed over.
 *
 * 0 has two meanings. When the name does not fit, or name is null, *size is what it needs, and the next call
 * tries the same section again. At the end name is empty.
 *
 * @param[in]     ini   the file
 * @param[out]    name  the name, *size bytes; null to ask for the room
 * @param[in,out] size  bytes at name; out: those of the name, its terminator included
 *
 * @return 1, or 0 when there is no name
 */
QUORV_API int32_t MIniFindFirstCategoryS(MIniHandle ini, char *name, uint32_t *size);
/** Gives the name of the next section. @copydetails MIniFindFirstCategoryS */
QUORV_API int32_t MIniFindNextCategoryS(MIniHandle ini, char *name, uint32_t *size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
