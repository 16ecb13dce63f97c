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
 *     [Section]
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
    const char *section; /**< null for the section "default" */
    const char *key;     /**< the key's name */
    void *value;         /**< buffer to read into, or the value to write; not changed by MIniWriteS */
    uint32_t type;       /**< MINI_TYPE_INTEGER or MINI_TYPE_STRING */
    uint32_t size;       /**< bytes at value; MIniReadS sets it to the length of a string it read */
} MIniQuery;

/**
 * Opens a file, or creates it empty when there is none, and reads it.
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
 * The edited file is first made beside the file, under its name with "_tmp" appended, and the file is only
 * touched when that is complete. It is copied over the file, which keeps its owner and its links. When the
 * copy fails half-way, or a path that ends with "_tmp" has 260 or more characters, the complete file takes
 * the place of the old one: it belongs to the process then, and further hard links keep the old contents, or
 * what the copy made of them. A file that cannot be written is left as it was. A symbolic link stays what it
 * is; all this is about the file that it led to when it was opened.
 *
 * Should replacing the file fail in both ways, the complete file stays at its name. What a later save finds
 * there it does not overwrite but renames, "_old" appended.
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
 * Gives the name of the first section; MIniFindNextCategoryS gives those behind it, in order. A section with
 * an empty name ("[]") is passed over.
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
