// The INI file in memory: sections and keys in file order, each with the place of its line in the file.
#ifndef QUORV_SRC_PLATFORM_INIFILE_H
#define QUORV_SRC_PLATFORM_INIFILE_H

#include <quorv/platform/ini.h>
#include <quorv/platform/stream.h>

#include <string_view>

namespace quorv {

static_assert(sizeof(void *) != 4 || sizeof(MIniQuery) == 20);

enum class IniState : uint32_t {
    Unchanged = 0,  // read from the file
    Changed = 1,    // read from the file, its value changed
    New = 2,        // to be written as a new line
    Removed = 3,    // read from the file, then removed
    NewRemoved = 4  // new, then removed
};

inline bool is_removed(IniState state) {
    return state == IniState::Removed || state == IniState::NewRemoved;
}

inline bool is_from_file(IniState state) {
    return state != IniState::New && state != IniState::NewRemoved;
}

// Where a line lies in the file: offsets of its first byte and of the first byte behind its ending. For a new
// key, both are the offset of the section line that it goes before; for a new line at the end of the file, 0.
struct IniPlace {
    intptr_t start;
    intptr_t end;
};

struct IniKey {
    char *name;   // one allocation: the name, a zero byte, the value, a zero byte
    char *value;  // points into it
    IniPlace place;
    IniState state;
    IniKey *next;
};

struct IniSection {
    char *name;
    IniPlace place;
    IniState state;
    IniKey *first_key;
    IniKey *last_key;
    IniSection *next;
};

// What the file held when it was read, to find out whether it still does.
struct IniDigest {
    uint64_t size = 0;
    uint64_t hash = 0xCBF29CE484222325;

    void add(const char *bytes, size_t count);
    bool operator==(const IniDigest &other) const = default;
};

// Nodes are allocated by the pool; they are freed all at once, at the end.
template <typename Node, size_t Count>
struct IniNodePool {
    Node nodes[Count];
    IniNodePool *next;
};
using IniSectionPool = IniNodePool<IniSection, 8>;
using IniKeyPool = IniNodePool<IniKey, 128>;

}  // namespace quorv

struct MIniFile {
    MStream source;
    char *buffer;  // kIniBufferSize bytes
    char *path;    // of the file itself, where it was opened through a link
    quorv::IniSection *first_section;
    quorv::IniSection *last_section;
    quorv::IniSection *cursor;  // of the category search
    quorv::IniSectionPool *section_pools;
    size_t sections_in_pool;  // nodes taken from the first pool
    quorv::IniKeyPool *key_pools;
    size_t keys_in_pool;
    quorv::IniDigest digest;
    bool modified;
    bool is_repetition;  // made to save edits of another handle
};

namespace quorv {

// Append a node; null, with the list as it was, when there is no memory.
IniSection *append_ini_section(MIniFile *ini, std::string_view name, IniPlace place, IniState state);
IniKey *append_ini_key(MIniFile *ini, IniSection *section, std::string_view name, std::string_view value,
                       IniPlace place, IniState state);
// Replaces the value and nothing else; false, with the old value, when there is no memory.
bool set_ini_value(IniKey *key, std::string_view value);

enum class IniSearch { Live, LiveThenRemoved };

// The first node of this name, ASCII case ignored. What was removed is found only when asked for, and only
// when nothing live has the name.
IniSection *find_ini_section(MIniFile *ini, std::string_view name, IniSearch search);
IniKey *find_ini_key(IniSection *section, std::string_view name, IniSearch search);

// Frees all nodes and their texts.
void free_ini_nodes(MIniFile *ini);

// Reads the source into sections and keys; false when it cannot be read, when a line is too long, and when
// there is no memory.
bool parse_ini_file(MIniFile *ini);

// Brings the edits to the file, which must be as it was read; false when the file stays without them.
bool write_back_ini_file(MIniFile *ini);

enum class IniComparison { Same, Different, Unknown };

// Whether the file is still as it was read; one that is gone counts as such.
IniComparison compare_with_file(MIniFile *ini);
// Makes the edits again to the file as it is now; false when it stays without them.
bool save_to_changed_file(const MIniFile *ini);

}  // namespace quorv

#endif
