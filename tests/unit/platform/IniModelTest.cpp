// Random edits of random INI files against a model that works on whole lines: the file must come out byte for
// byte as the model's lines, and read back as its values.

#include <gtest/gtest.h>
#include <strings.h>

#include <random>

#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

bool same_name(const std::string &a, const std::string &b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

// The file as lines whose kind is known because the test made them.
enum class Kind { Section, Key, Other };

class IniModel {
public:
    struct Line {
        Kind kind;
        std::string text;  // with its ending, as it stands in the file
        std::string name, value;
        bool removed = false;
    };
    using Place = std::vector<Line>::iterator;

    void add(Line line) { lines_.push_back(std::move(line)); }

    bool apply(const IniEdit &edit) {
        Place section =
            find(lines_.begin(), lines_.end(), Kind::Section, edit.section, edit.value.has_value());
        if (!edit.value) return remove(section, edit.key);
        if (section == lines_.end()) {
            lines_.push_back({Kind::Section, "[" + edit.section + "]\r\n", edit.section, ""});
            section = lines_.end() - 1;
        }
        section->removed = false;
        Place key = find(section + 1, end_of(section), Kind::Key, *edit.key, true);
        if (key == end_of(section)) key = lines_.insert(key, {Kind::Key, "", *edit.key, ""});
        key->value = *edit.value;
        key->text = key->name + "=" + key->value + "\r\n";
        key->removed = false;
        changed_ = true;
        return true;
    }
    std::optional<std::string> value(const std::string &section_name, const std::string &key_name) {
        const Place section = find(lines_.begin(), lines_.end(), Kind::Section, section_name, false);
        if (section == lines_.end()) return {};
        const Place key = find(section + 1, end_of(section), Kind::Key, key_name, false);
        if (key == end_of(section)) return {};
        return key->value;
    }
    // The file, and the model as it is after reading it again.
    std::string save() {
        std::string text;
        std::erase_if(lines_, [](const Line &line) { return line.removed; });
        for (Line &line : lines_) {
            if (changed_ && line.text.back() != '\n') line.text += "\r\n";
            text += line.text;
        }
        changed_ = false;
        return text;
    }

private:
    Place end_of(Place section) {
        do
            ++section;
        while (section != lines_.end() && section->kind != Kind::Section);
        return section;
    }
    Place find(Place begin, Place end, Kind kind, const std::string &name, bool removed_too) {
        for (const bool removed : {false, true}) {
            for (Place at = begin; at != end && (removed_too || !removed); ++at) {
                if (at->kind == kind && at->removed == removed && same_name(at->name, name)) return at;
            }
        }
        return end;
    }
    bool remove(Place section, const std::optional<std::string> &key_name) {
        if (section == lines_.end()) return false;
        const Place end = end_of(section);
        if (!key_name) {
            for (Place at = section; at != end; ++at)
                at->removed |= at->kind != Kind::Other;
            return changed_ = true;
        }
        const Place key = find(section + 1, end, Kind::Key, *key_name, false);
        if (key == end) return false;
        return changed_ = key->removed = true;
    }

    std::vector<Line> lines_;
    bool changed_ = false;
};

TEST(IniModel, RandomEditsOfRandomFiles) {
    const std::string sections[] = {"Video", "VIDEO", "audio", "default", "a b", "x"};
    const std::string keys[] = {"Width", "width", "k", "long key name", "q"};
    const std::string others[] = {"",       " \t", "; note",  "#x=1", "* [Video]",
                                  "no key", "=5",  "[bad] x", "[open"};
    const TestFolder folder;
    for (uint32_t seed = 0; seed < 150; ++seed) {
        std::mt19937 engine(seed);
        const auto random = [&engine](size_t limit) { return static_cast<size_t>(engine() % limit); };
        const auto random_value = [&] {
            return random(6) == 0 ? std::string(random(1500), 'v') + "!" : std::string(random(9), 'w');
        };
        IniModel model;
        Kind key_kind = Kind::Other;  // without a section it is a line that nobody can find
        for (size_t left = random(4) == 0 ? random(400) : random(25); left > 0; --left) {
            const std::string ending = left == 1 && random(2) ? "" : random(2) ? "\n" : "\r\n";
            const std::string value = random_value();
            const size_t kind = random(8);
            if (kind == 0) {
                const std::string name = sections[random(6)];
                model.add({Kind::Section, (random(2) ? " [ " : "[") + name + "]" + ending, name, ""});
                key_kind = Kind::Key;
            } else if (kind < 5) {
                const std::string name = keys[random(5)];
                model.add({key_kind, name + (random(2) ? " =\t" : "=") + value + ending, name, value});
            } else if (const std::string text = others[random(9)] + ending; !text.empty()) {
                model.add({Kind::Other, text, "", ""});
            }
        }
        const std::string path = put_text(folder, "ini", model.save());
        for (int session = 0; session < 4; ++session) {
            MIniHandle ini = MIniStartS(path.c_str());
            ASSERT_NE(ini, nullptr);
            for (size_t edits = random(12); edits > 0; --edits) {
                IniEdit edit = {sections[random(6)], keys[random(5)], random_value()};
                if (random(3) == 0) edit.value.reset();
                if (!edit.value && random(4) == 0) edit.key.reset();
                ASSERT_EQ(edit.apply(ini), model.apply(edit));
            }
            for (int pass = 0; pass < 2; ++pass) {
                for (const std::string &section : sections) {
                    for (const std::string &key : keys)
                        ASSERT_EQ(ini_value(ini, section, key), model.value(section, key)) << seed;
                }
                ASSERT_EQ(MIniEndS(ini), 1);
                ASSERT_EQ(get_text(folder, "ini"), model.save()) << "seed " << seed << " session " << session;
                if (pass == 0) ini = MIniStartS(path.c_str());
            }
        }
        ASSERT_EQ(folder.names(), std::vector<std::string>{"ini"});
    }
}

}  // namespace
}  // namespace quorv::test
