// Fuzz harness of the INI files. The input is a list of edits, then the file: a byte gives the number of
// edits, each is a byte that says which and three strings that end with a zero byte. The file must come out
// byte for byte as the lines of a model that the same edits were made to, and be read again as it was set.

#include <strings.h>
#include <unistd.h>

#include "Harness.h"
#include "unit/platform/IniEdits.h"

using namespace quorv::test;
using quorv::fuzz::require;

namespace {

std::string trimmed(std::string text) {
    text.erase(text.find_last_not_of(" \t") + 1);
    text.erase(0, text.find_first_not_of(" \t"));
    return text;
}

enum class Kind { Section, Key, Other };

// The file as whole lines.
class IniModel {
public:
    explicit IniModel(const std::string &file) {
        for (size_t begin = 0, end; begin < file.size(); begin = end) {
            end = std::min(file.find('\n', begin), file.size() - 1) + 1;
            lines_.push_back(parse(file.substr(begin, end - begin)));
            has_section_ |= lines_.back().kind == Kind::Section;
        }
    }
    // Whether no line is too long.
    bool fits() const { return fits_; }
    bool apply(const IniEdit &edit) {
        const std::string name = trimmed(edit.section);
        Place section = find(lines_.begin(), lines_.end(), Kind::Section, name, edit.value.has_value());
        if (!edit.value) return remove(section, edit.key);
        if (section == lines_.end()) {
            lines_.push_back({Kind::Section, "[" + name + "]\r\n", name, ""});
            section = lines_.end() - 1;
        }
        section->removed = false;
        const std::string key_name = trimmed(*edit.key);
        Place key = find(section + 1, end_of(section), Kind::Key, key_name, true);
        if (key == end_of(section)) key = lines_.insert(key, {Kind::Key, "", key_name, ""});
        key->value = trimmed(*edit.value);
        key->text = key->name + "=" + *edit.value + "\r\n";
        key->removed = false;
        return changed_ = true;
    }
    // Its sections, and the values of the keys that the edits name.
    std::vector<std::string> contents(const std::vector<IniEdit> &edits) {
        std::vector<std::string> all;
        for (const Line &line : lines_) {
            if (line.kind == Kind::Section && !line.removed && !line.name.empty()) all.push_back(line.name);
        }
        for (const IniEdit &edit : edits) {
            const Place section =
                find(lines_.begin(), lines_.end(), Kind::Section, trimmed(edit.section), false);
            const Place end = end_of(section);
            const Place key = section == lines_.end()
                                  ? end
                                  : find(section + 1, end, Kind::Key, trimmed(edit.key.value_or("")), false);
            all.push_back(key == end ? "(none)" : trimmed(key->value));
        }
        return all;
    }
    std::string text() const {
        std::string text;
        for (const Line &line : lines_) {
            if (line.removed) continue;
            text += line.text;
            if (changed_ && text.back() != '\n') text += "\r\n";
        }
        return text;
    }

private:
    struct Line {
        Kind kind;
        std::string text;  // with its ending, as it stands in the file
        std::string name, value;
        bool removed = false;
    };
    using Place = std::vector<Line>::iterator;

    // A zero byte ends a name or a value.
    Line parse(const std::string &text) {
        std::string own = text;
        if (own.ends_with("\n")) own.pop_back();
        if (own.size() < text.size() && own.ends_with("\r")) own.pop_back();
        fits_ &= own.size() <= 2046;
        own = trimmed(own);
        const size_t bracket = own.find(']'), equals = own.find('=');
        if (own.starts_with("[")) {
            if (bracket == own.npos || !trimmed(own.substr(bracket + 1)).empty())
                return {Kind::Other, text, "", ""};
            return {Kind::Section, text, trimmed(own.substr(1, bracket - 1)).c_str(), ""};
        }
        if (!has_section_ || equals == own.npos || own.find_first_of("=#*;") == 0)
            return {Kind::Other, text, "", ""};
        return {Kind::Key, text, trimmed(own.substr(0, equals)).c_str(),
                trimmed(own.substr(equals + 1)).c_str()};
    }
    Place end_of(Place section) {
        while (section != lines_.end() && (++section == lines_.end() || section->kind != Kind::Section)) {
        }
        return section;
    }
    Place find(Place begin, Place end, Kind kind, const std::string &name, bool removed_too) {
        for (const bool removed : {false, true}) {
            for (Place at = begin; at != end && (removed_too || !removed); ++at) {
                if (at->kind == kind && at->removed == removed &&
                    strcasecmp(at->name.c_str(), name.c_str()) == 0)
                    return at;
            }
        }
        return end;
    }
    bool remove(Place section, const std::optional<std::string> &key_name) {
        if (section == lines_.end()) return false;
        const Place end = end_of(section);
        const Place key = key_name ? find(section + 1, end, Kind::Key, trimmed(*key_name), false) : section;
        if (key == end) return false;
        for (Place at = key; at != (key_name ? key + 1 : end); ++at)
            at->removed |= at->kind != Kind::Other;
        return changed_ = true;
    }

    std::vector<Line> lines_;
    bool has_section_ = false, changed_ = false, fits_ = true;
};

std::vector<std::string> contents(MIniHandle ini, const std::vector<IniEdit> &edits) {
    std::vector<std::string> all = ini_sections(ini);
    for (const IniEdit &edit : edits)
        all.push_back(trimmed(ini_value(ini, edit.section, edit.key.value_or("")).value_or("(none)")));
    return all;
}

std::string take_string(std::string &input) {
    const std::string text = input.substr(0, input.find('\0'));
    input.erase(0, text.size() + 1);
    return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string input(reinterpret_cast<const char *>(data), size);
    std::vector<IniEdit> edits(size == 0 ? 0 : data[0] % 16);
    input.erase(0, 1);
    for (IniEdit &edit : edits) {
        const int what = input.empty() ? 0 : input[0] & 3;
        input.erase(0, 1);
        edit = {take_string(input), take_string(input), take_string(input)};
        if (what < 2) edit.value.reset();
        if (what == 1) edit.key.reset();
    }
    // Memory is faster than a disk.
    if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
    const TestFolder folder("/dev/shm");  // each save would wait for a disk
    MIniHandle ini = MIniStartS(folder.put_text("ini", input).c_str());
    IniModel model(input);
    require((ini != nullptr) == model.fits());
    if (ini != nullptr) {
        for (const IniEdit &edit : edits) {
            const bool done = edit.apply(ini);
            require((edit.value && !done) || model.apply(edit) == done);
        }
        const std::vector<std::string> before = contents(ini, edits);
        require(before == model.contents(edits));
        require(MIniEndS(ini) == 1);
        ini = MIniStartS(folder.path("ini").c_str());
        require(ini != nullptr && contents(ini, edits) == before && MIniEndS(ini) == 1);
    }
    require(folder.get_text("ini") == model.text());
    require(folder.names() == std::vector<std::string>{"ini"});
    return 0;
}
