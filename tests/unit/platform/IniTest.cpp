// INI files: what a line means, what an edit does to the file, and the limits.

#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>

#include "unit/platform/IniEdits.h"

namespace {

using quorv::test::get_text;
using quorv::test::ini_value;
using quorv::test::IniEdit;
using quorv::test::put_text;
using quorv::test::TestFolder;

TEST(Ini, LinesAsTheyAreRead) {
    const struct {
        const char *line, *key, *value;  // value null: no such key in section "S"
    } cases[] = {
        {"Width = 640", "Width", "640"},
        {"\t Width\t=\t640 \t", " width ", "640"},
        {"a=", "a", ""},
        {"a==b = c", "a", "=b = c"},
        {"two words = more words", "TWO WORDS", "more words"},
        {"=5", "", nullptr},
        {"a", "a", nullptr},
        {"#a=1", "#a", nullptr},
        {"  ;a=1", ";a", nullptr},
        {"*a=1", "*a", nullptr},
        {"[x] a=1", "[x] a", nullptr},
        {"\r a=1", "\r a", "1"},
    };
    const TestFolder folder;
    for (const auto &c : cases) {
        for (const char *const ending : {"\r\n", "\n", ""}) {
            SCOPED_TRACE(testing::PrintToString(c.line) + ending);
            const std::string path =
                put_text(folder, "ini", "[S]" + std::string(ending[0] ? ending : "\n") + c.line + ending);
            MIniHandle ini = MIniStartS(path.c_str());
            EXPECT_EQ(ini_value(ini, "S", c.key),
                      c.value == nullptr ? std::nullopt : std::optional<std::string>(c.value));
            EXPECT_EQ(MIniEndS(ini), 1);
        }
    }
}

TEST(Ini, SectionsAsTheyAreRead) {
    const TestFolder folder;
    const std::string path =
        put_text(folder, "ini",
                 "k=before any\n[ Video ]\nk=1\n[Video] x\nk2=2\n[]\nk3=3\n[a[b] \t\n[open\n"
                 "[default]\nk=4\n[video]\nk=hidden\n");
    MIniHandle ini = MIniStartS(path.c_str());
    EXPECT_EQ(ini_value(ini, " VIDEO\t", "K"), "1");
    EXPECT_EQ(ini_value(ini, "Video", "k2"), "2") << "[Video] x begins no section";
    EXPECT_EQ(ini_value(ini, "Video", "k3"), std::nullopt);
    EXPECT_EQ(ini_value(ini, "Video] x", "k2"), std::nullopt);
    char text[8] = "";
    MIniQuery query = {nullptr, "k", text, MINI_TYPE_STRING, sizeof text};
    EXPECT_EQ(MIniReadS(ini, &query), 1);
    EXPECT_STREQ(text, "4");

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
    EXPECT_EQ(MIniFindFirstCategoryS(ini, name, &size), 0);
    EXPECT_EQ(size, 6u) << "what the name needs";
    EXPECT_EQ(MIniFindNextCategoryS(ini, nullptr, &size), 0);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 1) << "the same name again, now that it fits";
    EXPECT_STREQ(name, "Video");
    EXPECT_EQ(MIniRemoveS(ini, "a[b", nullptr), 1);
    size = sizeof name;
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 1);
    EXPECT_STREQ(name, "default") << "removed sections are passed over";
    EXPECT_EQ(MIniEndS(ini), 1);
}

TEST(Ini, ValuesByType) {
    const TestFolder folder;
    MIniHandle ini =
        MIniStartS(put_text(folder, "ini", "[s]\nfive=abcde\nn=-12 apples\nbig=99999999999\n").c_str());
    char text[8];
    uint32_t size = 5;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "five", MINI_TYPE_STRING, text, &size), 0);
    size = 6;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "five", MINI_TYPE_STRING, text, &size), 1);
    EXPECT_EQ(size, 5u);

    int32_t number = 0;
    size = 4;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &number, &size), 1);
    EXPECT_EQ(number, -12);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "big", MINI_TYPE_INTEGER, &number, &size), 1);
    EXPECT_EQ(number, INT32_MAX);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "five", MINI_TYPE_INTEGER, &number, &size), 1);
    EXPECT_EQ(number, 0);
    for (const int32_t written : {0, -1, INT32_MIN, INT32_MAX, 640}) {
        EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &written, sizeof written), 1);
        EXPECT_EQ(ini_value(ini, "s", "n"), std::to_string(written));
    }
    const uint8_t bytes[] = {0xFF, 0xFF, 0, 0};
    EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, bytes, 2), 1);
    EXPECT_NE(ini_value(ini, "s", "n"), "-1") << "missing bytes are zero";

    size = 0;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &number, &size), 0);
    size = 4;
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", 3, &number, &size), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", nullptr, 1, &number, &size), 0);
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", 1, nullptr, &size), 0);
    EXPECT_EQ(MIniReadSingleS(nullptr, "s", "n", 1, &number, &size), 0);
    EXPECT_EQ(MIniReadS(ini, nullptr) + MIniWriteS(ini, nullptr) + MIniRemoveS(nullptr, "s", "n"), 0);
    EXPECT_EQ(MIniEndS(ini), 1);
    EXPECT_EQ(MIniEndS(nullptr), 0);
}

TEST(Ini, EditsInTheFile) {
    const std::string mixed =
        "; head\r\nstray=0\n\n[One] \nA = 1 \r\n# note\nno key\nb=2\n\n [Two]\nc=3\n;end";
    const struct {
        const char *what;
        std::string before;
        std::vector<IniEdit> edits;
        std::string after;
    } cases[] = {
        {"nothing", mixed, {}, mixed},
        {"a longer value",
         mixed,
         {{"one", "a", "123456"}},
         "; head\r\nstray=0\n\n[One] \nA=123456\r\n# note\nno key\nb=2\n\n [Two]\nc=3\n;end\r\n"},
        {"a shorter value", "[s]\nk=long value\nl=1\n", {{"s", "k", ""}}, "[s]\nk=\r\nl=1\n"},
        {"changed twice", "[s]\nk=1\n", {{"s", "k", "22"}, {"s", "K", "3"}}, "[s]\nk=3\r\n"},
        {"new keys stand at the end of their section",
         mixed,
         {{"One", "x", "7"}, {"ONE", "y", "8"}},
         "; head\r\nstray=0\n\n[One] \nA = 1 \r\n# note\nno key\nb=2\n\nx=7\r\ny=8\r\n [Two]\nc=3\n;end\r\n"},
        {"a new key after a last line without ending", "[s]\nk=1", {{"s", "l", "2"}}, "[s]\nk=1\r\nl=2\r\n"},
        {"a changed last line without ending", "[s]\nk=1", {{"s", "k", "2"}}, "[s]\nk=2\r\n"},
        {"a removed last line without ending", "[s]\nk=1", {{"s", "k", {}}}, "[s]\n"},
        {"a new section, and a key of an older one",
         "[s]\nk=1\n",
         {{"New", "x", "1"}, {"s", "l", "2"}},
         "[s]\nk=1\nl=2\r\n[New]\r\nx=1\r\n"},
        {"new sections in order",
         "",
         {{"p", "x", "1"}, {"q", "y", "2"}, {"p", "z", "3"}},
         "[p]\r\nx=1\r\nz=3\r\n[q]\r\ny=2\r\n"},
        {"a removed key",
         mixed,
         {{"One", "b", {}}},
         "; head\r\nstray=0\n\n[One] \nA = 1 \r\n# note\nno key\n\n [Two]\nc=3\n;end\r\n"},
        {"a removed section keeps its comments",
         mixed,
         {{"One", {}, {}}},
         "; head\r\nstray=0\n\n# note\nno key\n\n [Two]\nc=3\n;end\r\n"},
        {"of a removed section only the key written again comes back",
         mixed,
         {{"One", {}, {}}, {"One", "B", "9"}},
         "; head\r\nstray=0\n\n[One] \n# note\nno key\nb=9\r\n\n [Two]\nc=3\n;end\r\n"},
        {"new, then removed",
         "[s]\nk=1\n",
         {{"n", "a", "1"}, {"s", "b", "2"}, {"n", {}, {}}, {"s", "b", {}}},
         "[s]\nk=1\n"},
        {"new, removed and new again",
         "[s]\n",
         {{"n", "a", "1"}, {"n", {}, {}}, {"n", "b", "2"}, {"n", "a", "3"}},
         "[s]\n[n]\r\na=3\r\nb=2\r\n"},
        {"the first of two keys", "[s]\nk=1\nk=2\n", {{"s", "k", "5"}}, "[s]\nk=5\r\nk=2\n"},
        {"the first of two sections",
         "[s]\nk=1\n[s]\nk=2\nl=3\n",
         {{"s", "k", {}}, {"s", "l", "9"}},
         "[s]\nl=9\r\n[s]\nk=2\nl=3\n"},
        {"the second of two sections, once the first is gone",
         "[s]\nk=1\n[s]\nk=2\n",
         {{"s", {}, {}}, {"s", "k", "9"}},
         "[s]\nk=9\r\n"},
        {"names and values are stripped of blanks to be found",
         "[s]\n",
         {{" s ", "\tk ", "1"}},
         "[s]\nk=1\r\n"},
    };
    const TestFolder folder;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = put_text(folder, "ini", c.before);
        MIniHandle ini = MIniStartS(path.c_str());
        for (const IniEdit &edit : c.edits) {
            EXPECT_TRUE(edit.apply(ini));
            if (edit.key) {
                EXPECT_EQ(ini_value(ini, edit.section, *edit.key), edit.value);
            }
        }
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(get_text(folder, "ini"), c.after);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"ini"});
    }
}

TEST(Ini, WhatCouldNotBeReadBackIsRefused) {
    const std::string long_name(2043, 'k');
    const struct {
        std::string section, key, value;
        bool accepted;
    } cases[] = {
        {"s", "k", "a=[b];#*", true},
        {"a[b", "k", "v", true},
        {"s", long_name, "v", true},
        {"s", long_name, "vv", false},
        {"s", "k", std::string(2043, 'v'), true},
        {"s", "k", std::string(2044, 'v'), false},
        {std::string(2044, 's'), "k", "v", true},
        {std::string(2045, 's'), "k", "v", false},
        {"", "k", "v", false},
        {" \t", "k", "v", false},
        {"a]b", "k", "v", false},
        {"a\nb", "k", "v", false},
        {"a\rb", "k", "v", false},
        {"s", "", "v", false},
        {"s", " ", "v", false},
        {"s", "a=b", "v", false},
        {"s", "[k", "v", false},
        {"s", "#k", "v", false},
        {"s", ";k", "v", false},
        {"s", "*k", "v", false},
        {"s", "a\nb", "v", false},
        {"s", "k", "a\nb", false},
        {"s", "k", "a\rb", false},
        {"s", "k", "\n", false},
    };
    const TestFolder folder;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.section.substr(0, 9) + "|" + c.key.substr(0, 9) + "|" + c.value.substr(0, 9));
        const std::string path = put_text(folder, "ini", "[t]\nk=1\n");
        MIniHandle ini = MIniStartS(path.c_str());
        EXPECT_EQ((IniEdit{c.section, c.key, c.value}.apply(ini)), c.accepted);
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(get_text(folder, "ini") != "[t]\nk=1\n", c.accepted);
        ini = MIniStartS(path.c_str());
        EXPECT_EQ(ini_value(ini, c.section, c.key), c.accepted ? std::optional(c.value) : std::nullopt);
        EXPECT_EQ(ini_value(ini, "t", "k"), "1");
        EXPECT_EQ(MIniEndS(ini), 1);
    }
}

TEST(Ini, LinesOfEveryLengthAroundTheLimit) {
    const TestFolder folder;
    for (const char *const begin : {"k=", "[", ";", "x"}) {
        for (size_t length = 2044; length <= 2049; ++length) {
            for (const char *const ending : {"\n", "\r\n", ""}) {
                // Lines before it put it everywhere in the parser's buffer.
                for (const size_t before : std::initializer_list<size_t>{0, 1, 30, 2000, 2047, 2048}) {
                    SCOPED_TRACE(testing::Message()
                                 << begin << " " << length << " " << strlen(ending) << " " << before);
                    std::string line = begin;
                    line.resize(length - (*begin == '[' ? 1 : 0), 'v');
                    if (*begin == '[') line += ']';
                    const std::string text = "[s]\n" + std::string(before, '\n') + line + ending;
                    MIniHandle ini = MIniStartS(put_text(folder, "ini", text).c_str());
                    ASSERT_EQ(ini != nullptr, length <= 2046);
                    if (*begin == 'k' && ini != nullptr) {
                        EXPECT_EQ(ini_value(ini, "s", "k"), std::string(length - 2, 'v'));
                    }
                    MIniEndS(ini);
                    EXPECT_EQ(get_text(folder, "ini"), text);
                }
            }
        }
    }
}

TEST(Ini, EditsGoToWhatTheFileHoldsByThen) {
    const std::string before = "[a]\nk=1\nl=2\n[b]\nm=3\n";
    const struct {
        std::string meanwhile;
        std::string after;
    } cases[] = {
        {"", "[a]\r\nk=new\r\n[c]\r\nn=5\r\n"},
        {"[a]\nk=1\n", "[a]\nk=new\r\n[c]\r\nn=5\r\n"},
        {"[b]\nm=4\no=5\n[A]\nK=x\nL=y\n", "[A]\nK=new\r\n[c]\r\nn=5\r\n"},
        {"[a]\nk=9\nl=2\n[b]\nm=3\n", "[a]\nk=new\r\n[c]\r\nn=5\r\n"},  // of the same length
    };
    const TestFolder folder;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.meanwhile);
        MIniHandle ini = MIniStartS(put_text(folder, "ini", before).c_str());
        for (const IniEdit &edit : std::vector<IniEdit>{{"a", "k", "new"},
                                                        {"a", "l", {}},
                                                        {"b", {}, {}},
                                                        {"c", "n", "5"},
                                                        {"c", "o", "6"},
                                                        {"c", "o", {}}})
            EXPECT_TRUE(edit.apply(ini));
        put_text(folder, "ini", c.meanwhile);
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(get_text(folder, "ini"), c.after);
    }
}

TEST(Ini, MissingFilesFoldersAndLongPaths) {
    const TestFolder folder;
    const std::string path = folder.path("ini");
    EXPECT_EQ(MIniEndS(MIniStartS(path.c_str())), 1);
    EXPECT_EQ(get_text(folder, "ini"), "") << "starting on a missing file creates it";
    std::filesystem::remove(path);
    MIniHandle ini = MIniStartS(path.c_str());
    EXPECT_TRUE((IniEdit{"s", "k", "v"}.apply(ini)));
    EXPECT_EQ(MIniEndS(ini), 1);
    EXPECT_EQ(get_text(folder, "ini"), "[s]\r\nk=v\r\n");

    EXPECT_EQ(MIniStartS(folder.path("").c_str()), nullptr) << "a folder cannot be read";
    EXPECT_EQ(MIniStartS(folder.path("none/ini").c_str()), nullptr);
    EXPECT_EQ(MIniStartS(nullptr), nullptr);

    // Too long for 16-bit paths, with and without the temporary file's suffix; both keep the permissions.
    for (const size_t length : std::initializer_list<size_t>{150, 256, 259, 260, 400}) {
        std::string name = std::string(200, 'd') + "/";
        name.resize(length - folder.path("").size(), 'f');
        std::filesystem::create_directories(std::filesystem::path(folder.path(name)).parent_path());
        const std::string long_path = put_text(folder, name, "[s]\nk=1\n");
        ASSERT_EQ(long_path.size(), length);
        const auto own = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
        std::filesystem::permissions(long_path, own);
        ini = MIniStartS(long_path.c_str());
        EXPECT_TRUE((IniEdit{"s", "k", "2"}.apply(ini)));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(get_text(folder, name), "[s]\nk=2\r\n");
        EXPECT_EQ(std::filesystem::status(long_path).permissions(), own);
        EXPECT_FALSE(std::filesystem::exists(long_path + "_tmp"));
    }
}

}  // namespace
