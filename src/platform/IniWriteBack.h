// Writing an INI file back: the text that replaces the old one is made of its untouched bytes and the new
// lines.
#ifndef QUORV_SRC_PLATFORM_INIWRITEBACK_H
#define QUORV_SRC_PLATFORM_INIWRITEBACK_H

#include <quorv/platform/ini.h>

namespace quorv {

// Brings the edits to the file, which must be as it was read; false when it stays without them. What may
// happen to the file, and to names beside it, is FileReplacement's business.
[[nodiscard]] bool write_back_ini_file(MIniFile *ini);

}  // namespace quorv

#endif
