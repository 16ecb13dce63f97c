// MFileInfo from what the system says of a file.
#ifndef QUORV_SRC_PLATFORM_FILEINFO_H
#define QUORV_SRC_PLATFORM_FILEINFO_H

#include <quorv/platform/directory.h>
#include <sys/stat.h>

namespace quorv {

static_assert(sizeof(MFileInfo) == 20);

MFileInfo file_info_of(const struct stat &status);

}  // namespace quorv

#endif
