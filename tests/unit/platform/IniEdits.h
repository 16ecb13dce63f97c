// Edits of INI files as data, for the tests that try many of them.
#ifndef QUORV_TESTS_UNIT_PLATFORM_INIEDITS_H
#define QUORV_TESTS_UNIT_PLATFORM_INIEDITS_H

#include <quorv/platform/ini.h>

#include <optional>

#include "support/TestFolder.h"

namespace quorv::test {

// Sets a key, or without a value removes it, or without a key removes the section.
struct IniEdit {
    std::string section;
    std::optional<std::string> key;
    std::optional<std::string> value;

    bool apply(MIniHandle ini) const {
        if (!value) return MIniRemoveS(ini, section.c_str(), key ? key->c_str() : nullptr) == 1;
        return MIniWriteSingleS(ini, section.c_str(), key->c_str(), MINI_TYPE_STRING, value->c_str(), 1) == 1;
    }
};

inline std::optional<std::string> ini_value(MIniHandle ini, const std::string &section,
                                            const std::string &key) {
    char text[4096];
    uint32_t size = sizeof(text);
    if (!MIniReadSingleS(ini, section.c_str(), key.c_str(), MINI_TYPE_STRING, text, &size)) return {};
    return std::string(text, size);
}

inline std::vector<std::string> ini_sections(MIniHandle ini) {
    std::vector<std::string> names;
    char name[2048];
    uint32_t size = sizeof(name);
    for (int32_t found = MIniFindFirstCategoryS(ini, name, &size); found != 0;) {
        names.emplace_back(name, size - 1);
        size = sizeof(name);
        found = MIniFindNextCategoryS(ini, name, &size);
    }
    return names;
}

}  // namespace quorv::test

#endif
