// Reading an INI file: line after line through one buffer into sections and keys.
#ifndef QUORV_SRC_PLATFORM_INIPARSER_H
#define QUORV_SRC_PLATFORM_INIPARSER_H

#include <quorv/platform/ini.h>

namespace quorv {

// Reads the source from its start; false when it cannot be read, when a line is too long, and when there is
// no memory.
[[nodiscard]] bool parse_ini_file(MIniFile *ini);

}  // namespace quorv

#endif
