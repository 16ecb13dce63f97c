// Operations on files by path.

#include <quorv/platform/stream.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "platform/NarrowPath.h"
#include "platform/StreamKinds.h"

namespace quorv {
namespace {

constexpr int32_t kCopyChunk = 1024;

// 16-bit text that may lie at any address, copied to aligned units.
class UnalignedWidePath {
public:
    explicit UnalignedWidePath(const void *text) {
        if (text == nullptr) return;
        const auto *bytes = static_cast<const uint8_t *>(text);
        for (size_t i = 0; i < kNarrowPathRoom; ++i) {
            memcpy(&units_[i], bytes + i * sizeof(*units_), sizeof(*units_));
            if (units_[i] == 0) {
                valid_ = true;
                return;
            }
        }
    }
    // Null when the text is null or too long for a path.
    const uint16_t *get() const { return valid_ ? units_ : nullptr; }

private:
    uint16_t units_[kNarrowPathRoom];
    bool valid_ = false;
};

bool is_same_file(const char *a, const char *b) {
    struct stat of_a;
    struct stat of_b;
    return a != nullptr && b != nullptr && stat(a, &of_a) == 0 && stat(b, &of_b) == 0 &&
           of_a.st_dev == of_b.st_dev && of_a.st_ino == of_b.st_ino;
}

bool copy_contents(MStream source, MStream destination) {
    uint8_t buffer[kCopyChunk];
    for (;;) {
        const int32_t got = MStreamRead(source, buffer, kCopyChunk);
        if (got == 0) return !file_stream_failed(source);
        if (MStreamWrite(destination, buffer, got) != got) return false;
    }
}

}  // namespace
}  // namespace quorv

using namespace quorv;

int32_t MStreamFileExistsS(const char *path) {
    MStreamRecord *stream = MStreamOpenFromFileS(path, MSTREAM_OPEN_READ);
    if (stream == nullptr) return 0;
    MStreamClose(stream);
    return 1;
}

int32_t MStreamFileExistsW(const uint16_t *path) {
    return MStreamFileExistsS(NarrowPath(path).get());
}

int32_t MStreamFileDeleteS(const char *path) {
    return path != nullptr && remove(path) == 0 ? 1 : 0;
}

int32_t MStreamFileRenameS(const char *old_path, const char *new_path) {
    return old_path != nullptr && new_path != nullptr && rename(old_path, new_path) == 0 ? 1 : 0;
}

int32_t MStreamFileMoveS(const char *destination, const char *source) {
    return MStreamFileRenameS(source, destination);
}

uint32_t MStreamFileGetSizeS(const char *path) {
    struct stat info;
    if (path == nullptr || stat(path, &info) != 0) return 0xFFFFFFFF;
    return static_cast<uint32_t>(info.st_size);
}

int32_t MStreamFileCopyS(const void *destination, const void *source) {
    const UnalignedWidePath to(destination);
    const UnalignedWidePath from(source);
    // Opening the destination empties it, which must not happen to the source.
    if (is_same_file(NarrowPath(to.get()).get(), NarrowPath(from.get()).get())) return 0;
    MStreamRecord *in = MStreamOpenFromFileW(from.get(), MSTREAM_OPEN_READ);
    if (in == nullptr) return 0;
    MStreamRecord *out = MStreamOpenFromFileW(to.get(), MSTREAM_OPEN_CREATE);
    if (out == nullptr) {
        MStreamClose(in);
        return 0;
    }
    const bool copied = copy_contents(in, out);
    // Bytes still buffered may not reach the disk: the copy is complete only when both files close well.
    const int32_t in_closed = MStreamClose(in);
    const int32_t out_closed = MStreamClose(out);
    return copied && in_closed != 0 && out_closed != 0 ? 1 : 0;
}
