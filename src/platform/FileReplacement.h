// Gives a file new contents. Killed or without power at any moment, the file is the old one, the new one, or
// a beginning of the new one, which then stands whole beside it and is put back by finish_replacement.
//
// Names beside the file:
//   NAME_wip      the new text while it is being written
//   NAME_tmp      the new text, whole and on the disk, until the file is it
//   NAME_tmp_old  what was found at NAME_tmp when that name was needed: it may be the only whole text there
//   is
#ifndef QUORV_SRC_PLATFORM_FILEREPLACEMENT_H
#define QUORV_SRC_PLATFORM_FILEREPLACEMENT_H

#include <limits.h>
#include <quorv/platform/stream.h>
#include <sys/stat.h>

#include "platform/StreamKinds.h"

namespace quorv {

// A name beside the file: its path with a suffix. Where that is too long, it is empty and names nothing.
class NameBeside {
public:
    NameBeside(const char *path, const char *suffix);
    const char *get() const { return text_; }

private:
    char text_[PATH_MAX];
};

// `path` is here that of the file itself, not of a link to it.
class FileReplacement {
public:
    // `old` is the file as it was opened.
    FileReplacement(const char *path, MStream old);
    // Removes the new text when it was not put in place.
    ~FileReplacement();
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    // Takes the new text; null when no file can be made for it.
    MStream stream() const { return stream_.get(); }
    // Puts the new text in the file's place; false when the file is not it.
    [[nodiscard]] bool put_in_place();

private:
    [[nodiscard]] bool complete();

    const char *const path_;
    const NameBeside unfinished_;
    OwnedStream stream_;
    struct stat made_ = {};  // the new file
    struct stat old_ = {};
    bool may_rename_ = false;  // giving the new file the old one's name keeps owner, mode and links
};

// Puts the new text back where a process was killed while it made the file that.
void finish_replacement(const char *path);

// Whether there is certainly no such file, as opposed to one that cannot be looked at.
bool is_missing(const char *path);

}  // namespace quorv

#endif
