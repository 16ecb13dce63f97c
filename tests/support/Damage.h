// Damages files on purpose, in one way at one place, and says what a check must find there.
#ifndef QUORV_TESTS_SUPPORT_DAMAGE_H
#define QUORV_TESTS_SUPPORT_DAMAGE_H

#include "support/RiffPieces.h"

namespace quorv::test {

inline constexpr int64_t kNoPlace = -1, kAnyPlace = -2;

struct DamagedFile {
    std::string name;  // of what was done, with the ending of the format
    Bytes bytes;
    std::string kind;  // of the finding that must be among those of the check
    int64_t offset = kNoPlace;
    bool is_damage = true;  // else a remark
};

// AVI, ASF and MPEG audio files, each harmed in another way.
std::vector<DamagedFile> damaged_files();

}  // namespace quorv::test

#endif
