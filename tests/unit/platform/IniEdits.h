// Edits of INI files as data, and a save of some with what comes of it, for the tests that try or disturb
// many.
#ifndef QUORV_TESTS_UNIT_PLATFORM_INIEDITS_H
#define QUORV_TESTS_UNIT_PLATFORM_INIEDITS_H

#include <quorv/platform/ini.h>

#include <functional>
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

using Names = std::vector<std::string>;

// Where nothing waits for a disk.
struct MemoryFolder : TestFolder {
    MemoryFolder() : TestFolder("/dev/shm") {}
};

inline std::string old_text() {
    std::string text = "; settings\n[Video]\nWidth=640\n";
    for (int i = 0; i < 30; ++i)
        text += "key" + std::to_string(i) +
                "=a value that makes the file more than half a page long: " + std::string(40, 'v') + "\n";
    return text + "[Audio]\nRate=44100\n";
}

inline const std::vector<IniEdit> kEdits = {{"Video", "Width", "1920"},
                                            {"Video", "key3", std::string(1500, 'x')},
                                            {"Video", "key4", {}},
                                            {"New", "key", std::string(1200, 'y')},
                                            {"Audio", "Channels", "2"}};

// Makes the edits, notes which succeeded, lets something happen to the file, and gives the result of
// MIniEndS.
inline int32_t edit_file(
    const std::string &path, std::vector<bool> *succeeded = nullptr,
    const std::function<void()> &meanwhile = [] {}) {
    MIniHandle ini = MIniStartS(path.c_str());
    for (const IniEdit &edit : kEdits) {
        const bool done = ini != nullptr && edit.apply(ini);
        if (succeeded != nullptr) succeeded->push_back(done);
    }
    meanwhile();
    return MIniEndS(ini);
}

// The file after these edits alone, with nothing failing.
inline std::string text_after(const std::string &before, std::vector<bool> succeeded = {}) {
    const MemoryFolder folder;
    MIniHandle ini = MIniStartS(folder.put_text("ini", before).c_str());
    succeeded.resize(kEdits.size(), succeeded.empty());
    for (size_t i = 0; i < kEdits.size(); ++i) {
        if (succeeded[i]) kEdits[i].apply(ini);
    }
    MIniEndS(ini);
    return folder.get_text("ini");
}

}  // namespace quorv::test

#endif
