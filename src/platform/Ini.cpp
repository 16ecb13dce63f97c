// The INI functions: opening and closing, queries and edits.

#include <limits.h>
#include <quorv/platform/strings.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/FileReplacement.h"
#include "platform/IniFile.h"
#include "platform/IniLine.h"
#include "platform/IniMerge.h"
#include "platform/IniParser.h"
#include "platform/IniWriteBack.h"

namespace quorv {
namespace {

constexpr char kDefaultSection[] = "default";
constexpr size_t kMaxKeyAndValue = 2044;

// The path of the file itself: a save must neither put a file in the place of a link, nor files beside it in
// another folder than the file's. Other paths stay as they were given; they may be shorter than absolute
// ones.
bool follow_links(const char *path, char *file_path) {
    struct stat status;
    if (lstat(path, &status) != 0) return false;
    if (S_ISLNK(status.st_mode)) return realpath(path, file_path) != nullptr;
    return snprintf(file_path, PATH_MAX, "%s", path) < PATH_MAX;
}

// Opens the file, or creates it empty when there is none. Only a file that is certainly missing is created,
// and in a mode that empties nothing: a file that merely cannot be opened now must not lose its contents.
bool open_source(MIniFile *ini, const char *path) {
    if (is_missing(path)) {
        ini->source.reset(MStreamOpenFromFileS(path, MSTREAM_OPEN_APPEND_READ));
        return ini->source != nullptr && follow_links(path, ini->path.get());
    }
    if (!follow_links(path, ini->path.get())) return false;
    finish_replacement(ini->path.get());
    ini->source.reset(MStreamOpenFromFileS(ini->path.get(), MSTREAM_OPEN_READ));
    return ini->source != nullptr;
}

bool start(MIniFile *ini, const char *path) {
    ini->buffer = make_array<char>(kIniBufferSize);
    // Before the file is touched: without memory it is not created either.
    ini->path = make_array<char>(PATH_MAX);
    return ini->buffer != nullptr && ini->path != nullptr && open_source(ini, path) && parse_ini_file(ini);
}

std::string_view name_of_section(const char *section) {
    return trim_ini_blanks(section == nullptr ? kDefaultSection : section);
}

bool is_usable(MIniHandle ini, const MIniQuery *query) {
    return ini != nullptr && ini->source != nullptr && query != nullptr && query->key != nullptr &&
           query->value != nullptr && query->size != 0 &&
           (query->type == MINI_TYPE_INTEGER || query->type == MINI_TYPE_STRING);
}

bool contains_any(std::string_view text, const char *characters) {
    for (const char c : text) {
        if (c != 0 && strchr(characters, c) != nullptr) return true;
    }
    return false;
}

// Names and values of other forms would be read back as something else, or not at all. The empty name of a
// section reads back as what it is.
bool is_writable_section(std::string_view name) {
    return name.size() + 2 <= kMaxIniText && !contains_any(name, "]\r\n");
}

bool is_writable_key(std::string_view name) {
    return !name.empty() && !contains_any(name, "=\r\n") && !contains_any({name.data(), 1}, "[#*;");
}

// A new key goes before the next section of the file, or to its end: there the next section, if any, is a new
// one, whose offset is 0, too.
IniPlace place_of_new_key(const IniSection *section) {
    const intptr_t offset = section->next == nullptr ? 0 : section->next->place.start;
    return {offset, offset};
}

// Makes a removed node count again, with a state that says whether its line has to be written.
void revive(IniSection *section) {
    if (section->state == IniState::Removed)
        section->state = IniState::Unchanged;
    else if (section->state == IniState::NewRemoved)
        section->state = IniState::New;
}

template <typename Node>
void remove_node(Node *node) {
    node->state = is_from_file(node->state) ? IniState::Removed : IniState::NewRemoved;
}

// Sets a key's value, making the key as needed; false, with nothing changed, when there is no memory.
bool set_key(MIniFile *ini, IniSection *section, std::string_view name, std::string_view value) {
    IniKey *key = section->find(name, IniSearch::LiveThenRemoved);
    if (key == nullptr)
        return ini->sections.append_key(section, name, value, place_of_new_key(section), IniState::New) !=
               nullptr;
    if (!key->set_value(value)) return false;
    key->state = is_from_file(key->state) ? IniState::Changed : IniState::New;
    return true;
}

bool write_value(MIniFile *ini, std::string_view section_name, std::string_view key_name,
                 std::string_view value) {
    if (!is_writable_section(section_name) || !is_writable_key(key_name) || contains_any(value, "\r\n"))
        return false;
    if (key_name.size() > kMaxKeyAndValue || value.size() > kMaxKeyAndValue - key_name.size()) return false;
    IniSection *section = ini->sections.find(section_name, IniSearch::LiveThenRemoved);
    const bool is_new = section == nullptr;
    if (is_new) section = ini->sections.append(section_name, {0, 0}, IniState::New);
    if (section == nullptr) return false;
    if (!set_key(ini, section, key_name, value)) {
        if (is_new) section->state = IniState::NewRemoved;  // without the key nothing of it may show
        return false;
    }
    revive(section);
    ini->modified = true;
    return true;
}

bool save(MIniFile *ini) {
    switch (compare_with_file(ini)) {
        case IniComparison::Same:
            return write_back_ini_file(ini);
        case IniComparison::Different:
            // Once only: a file that changes all the time must not keep us here.
            return !ini->is_repetition && save_to_changed_file(ini);
        case IniComparison::Unknown:
            break;
    }
    return false;
}

}  // namespace

}  // namespace quorv

using namespace quorv;

MIniHandle MIniStartS(const char *path) {
    if (path == nullptr) return nullptr;
    Owned<MIniFile> ini = make_owned<MIniFile>();
    return ini != nullptr && start(ini.get(), path) ? ini.release() : nullptr;
}

int32_t MIniEndS(MIniHandle ini) {
    const Owned<MIniFile> own(ini);
    return own != nullptr && (!own->modified || save(own.get())) ? 1 : 0;
}

int32_t MIniReadS(MIniHandle ini, MIniQuery *query) {
    if (!is_usable(ini, query)) return 0;
    IniSection *section = ini->sections.find(name_of_section(query->section), IniSearch::Live);
    if (section == nullptr) return 0;
    const IniKey *key = section->find(trim_ini_blanks(query->key), IniSearch::Live);
    if (key == nullptr) return 0;
    if (query->type == MINI_TYPE_INTEGER) {
        const int32_t number = MStoi(key->value);
        memcpy(query->value, &number, std::min<size_t>(query->size, sizeof(number)));
        return 1;
    }
    const size_t length = strlen(key->value);
    if (length >= query->size) return 0;
    memcpy(query->value, key->value, length + 1);
    query->size = static_cast<uint32_t>(length);
    return 1;
}

int32_t MIniWriteS(MIniHandle ini, const MIniQuery *query) {
    if (!is_usable(ini, query)) return 0;
    const auto *text = static_cast<const char *>(query->value);
    char digits[16];
    if (query->type == MINI_TYPE_INTEGER) {
        int32_t number = 0;
        memcpy(&number, query->value, std::min<size_t>(query->size, sizeof(number)));
        snprintf(digits, sizeof(digits), "%ld", static_cast<long>(number));
        text = digits;
    }
    return write_value(ini, name_of_section(query->section), trim_ini_blanks(query->key), text) ? 1 : 0;
}

int32_t MIniReadSingleS(MIniHandle ini, const char *section, const char *key, uint32_t type, void *value,
                        uint32_t *size) {
    if (size == nullptr) return 0;
    MIniQuery query = {section, key, value, type, *size};
    const int32_t found = MIniReadS(ini, &query);
    *size = query.size;
    return found;
}

int32_t MIniWriteSingleS(MIniHandle ini, const char *section, const char *key, uint32_t type,
                         const void *value, uint32_t size) {
    const MIniQuery query = {section, key, const_cast<void *>(value), type, size};
    return MIniWriteS(ini, &query);
}

int32_t MIniRemoveS(MIniHandle ini, const char *section, const char *key) {
    if (ini == nullptr || ini->source == nullptr) return 0;
    IniSection *found = ini->sections.find(name_of_section(section), IniSearch::Live);
    if (found == nullptr) return 0;
    if (key == nullptr) {
        remove_node(found);
        for (IniKey *own = found->first_key; own != nullptr; own = own->next)
            remove_node(own);
    } else {
        IniKey *own = found->find(trim_ini_blanks(key), IniSearch::Live);
        if (own == nullptr) return 0;
        remove_node(own);
    }
    ini->modified = true;
    return 1;
}

int32_t MIniFindFirstCategoryS(MIniHandle ini, char *name, uint32_t *size) {
    if (ini == nullptr) return 0;
    ini->cursor = ini->sections.first();
    return MIniFindNextCategoryS(ini, name, size);
}

int32_t MIniFindNextCategoryS(MIniHandle ini, char *name, uint32_t *size) {
    if (ini == nullptr || size == nullptr) return 0;
    while (ini->cursor != nullptr && (is_removed(ini->cursor->state) || *ini->cursor->name() == 0))
        ini->cursor = ini->cursor->next;
    if (ini->cursor == nullptr) {
        if (name != nullptr && *size > 0) *name = 0;
        return 0;
    }
    const size_t needed = strlen(ini->cursor->name()) + 1;
    const bool fits = name != nullptr && needed <= *size;
    *size = static_cast<uint32_t>(needed);
    if (!fits) return 0;
    memcpy(name, ini->cursor->name(), needed);
    ini->cursor = ini->cursor->next;
    return 1;
}
