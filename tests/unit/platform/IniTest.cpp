// INI files: what a line means, what an edit does to the file, and the limits.

#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>

#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

class Ini : public testing::Test {
protected:
    // Writes the file and opens it.
    MIniHandle start(const std::string &text) {
        path = put_text(folder, "ini", text);
        return MIniStartS(path.c_str());
    }
    std::string text() const { return get_text(folder, "ini"); }

    TestFolder folder;
    std::string path;
};

// What the random files of the model do not hold.
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
    std::string listed;
    char name[16];
    uint32_t size = sizeof name;
    for (int32_t found = MIniFindFirstCategoryS(ini, name, &size); found != 0;) {
        EXPECT_EQ(size, strlen(name) + 1);
        listed += name + std::string(" ");
        size = sizeof name;
        found = MIniFindNextCategoryS(ini, name, &size);
    }
    EXPECT_EQ(listed, "Video a[b default video ");
    EXPECT_STREQ(name, "");
    size = 5;
    EXPECT_EQ(MIniFindFirstCategoryS(ini, name, &size) + MIniFindNextCategoryS(ini, nullptr, &size), 0);
    EXPECT_EQ(size, 6u) << "what the name needs";
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 1) << "the same name again, now that it fits";
    EXPECT_EQ(MIniRemoveS(ini, "a[b", nullptr), 1);
    size = sizeof name;
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 1);
    EXPECT_STREQ(name, "default") << "removed sections are passed over";
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
        EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &written, sizeof written), 1);
        EXPECT_EQ(ini_value(ini, "s", "n"), std::to_string(written));
    }
    const uint8_t bytes[] = {0xFF, 0xFF, 0, 0};
    EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, bytes, 2), 1);
    EXPECT_NE(ini_value(ini, "s", "n"), "-1") << "missing bytes are zero";
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &number, &none), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", 3, &number, &four), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", nullptr, 1, &number, &four), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", 1, nullptr, &four), 0);
    EXPECT_EQ(MIniReadS(ini, nullptr) + MIniWriteS(ini, nullptr) + MIniRemoveS(nullptr, "s", "n"), 0);
    EXPECT_EQ(MIniEndS(ini), 1);
    EXPECT_EQ(MIniEndS(nullptr), 0);
}

// What random edits of the model do not say in a way that can be read at a glance.
TEST_F(Ini, EditsInTheFile) {
    const std::string mixed =
        "; head\r\nstray=0\n\n[One] \nA = 1 \r\n# note\nno key\nb=2\n\n [Two]\nc=3\n;end";
    const struct {
        std::string before;
        std::vector<IniEdit> edits;
        std::string after;
    } cases[] = {
        {mixed, {}, mixed},
        {mixed,
         {{"one", "a", "123456"}, {"One", "x", "7"}, {"ONE", "\ty ", "8"}},
         "; head\r\nstray=0\n\n[One] \nA=123456\r\n# note\nno key\nb=2\n\nx=7\r\ny=8\r\n "
         "[Two]\nc=3\n;end\r\n"},
        {mixed, {{"One", {}, {}}}, "; head\r\nstray=0\n\n# note\nno key\n\n [Two]\nc=3\n;end\r\n"},
        {mixed,
         {{"One", {}, {}}, {"One", "B", "9"}},
         "; head\r\nstray=0\n\n[One] \n# note\nno key\nb=9\r\n\n [Two]\nc=3\n;end\r\n"},
        {"[s]\nk=long value\nl=1\n", {{"s", "k", ""}, {"s", "l", {}}}, "[s]\nk=\r\n"},
        {"[s]\nk=1", {{"New", "x", "1"}, {"s", "l", "2"}}, "[s]\nk=1\r\nl=2\r\n[New]\r\nx=1\r\n"},
        {"[s]\n", {{"n", "a", "1"}, {"n", {}, {}}, {"n", "b", "2"}}, "[s]\n[n]\r\nb=2\r\n"},
        {"[s]\nk=1\n[s]\nk=2\n", {{"s", {}, {}}, {"s", "k", "9"}}, "[s]\nk=9\r\n"},
    };
    for (const auto &c : cases) {
        MIniHandle ini = start(c.before);
        for (const IniEdit &edit : c.edits)
            EXPECT_TRUE(edit.apply(ini));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(text(), c.after);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"ini"});
    }
}

TEST_F(Ini, WhatCouldNotBeReadBackIsRefused) {
    const std::string long_key(2043, 'k');
    const std::vector<IniEdit> good = {{"a[b", "k", "a=[b];#*"},
                                       {"s", long_key, "v"},
                                       {"s", "k", std::string(2043, 'v')},
                                       {std::string(2044, 's'), "k", "v"},
                                       {" \t", "k", "v"}};
    const std::vector<IniEdit> bad = {{"s", long_key, "vv"},
                                      {"s", "k", std::string(2044, 'v')},
                                      {std::string(2045, 's'), "k", "v"},
                                      {"a]b", "k", "v"},
                                      {"a\nb", "k", "v"},
                                      {"a\rb", "k", "v"},
                                      {"s", " ", "v"},
                                      {"s", "a=b", "v"},
                                      {"s", "[k", "v"},
                                      {"s", "#k", "v"},
                                      {"s", ";k", "v"},
                                      {"s", "*k", "v"},
                                      {"s", "a\nb", "v"},
                                      {"s", "k", "a\nb"},
                                      {"s", "k", "a\rb"},
                                      {"s", "k", "\n"}};
    for (const bool accepted : {true, false}) {
        for (const IniEdit &edit : accepted ? good : bad) {
            SCOPED_TRACE(edit.section.substr(0, 9) + "|" + edit.key->substr(0, 9));
            MIniHandle ini = start("[t]\nk=1\n");
            EXPECT_EQ(edit.apply(ini), accepted);
            EXPECT_EQ(MIniEndS(ini), 1);
            EXPECT_EQ(text() != "[t]\nk=1\n", accepted);
            ini = MIniStartS(path.c_str());
            EXPECT_EQ(ini_value(ini, edit.section, *edit.key), accepted ? edit.value : std::nullopt);
            EXPECT_EQ(ini_value(ini, "t", "k"), "1");
            EXPECT_EQ(MIniEndS(ini), 1);
        }
    }
}

TEST_F(Ini, LinesOfEveryLengthAroundTheLimit) {
    for (size_t length = 2045; length <= 2048; ++length) {
        for (const std::string ending : {"\n", "\r\n", ""}) {
            // Lines before it put it everywhere in the parser's buffer.
            for (const size_t before : std::initializer_list<size_t>{0, 1, 2000, 2047, 2048}) {
                SCOPED_TRACE(testing::Message() << length << " " << ending.size() << " " << before);
                const std::string value(length - 2, 'v');
                const std::string all = "[s]\n" + std::string(before, '\n') + "k=" + value + ending;
                MIniHandle ini = start(all);
                ASSERT_EQ(ini != nullptr, length <= 2046);
                EXPECT_EQ(ini_value(ini, "s", "k"), ini == nullptr ? std::nullopt : std::optional(value));
                MIniEndS(ini);
                EXPECT_EQ(text(), all);
            }
        }
    }
}

TEST_F(Ini, EditsGoToWhatTheFileHoldsByThen) {
    const std::pair<const char *, const char *> cases[] = {
        {"", "[a]\r\nk=new\r\n[c]\r\nn=5\r\n"},
        {"[b]\nm=4\no=5\n[A]\nK=x\nL=y\n", "[A]\nK=new\r\n[c]\r\nn=5\r\n"},
        {"[a]\nk=9\nl=2\n[b]\nm=3\n", "[a]\nk=new\r\n[c]\r\nn=5\r\n"},            // as long as it was
        {"[d]\np=7\n[c]\no=8\n", "[d]\np=7\n[c]\no=8\nn=5\r\n[a]\r\nk=new\r\n"},  // others made them, too
    };
    const std::vector<IniEdit> edits = {{"a", "k", "new"}, {"a", "l", {}}, {"b", {}, {}},   {"c", "n", "5"},
                                        {"c", "o", "6"},   {"c", "o", {}}, {"d", "p", "1"}, {"d", {}, {}}};
    for (const auto &[meanwhile, after] : cases) {
        MIniHandle ini = start("[a]\nk=1\nl=2\n[b]\nm=3\n");
        for (const IniEdit &edit : edits)
            EXPECT_TRUE(edit.apply(ini));
        put_text(folder, "ini", meanwhile);
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(text(), after);
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
    // Too long for 16-bit paths, with and without the temporary file's suffix; both keep the permissions.
    const auto own = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    for (const size_t length : std::initializer_list<size_t>{150, 256, 259, 260, 400}) {
        std::string name = std::string(200, 'd') + "/";
        name.resize(length - folder.path("").size(), 'f');
        std::filesystem::create_directories(std::filesystem::path(folder.path(name)).parent_path());
        const std::string long_path = put_text(folder, name, "[s]\nk=1\n");
        std::filesystem::permissions(long_path, own);
        ini = MIniStartS(long_path.c_str());
        EXPECT_TRUE(edit.apply(ini));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(get_text(folder, name), "[s]\nk=2\r\n");
        EXPECT_EQ(std::filesystem::status(long_path).permissions(), own);
        EXPECT_FALSE(std::filesystem::exists(long_path + "_tmp"));
    }
}

}  // namespace
}  // namespace quorv::test
