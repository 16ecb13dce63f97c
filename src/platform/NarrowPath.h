// A path given as 16-bit wide text, narrowed for the functions that take narrow paths.
#ifndef QUORV_SRC_PLATFORM_NARROWPATH_H
#define QUORV_SRC_PLATFORM_NARROWPATH_H

#include <quorv/platform/strings.h>

namespace quorv {

constexpr int32_t kNarrowPathRoom = 260;

class NarrowPath {
public:
    explicit NarrowPath(const uint16_t *path) {
        valid_ = path != nullptr && MWCsLen(path) < kNarrowPathRoom;
        if (valid_) MWCharToChar(path, text_, kNarrowPathRoom);
    }
    // Null for a null path and for one that does not fit: cut short, it would name another file.
    const char *get() const { return valid_ ? text_ : nullptr; }

private:
    char text_[kNarrowPathRoom];
    bool valid_;
};

}  // namespace quorv

#endif
