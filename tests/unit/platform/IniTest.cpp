// INI files: what a line means, what an edit does to the file, the limits.

#include <gtest/gtest.h>

#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

class Ini : public testing::Test {
protected:
    // Writes the file and opens it.
    MIniHandle start(const std::string &text) {
        path = folder.put_text("ini", text);
        return MIniStartS(path.c_str());
    }
    std::string text() const { return folder.get_text("ini"); }

    TestFolder folder;
    std::string path;
};

TEST_F(Ini, LinesSectionsAndTypesAsTheyAreRead) {
    MIniHandle ini = start(
        "k=before any\n[ Video ]\n\t Width\t=\t640 \t\na==b = c\n=5\n#a=1\n  ;a=1\n*a=1\n[x] a=1\n\r "
        "a=1\n[Video] x\n"
        "k2=2\n[]\nk3=3\n[a[b] \t\n[open\n[default]\nk=4\nn=-12 apples\nbig=99999999999\n[video]\n");
    const std::tuple<const char *, const char *, std::optional<std::string>> values[] = {
        {" VIDEO\t", " width ", "640"},
        {"Video", "a", "=b = c"},
        {"Video", "", {}},
        {"Video", "#a", {}},
        {"Video", ";a", {}},
        {"Video", "*a", {}},
        {"Video", "[x] a", {}},
        {"Video", "\r a", "1"},
        {"Video", "k2", "2"},
        {"Video", "k3", {}},
        {" ", "k3", "3"},
        {"Video", "k", {}},
        {"Video] x", "k2", {}},
    };
    for (const auto &[section, key, value] : values)
        EXPECT_EQ(ini_value(ini, section, key), value) << key;
    int32_t number = 0;
    for (const auto &[key, expected] : {std::pair("n", -12), {"big", INT32_MAX}, {"k", 4}}) {
        MIniQuery query = {nullptr, key, &number, MINI_TYPE_INTEGER, 4};  // of the section "default"
        EXPECT_EQ(MIniReadS(ini, &query), 1);
        EXPECT_EQ(number, expected);
    }
    EXPECT_EQ(ini_sections(ini), (Names{"Video", "a[b", "default", "video"}));
    char name[16] = "at the end";
    uint32_t size = sizeof(name);
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 0);
    EXPECT_STREQ(name, "");
    size = 5;
    EXPECT_EQ(MIniFindFirstCategoryS(ini, name, &size), 0);
    EXPECT_EQ(MIniFindNextCategoryS(ini, nullptr, &size), 0);
    EXPECT_EQ(size, 6u) << "what the name needs";
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 1) << "the same name again, now that it fits";
    EXPECT_EQ(MIniRemoveS(ini, "a[b", nullptr), 1);
    EXPECT_EQ(ini_sections(ini), (Names{"Video", "default", "video"})) << "removed ones are passed over";
    EXPECT_EQ(MIniEndS(ini), 1);
}

TEST_F(Ini, SizesAndTypesOfValues) {
    MIniHandle ini = start("[s]\nfive=abcde\n");
    char value[8];
    int32_t number = 0;
    uint32_t none = 0, five = 5, six = 6, four = 4;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "five", MINI_TYPE_STRING, value, &five), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "five", MINI_TYPE_STRING, value, &six), 1);
    EXPECT_EQ(six, 5u);
    for (const int32_t written : {0, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &written, sizeof(written)), 1);
        EXPECT_EQ(ini_value(ini, "s", "n"), std::to_string(written));
    }
    const uint8_t bytes[] = {0xFF, 0xFF, 0, 0};
    EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, bytes, 2), 1);
    EXPECT_NE(ini_value(ini, "s", "n"), "-1") << "missing bytes are zero";
    for (const int32_t refused :
         {MIniReadSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &number, &none),
          MIniReadSingleS(ini, "s", "n", 3, &number, &four),
          MIniReadSingleS(ini, "s", nullptr, 1, &number, &four),
          MIniReadSingleS(ini, "s", "n", 1, nullptr, &four), MIniReadS(ini, nullptr),
          MIniWriteS(ini, nullptr), MIniRemoveS(nullptr, "s", "n"), MIniEndS(nullptr)})
        EXPECT_EQ(refused, 0);
    EXPECT_EQ(MIniEndS(ini), 1);
}

// What the model of the fuzz harness does not say in a way that can be read at a glance.
TEST_F(Ini, EditsInTheFileWhateverItHoldsByThen) {
    const std::string mixed =
        "; head\r\nstray=0\n\n[One] \nA = 1 \r\n# note\nno key\nb=2\n\n [Two]\nc=3\n;end";
    const std::string plain = "[a]\nk=1\nl=2\n[b]\nm=3\n";
    const std::vector<IniEdit> several = {{"a", "k", "new"}, {"a", "l", {}}, {"b", {}, {}},   {"c", "n", "5"},
                                          {"c", "o", "6"},   {"c", "o", {}}, {"d", "p", "1"}, {"d", {}, {}}};
    const struct {
        std::string before;
        std::vector<IniEdit> edits;
        std::string after;
        std::optional<std::string> meanwhile = {};
    } cases[] = {
        {mixed,
         {{"one", "a", "123456"}, {"One", "x", "7"}, {"ONE", "\ty ", "8"}},
         "; head\r\nstray=0\n\n[One] \nA=123456\r\n# note\nno key\nb=2\n\nx=7\r\ny=8\r\n "
         "[Two]\nc=3\n;end\r\n"},
        {mixed, {{"One", {}, {}}}, "; head\r\nstray=0\n\n# note\nno key\n\n [Two]\nc=3\n;end\r\n"},
        {mixed,
         {{"One", {}, {}}, {"One", "B", "9"}},
         "; head\r\nstray=0\n\n[One] \n# note\nno key\nb=9\r\n\n [Two]\nc=3\n;end\r\n"},
        {"[a]\nk=1\n#\nk=2\n", {{"a", "k", {}}, {"a", "k", {}}, {"a", "k", "3"}}, "[a]\nk=3\r\n#\n"},
        {plain, {{"", "k", "1"}}, plain + "[]\r\nk=1\r\n"},
        {plain, several, "[a]\r\nk=new\r\n[c]\r\nn=5\r\n", ""},
        {plain, several, "[A]\nK=new\r\n[c]\r\nn=5\r\n", "[b]\nm=4\no=5\n[A]\nK=x\nL=y\n"},
        // As long as it was.
        {plain, several, "[a]\nk=new\r\n[c]\r\nn=5\r\n", "[a]\nk=9\nl=2\n[b]\nm=3\n"},
        // Others made them, too.
        {plain, several, "[d]\np=7\n[c]\no=8\nn=5\r\n[a]\r\nk=new\r\n", "[d]\np=7\n[c]\no=8\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        MIniHandle ini = start(c.before);
        for (const IniEdit &edit : c.edits)
            EXPECT_TRUE(edit.apply(ini));
        if (c.meanwhile) folder.put_text("ini", *c.meanwhile);
        std::filesystem::permissions(path, std::filesystem::perms{0604});
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(text(), c.after);
        EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms{0604});
        EXPECT_EQ(folder.names(), Names{"ini"});
    }
}

TEST_F(Ini, WhatCouldNotBeReadBackIsRefused) {
    const std::string k(2043, 'k'), v(2043, 'v'), s(2044, 's'), before = "[t]\nk=1\n";
    std::vector<IniEdit> edits = {
        {"a[b", "k", "a=[b];#*"}, {"s", k, "v"}, {"s", "k", v}, {s, "k", "v"}, {" \t", "k", "v"}};
    const size_t accepted = edits.size();
    for (const std::string &section : {s + "s", std::string("a]b")})
        edits.push_back({section, "k", "v"});
    for (const std::string &key : {k + "k", std::string(" "), std::string("a=b")})
        edits.push_back({"s", key, "v"});
    edits.push_back({"s", "k", v + "v"});
    for (const char first : {'[', '#', ';', '*'})
        edits.push_back({"s", first + std::string("k"), "v"});
    for (const std::string broken : {"a\nb", "a\rb", "\n"})
        edits.insert(edits.end(), {{broken, "k", "v"}, {"s", broken, "v"}, {"s", "k", broken}});
    for (size_t i = 0; i < edits.size(); ++i) {
        SCOPED_TRACE("edit " + std::to_string(i));
        const IniEdit &edit = edits[i];
        MIniHandle ini = start(before);
        EXPECT_EQ(edit.apply(ini), i < accepted);
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(text() != before, i < accepted);
        ini = MIniStartS(path.c_str());
        EXPECT_EQ(ini_value(ini, edit.section, *edit.key), i < accepted ? edit.value : std::nullopt);
        EXPECT_EQ(ini_value(ini, "t", "k"), "1");
        EXPECT_EQ(MIniEndS(ini), 1);
    }
}

TEST_F(Ini, MissingFilesFoldersAndLongPaths) {
    const IniEdit edit = {"s", "k", "2"};
    MIniHandle ini = MIniStartS(folder.path("ini").c_str());
    EXPECT_EQ(text(), "") << "starting on a missing file creates it";
    EXPECT_TRUE(edit.apply(ini));
    EXPECT_EQ(MIniEndS(ini), 1);
    EXPECT_EQ(text(), "[s]\r\nk=2\r\n");
    EXPECT_EQ(MIniStartS(folder.path("").c_str()), nullptr) << "a folder cannot be read";
    EXPECT_EQ(MIniStartS(folder.path("none/ini").c_str()), nullptr);
    EXPECT_EQ(MIniStartS(nullptr), nullptr);
    // A file with two names is copied over while "_tmp" leaves its path short enough for that, else replaced.
    std::filesystem::create_directory(folder.path(std::string(200, 'd')));
    for (const size_t length : {255u, 256u}) {
        std::string name = std::string(200, 'd') + "/";
        name.resize(length - folder.path("").size(), 'f');
        const std::string long_path = folder.put_text(name, "[s]\nk=1\n"), link = name + "l";
        std::filesystem::create_hard_link(long_path, folder.path(link));
        ini = MIniStartS(long_path.c_str());
        EXPECT_TRUE(edit.apply(ini));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(folder.get_text(name), "[s]\nk=2\r\n");
        EXPECT_EQ(folder.get_text(link), length == 255 ? "[s]\nk=2\r\n" : "[s]\nk=1\n");
        EXPECT_FALSE(std::filesystem::exists(long_path + "_tmp"));
        std::filesystem::remove(folder.path(link));  // its name may be the next one's
    }
}

}  // namespace
}  // namespace quorv::test
