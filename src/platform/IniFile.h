// An INI file that is being worked on: what is behind the handle.
#ifndef QUORV_SRC_PLATFORM_INIFILE_H
#define QUORV_SRC_PLATFORM_INIFILE_H

#include <quorv/platform/ini.h>

#include "platform/IniDigest.h"
#include "platform/IniNodes.h"
#include "platform/StreamKinds.h"

static_assert(sizeof(void *) != 4 || sizeof(MIniQuery) == 20);

struct MIniFile {
    quorv::OwnedStream source;
    quorv::Owned<char[]> buffer;  // kIniBufferSize bytes
    quorv::Owned<char[]> path;    // of the file itself, where it was opened through a link
    quorv::IniSections sections;
    quorv::IniSection *cursor = nullptr;  // of the category search
    quorv::IniDigest digest;
    bool modified = false;
    bool is_repetition = false;  // made to save edits of another handle
};

#endif
