// Fuzz harness of the INI files. The input is a list of edits, then the file: a byte gives the number of
// edits, each is a byte that says which and three strings that end with a zero byte. What was read or set
// must be read again from the file that was written; a file that is not edited must stay as it is.

#include <quorv/platform/ini.h>
#include <stdint.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "ExactCopy.h"

namespace {

using quorv::fuzz::require;

struct Edit {
    uint8_t what;
    std::string section, key, value;
};

// Takes the input apart from its front.
class Input {
public:
    Input(const uint8_t *data, size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}
    uint8_t byte() {
        if (rest_.empty()) return 0;
        const uint8_t first = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }
    std::string string() {
        const std::string_view text = rest_.substr(0, rest_.find('\0'));
        rest_.remove_prefix(text.size());
        byte();
        return std::string(text);
    }
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

void put_file(const std::string &path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string get_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Blanks at the ends of a value do not survive the file.
std::string trimmed(std::string text) {
    text.erase(text.find_last_not_of(" \t") + 1);
    text.erase(0, text.find_first_not_of(" \t"));
    return text;
}

std::optional<std::string> value_of(MIniHandle ini, const Edit &edit) {
    char text[4096];
    uint32_t size = sizeof text;
    if (!MIniReadSingleS(ini, edit.section.c_str(), edit.key.c_str(), MINI_TYPE_STRING, text, &size))
        return {};
    return trimmed(text);
}

bool apply(MIniHandle ini, const Edit &edit) {
    if (edit.what % 4 < 2)
        return MIniRemoveS(ini, edit.section.c_str(), edit.what % 4 == 0 ? edit.key.c_str() : nullptr) == 1;
    if (!MIniWriteSingleS(ini, edit.section.c_str(), edit.key.c_str(), MINI_TYPE_STRING, edit.value.c_str(),
                          1))
        return false;
    require(value_of(ini, edit) == trimmed(edit.value));
    return true;
}

// Everything that can be asked of a file: its sections, and the keys that the edits name.
std::vector<std::string> contents(MIniHandle ini, const std::vector<Edit> &edits) {
    std::vector<std::string> all;
    char name[2048];
    uint32_t size = sizeof name;
    for (int32_t found = MIniFindFirstCategoryS(ini, name, &size); found != 0;) {
        all.emplace_back(name);
        size = sizeof name;
        found = MIniFindNextCategoryS(ini, name, &size);
    }
    for (const Edit &edit : edits)
        all.push_back(value_of(ini, edit).value_or("(none)"));
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    std::vector<Edit> edits(input.byte() % 16);
    for (Edit &edit : edits) {
        edit.what = input.byte();
        edit.section = input.string();
        edit.key = input.string();
        edit.value = input.string();
    }
    const char *const folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    const std::string path = folder + std::string("/quorv-ini-fuzz-") + std::to_string(getpid());
    put_file(path, input.rest());
    MIniHandle ini = MIniStartS(path.c_str());
    bool edited = false;
    if (ini != nullptr) {
        for (const Edit &edit : edits)
            edited = apply(ini, edit) || edited;
        const std::vector<std::string> before = contents(ini, edits);
        require(MIniEndS(ini) == 1);
        ini = MIniStartS(path.c_str());
        require(ini != nullptr && contents(ini, edits) == before && MIniEndS(ini) == 1);
    }
    require(edited || get_file(path) == input.rest());
    require(!std::filesystem::exists(path + "_tmp"));
    std::filesystem::remove(path);
    return 0;
}
