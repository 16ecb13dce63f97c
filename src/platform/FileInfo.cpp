// File information and comparison of paths.

#include "platform/FileInfo.h"

#include <quorv/platform/strings.h>

#include "platform/NarrowPath.h"

namespace quorv {
namespace {

uint32_t attributes_of(mode_t mode) {
    if (S_ISDIR(mode)) return MFILE_DIRECTORY;
    return S_ISREG(mode) ? uint32_t{MFILE_REGULAR} : 0;
}

}  // namespace

MFileInfo file_info_of(const struct stat &status) {
    return {attributes_of(status.st_mode), static_cast<uint32_t>(status.st_size),
            static_cast<uint32_t>(status.st_ctime), static_cast<uint32_t>(status.st_atime),
            static_cast<uint32_t>(status.st_mtime)};
}

}  // namespace quorv

using namespace quorv;

int32_t MGetFileInfoS(MFileInfo *info, const char *path) {
    struct stat status;
    if (info == nullptr || path == nullptr || stat(path, &status) != 0) return 0;
    *info = file_info_of(status);
    return 1;
}

int32_t MGetFileInfoW(MFileInfo *info, const uint16_t *path) {
    return MGetFileInfoS(info, NarrowPath(path).get());
}

int32_t MIsSameFileS(const char *a, const char *b) {
    return a != nullptr && b != nullptr && MSCsICmp(a, b) == 0 ? 1 : 0;
}

int32_t MIsSameFileW(const uint16_t *a, const uint16_t *b) {
    return a != nullptr && b != nullptr && MWCsICmp(a, b) == 0 ? 1 : 0;
}
