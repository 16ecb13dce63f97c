// Saving edits of an INI file that somebody else has changed since it was read. The places of its lines are
// no longer true then, so the edits are made again, to what the file holds now.
#ifndef QUORV_SRC_PLATFORM_INIMERGE_H
#define QUORV_SRC_PLATFORM_INIMERGE_H

#include <quorv/platform/ini.h>

namespace quorv {

enum class IniComparison { Same, Different, Unknown };

// Whether the file is still as it was read; one that is gone counts as such.
[[nodiscard]] IniComparison compare_with_file(MIniFile *ini);

// Makes the edits again to the file as it is now; false when it stays without them.
[[nodiscard]] bool save_to_changed_file(const MIniFile *ini);

}  // namespace quorv

#endif
