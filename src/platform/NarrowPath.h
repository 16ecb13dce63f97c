// A path given as 16-bit wide text, narrowed for the functions that take narrow paths.
#ifndef QUORV_SRC_PLATFORM_NARROWPATH_H
#define QUORV_SRC_PLATFORM_NARROWPATH_H

#include <quorv/platform/strings.h>
#include <string.h>

namespace quorv {

constexpr int32_t kNarrowPathRoom = 260;

class NarrowPath {
public:
    explicit NarrowPath(const uint16_t *path) {
        valid_ = path != nullptr && MWCsLen(path) < kNarrowPathRoom &&
                 MWCharToChar(path, text_, kNarrowPathRoom) == static_cast<int32_t>(strlen(text_)) + 1;
    }
    // Null for a null path, and for one that would be cut short and then name another file: it does not fit,
    // or a unit whose low byte is zero ends it early.
    const char *get() const { return valid_ ? text_ : nullptr; }

private:
    char text_[kNarrowPathRoom];
    bool valid_;
};

}  // namespace quorv

#endif
