// The search of a directory for files and directories whose names match a wildcard pattern.

#include <dirent.h>
#include <fcntl.h>
#include <quorv/platform/strings.h>
#include <string.h>

#include "platform/FileInfo.h"
#include "platform/MemoryOwner.h"
#include "platform/NarrowPath.h"
#include "platform/Wildcard.h"

struct MDirFind {
    uint32_t filter = 0;
    quorv::Owned<char[]> directory;  // ends with its separator; empty for the current directory
    quorv::Owned<char[]> pattern;    // in lower case; null when every name matches
    DIR *stream = nullptr;
    const dirent *entry = nullptr;

    explicit MDirFind(uint32_t wanted) : filter(wanted) {}
    ~MDirFind() {
        if (stream != nullptr) closedir(stream);
    }
    MDirFind(const MDirFind &) = delete;
    MDirFind &operator=(const MDirFind &) = delete;
};

namespace quorv {
namespace {

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

Owned<char[]> copy_text(const char *text, size_t length) {
    Owned<char[]> copy = make_array<char>(length + 1);
    if (copy == nullptr) return nullptr;
    memcpy(copy.get(), text, length);
    copy[length] = 0;
    return copy;
}

// Where the last component begins: behind the last separator.
const char *last_component(const char *path) {
    const char *begin = path;
    for (; *path != 0; ++path) {
        if (is_separator(*path)) begin = path + 1;
    }
    return begin;
}

// Splits the path into the search's directory and pattern; false when there is no memory.
bool split_path(MDirFind *find, const char *path) {
    const char *last = last_component(path);
    if (strpbrk(last, "*?") == nullptr) {
        const size_t length = strlen(path);
        // Room for the separator that may have to be added.
        find->directory = make_array<char>(length + 2);
        if (find->directory == nullptr) return false;
        memcpy(find->directory.get(), path, length + 1);
        if (*last != 0) memcpy(&find->directory[length], "/", 2);
        return true;
    }
    find->directory = copy_text(path, static_cast<size_t>(last - path));
    if (find->directory == nullptr) return false;
    if (strcmp(last, "*") == 0 || strcmp(last, "*.*") == 0) return true;
    find->pattern = copy_text(last, strlen(last));
    return MSCsMakeLower(find->pattern.get()) == ResultOk;
}

bool is_wanted(const MDirFind *find, const struct stat &status) {
    const bool directory = S_ISDIR(status.st_mode);
    if (!directory && !S_ISREG(status.st_mode)) return false;
    if (find->filter == (directory ? uint32_t{MDIR_FILES} : uint32_t{MDIR_DIRECTORIES})) return false;
    return find->pattern == nullptr ||
           matches_wildcard(find->pattern.get(), last_component(find->entry->d_name));
}

enum class Step { Found, End, Failed };

// Moves to the next match. A search that failed is freed: its entry could not be examined.
Step advance(MDirFind *find, struct stat *status) {
    for (;;) {
        find->entry = readdir(find->stream);
        if (find->entry == nullptr) return Step::End;
        if (fstatat(dirfd(find->stream), find->entry->d_name, status, 0) != 0) {
            const Owned<MDirFind> freed(find);
            return Step::Failed;
        }
        if (is_wanted(find, *status)) return Step::Found;
    }
}

void put_name(const MDirFind *find, char *name) {
    const size_t length = strlen(find->directory.get());
    memcpy(name, find->directory.get(), length);
    memcpy(name + length, find->entry->d_name, strlen(find->entry->d_name) + 1);
}

void put_name(const MDirFind *find, uint16_t *name) {
    const int32_t written = MCharToWChar(find->directory.get(), name, INT32_MAX);
    MCharToWChar(find->entry->d_name, name + written - 1, INT32_MAX);
}

// One step of a search for callers of either width.
template <typename Unit>
bool find_next(MDirFind *find, Unit *name, struct stat *status) {
    if (find == nullptr || name == nullptr) return false;
    switch (advance(find, status)) {
        case Step::Found:
            put_name(find, name);
            return true;
        case Step::End:
            *name = 0;
            return false;
        case Step::Failed:
            break;
    }
    return false;
}

template <typename Unit>
int32_t find_next_with_info(MDirFind *find, Unit *name, MFileInfo *info) {
    struct stat status;
    if (!find_next(find, name, &status)) return 0;
    if (info != nullptr) *info = file_info_of(status);
    return 1;
}

}  // namespace
}  // namespace quorv

using namespace quorv;

MDirHandle MDirStartFindS(const char *pattern_path, uint32_t filter) {
    if (pattern_path == nullptr || *pattern_path == 0) return nullptr;
    Owned<MDirFind> find = make_owned<MDirFind>(filter);
    if (find == nullptr || !split_path(find.get(), pattern_path)) return nullptr;
    find->stream = opendir(find->directory[0] == 0 ? "." : find->directory.get());
    return find->stream != nullptr ? find.release() : nullptr;
}

MDirHandle MDirStartFindW(const uint16_t *pattern_path, uint32_t filter) {
    return MDirStartFindS(NarrowPath(pattern_path).get(), filter);
}

MDirHandle MDirStartFindExS(const char *pattern_path, uint32_t filter) {
    return MDirStartFindS(pattern_path, filter);
}

MDirHandle MDirStartFindExW(const uint16_t *pattern_path, uint32_t filter) {
    return MDirStartFindW(pattern_path, filter);
}

int32_t MDirFindNextS(MDirHandle find, char *name, uint32_t *is_directory) {
    struct stat status;
    if (!find_next(find, name, &status)) return 0;
    if (is_directory != nullptr) *is_directory = S_ISDIR(status.st_mode) ? 1 : 0;
    return 1;
}

int32_t MDirFindNextExS(MDirHandle find, char *name, MFileInfo *info) {
    return find_next_with_info(find, name, info);
}

int32_t MDirFindNextExW(MDirHandle find, uint16_t *name, MFileInfo *info) {
    return find_next_with_info(find, name, info);
}

int32_t MDirEndFind(MDirHandle find) {
    const Owned<MDirFind> own(find);
    return own != nullptr ? 1 : 0;
}

int32_t MDirEndFindEx(MDirHandle find) {
    return MDirEndFind(find);
}
