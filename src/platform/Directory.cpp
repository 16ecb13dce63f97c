// Making, removing and recognising directories.

#include <dirent.h>
#include <quorv/platform/directory.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/NarrowPath.h"

namespace quorv {
namespace {

constexpr mode_t kDirectoryPermissions = 0775;

}  // namespace
}  // namespace quorv

using namespace quorv;

int32_t MDirectoryCreateS(const char *path) {
    return path != nullptr && mkdir(path, kDirectoryPermissions) == 0 ? 1 : 0;
}

int32_t MDirectoryCreateW(const uint16_t *path) {
    return MDirectoryCreateS(NarrowPath(path).get());
}

int32_t MDirectoryRemoveS(const char *path) {
    return path != nullptr && rmdir(path) == 0 ? 1 : 0;
}

int32_t MDirectoryRemoveW(const uint16_t *path) {
    return MDirectoryRemoveS(NarrowPath(path).get());
}

int32_t MIsDirectoryS(const char *path) {
    DIR *stream = path == nullptr ? nullptr : opendir(path);
    if (stream == nullptr) return 0;
    closedir(stream);
    return 1;
}

int32_t MIsDirectoryW(const uint16_t *path) {
    return MIsDirectoryS(NarrowPath(path).get());
}
