// A save of edits to an INI file, and what comes of it, for the tests that disturb it.
#ifndef QUORV_TESTS_UNIT_PLATFORM_INISAVES_H
#define QUORV_TESTS_UNIT_PLATFORM_INISAVES_H

#include <gtest/gtest.h>

#include <functional>

#include "unit/platform/IniEdits.h"

namespace quorv::test {

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
    EXPECT_EQ(MIniEndS(ini), 1);
    return folder.get_text("ini");
}

}  // namespace quorv::test

#endif
