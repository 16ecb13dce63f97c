// Gives a file new contents; see the header.

#include "platform/FileReplacement.h"

#include <errno.h>
#include <fcntl.h>
#include <quorv/platform/strings.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "platform/NarrowPath.h"

namespace quorv {
namespace {

constexpr char kUnfinishedSuffix[] = "_wip";
constexpr char kWholeSuffix[] = "_tmp";
constexpr char kEarlierSuffix[] = "_tmp_old";

bool is_same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool is_name_of(const char *path, const struct stat &file) {
    struct stat status;
    return lstat(path, &status) == 0 && is_same_file(status, file);
}

bool have_same_owner_and_mode(const struct stat &a, const struct stat &b) {
    return a.st_uid == b.st_uid && a.st_gid == b.st_gid && a.st_mode == b.st_mode;
}

// Brings what was written to a file, or the names in a folder, to the disk.
bool sync_path(const char *path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool synced = fsync(file) == 0;
    close(file);
    return synced;
}

// For the loss of power only, and not every file system can: what comes of it changes nothing.
void sync_folder_of(const char *path) {
    char folder[PATH_MAX];
    const char *separator = strrchr(path, '/');
    snprintf(folder, sizeof(folder), "%.*s.",
             separator == nullptr ? 0 : static_cast<int>(separator - path + 1), path);
    sync_path(folder);
}

// Gives the open file the owner and mode of another; whether it has both now.
bool inherit(int file, const struct stat &other) {
    // The group alone can often be kept where the owner cannot. The mode comes last: a new owner takes bits
    // away.
    const bool owned =
        fchown(file, other.st_uid, other.st_gid) == 0 || fchown(file, geteuid(), other.st_gid) == 0;
    struct stat now;
    return fchmod(file, other.st_mode & 07777) == 0 && owned && fstat(file, &now) == 0 &&
           have_same_owner_and_mode(now, other);
}

// Whether the file can be written, or is gone and can be made again. To take its place by renaming would work
// for a file that must not be written, too, since that asks for permission to write to the folder alone.
bool may_be_replaced(const char *path) {
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) return is_missing(path);
    close(file);
    return true;
}

bool keep_earlier_file(const char *path, const NameBeside &whole) {
    struct stat status;
    if (lstat(whole.get(), &status) != 0 || !S_ISREG(status.st_mode)) return true;
    return rename(whole.get(), NameBeside(path, kEarlierSuffix).get()) == 0;
}

bool copy_over(const char *path, const char *source) {
    uint16_t wide_path[kNarrowPathRoom];
    uint16_t wide_source[kNarrowPathRoom];
    if (strlen(path) >= kNarrowPathRoom || strlen(source) >= kNarrowPathRoom) return false;
    MCharToWChar(path, wide_path, kNarrowPathRoom);
    MCharToWChar(source, wide_source, kNarrowPathRoom);
    return MStreamFileCopyS(wide_path, wide_source) != 0 && sync_path(path);
}

// Copying keeps the file's identity (its links and its owner), but a copy that fails leaves it in pieces;
// then the whole file takes its place, or stays as the only whole one.
bool copy_or_rename(const char *path, const NameBeside &whole) {
    if (copy_over(path, whole.get())) {
        unlink(whole.get());
        return true;
    }
    if (rename(whole.get(), path) != 0) return false;
    sync_folder_of(path);
    return true;
}

// Whether a file begins with all that another holds.
bool begins_with(const char *whole, const char *part) {
    const OwnedStream all(MStreamOpenFromFileS(whole, MSTREAM_OPEN_READ));
    const OwnedStream begin(MStreamOpenFromFileS(part, MSTREAM_OPEN_READ));
    if (all == nullptr || begin == nullptr) return false;
    char expected[1024], found[sizeof(expected)];
    for (;;) {
        const int32_t got = MStreamRead(begin.get(), expected, sizeof(expected));
        if (got == 0) return !file_stream_failed(begin.get());
        if (MStreamRead(all.get(), found, got) != got) return false;
        if (memcmp(expected, found, static_cast<size_t>(got)) != 0) return false;
    }
}

}  // namespace

NameBeside::NameBeside(const char *path, const char *suffix) {
    if (snprintf(text_, sizeof(text_), "%s%s", path, suffix) >= static_cast<int>(sizeof(text_))) text_[0] = 0;
}

FileReplacement::FileReplacement(const char *path, MStream old)
    : path_(path), unfinished_(path, kUnfinishedSuffix) {
    fstat(file_stream_descriptor(old), &old_);
    // What a killed process left there.
    unlink(unfinished_.get());
    stream_.reset(create_private_file_stream(unfinished_.get()));
    if (stream_ != nullptr) fstat(file_stream_descriptor(stream_.get()), &made_);
}

FileReplacement::~FileReplacement() {
    if (is_name_of(unfinished_.get(), made_)) unlink(unfinished_.get());
}

// Gives the new text the old file's owner and mode and brings it to the disk; false also when another process
// that saves the same file has taken the name for its own.
bool FileReplacement::complete() {
    const bool inherited = inherit(file_stream_descriptor(stream_.get()), old_);
    struct stat named;
    const bool is_only_name = lstat(path_, &named) == 0 && is_same_file(named, old_) &&
                              S_ISREG(named.st_mode) && named.st_nlink == 1;
    may_rename_ = (is_only_name && inherited) || is_missing(path_);
    const bool synced = file_stream_sync(stream_.get());
    return MStreamClose(stream_.release()) != 0 && synced && is_name_of(unfinished_.get(), made_);
}

bool FileReplacement::put_in_place() {
    const NameBeside whole(path_, kWholeSuffix);
    if (!complete() || !may_be_replaced(path_) || !keep_earlier_file(path_, whole)) return false;
    if (rename(unfinished_.get(), whole.get()) != 0) return false;
    if (may_rename_) rename(whole.get(), path_);
    sync_folder_of(path_);
    // A process that has just started may have done it, too.
    return is_name_of(path_, made_) || copy_or_rename(path_, whole);
}

void finish_replacement(const char *path) {
    const NameBeside whole(path, kWholeSuffix);
    struct stat part, all;
    if (lstat(whole.get(), &all) != 0 || lstat(path, &part) != 0) return;
    if (!S_ISREG(all.st_mode) || !S_ISREG(part.st_mode) || is_same_file(all, part)) return;
    // In a folder that everybody may write to, others must not bring in a text of theirs.
    if (all.st_uid != part.st_uid && all.st_uid != geteuid()) return;
    if (!begins_with(whole.get(), path)) return;
    if (all.st_size == part.st_size) {
        if (sync_path(path)) unlink(whole.get());  // only that was left to do
    } else if (may_be_replaced(path)) {
        // Another process may be about to rename it as well. To copy then could be to empty the whole file.
        const bool may_rename = part.st_nlink == 1 && have_same_owner_and_mode(all, part);
        if (!may_rename || rename(whole.get(), path) != 0) copy_or_rename(path, whole);
    }
}

bool is_missing(const char *path) {
    struct stat status;
    return stat(path, &status) != 0 && errno == ENOENT;
}

}  // namespace quorv
