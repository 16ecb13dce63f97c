// INI files: what a line means, what an edit does to the file, the limits; and when everything goes wrong:
// whatever fails, the file is the old one or the new one, whole.

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "support/FailingAllocator.h"
#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

using Names = std::vector<std::string>;

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
    uint32_t size = sizeof name;
    EXPECT_EQ(MIniFindNextCategoryS(ini, name, &size), 0);
    EXPECT_STREQ(name, "");
    size = 5;
    EXPECT_EQ(MIniFindFirstCategoryS(ini, name, &size) + MIniFindNextCategoryS(ini, nullptr, &size), 0);
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
        EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &written, sizeof written), 1);
        EXPECT_EQ(ini_value(ini, "s", "n"), std::to_string(written));
    }
    const uint8_t bytes[] = {0xFF, 0xFF, 0, 0};
    EXPECT_EQ(MIniWriteSingleS(ini, "s", "n", MINI_TYPE_INTEGER, bytes, 2), 1);
    EXPECT_NE(ini_value(ini, "s", "n"), "-1") << "missing bytes are zero";
    EXPECT_EQ(MIniReadSingleS(ini, "s", "n", MINI_TYPE_INTEGER, &number, &none) +
                  MIniReadSingleS(ini, "s", "n", 3, &number, &four) +
                  MIniReadSingleS(ini, "s", nullptr, 1, &number, &four) +
                  MIniReadSingleS(ini, "s", "n", 1, nullptr, &four) + MIniReadS(ini, nullptr) +
                  MIniWriteS(ini, nullptr) + MIniRemoveS(nullptr, "s", "n") + MIniEndS(nullptr),
              0);
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
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(text(), c.after);
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
    // Too long for 16-bit paths, with and without the temporary file's suffix; both keep the permissions.
    const auto own = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    std::filesystem::create_directory(folder.path(std::string(200, 'd')));
    for (const size_t length : {256u, 259u, 260u, 400u}) {
        std::string name = std::string(200, 'd') + "/";
        name.resize(length - folder.path("").size(), 'f');
        const std::string long_path = folder.put_text(name, "[s]\nk=1\n");
        std::filesystem::permissions(long_path, own);
        ini = MIniStartS(long_path.c_str());
        EXPECT_TRUE(edit.apply(ini));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(folder.get_text(name), "[s]\nk=2\r\n");
        EXPECT_EQ(std::filesystem::status(long_path).permissions(), own);
        EXPECT_FALSE(std::filesystem::exists(long_path + "_tmp"));
    }
}

std::string old_text() {
    std::string text = "; settings\n[Video]\nWidth=640\n";
    for (int i = 0; i < 30; ++i)
        text += "key" + std::to_string(i) +
                "=a value that makes the file more than half a page long: " + std::string(40, 'v') + "\n";
    return text + "[Audio]\nRate=44100\n";
}

const std::vector<IniEdit> kEdits = {{"Video", "Width", "1920"},
                                     {"Video", "key3", std::string(1500, 'x')},
                                     {"Video", "key4", {}},
                                     {"New", "key", std::string(1200, 'y')},
                                     {"Audio", "Channels", "2"}};

// Makes the edits, notes which succeeded, lets something happen to the file, and gives the result of
// MIniEndS.
int32_t edit_file(
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
std::string text_after(const std::string &before, std::vector<bool> succeeded = {}) {
    const TestFolder folder;
    MIniHandle ini = MIniStartS(folder.put_text("ini", before).c_str());
    succeeded.resize(kEdits.size(), succeeded.empty());
    for (size_t i = 0; i < kEdits.size(); ++i)
        EXPECT_TRUE(!succeeded[i] || kEdits[i].apply(ini));
    EXPECT_EQ(MIniEndS(ini), 1);
    return folder.get_text("ini");
}

TEST(IniFailure, EveryAllocation) {
    const TestFolder folder;
    // The second time somebody else adds a section between reading and writing back.
    for (const std::string &at_end : {old_text(), "[Else]\nx=1\n" + old_text()}) {
        for (const FailureSpan span : {FailureSpan::Once, FailureSpan::ForGood}) {
            bool failed = true;
            for (uint64_t n = 1; failed; ++n) {
                SCOPED_TRACE(testing::Message()
                             << "allocation " << n << " of span " << static_cast<int>(span));
                const std::string path = folder.put_text("ini", old_text());
                std::vector<bool> succeeded;
                int32_t result = 0;
                {
                    const FailingAllocator heap(n, span);
                    result = edit_file(path, &succeeded, [&] { folder.put_text("ini", at_end); });
                    EXPECT_EQ(heap.live_blocks(), 0u);
                    failed = heap.has_failed();
                }
                EXPECT_EQ(folder.get_text("ini"), result == 1 ? text_after(at_end, succeeded) : at_end);
                EXPECT_EQ(folder.names(), Names{"ini"});
                EXPECT_TRUE(failed || result == 1);
            }
        }
    }
}

TEST(IniFailure, EveryLengthOfFileThatCanBeWritten) {
    const TestFolder folder;
    const std::string after = text_after(old_text());
    void (*const handler)(int) = signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    for (size_t limit = 0; limit < after.size() + 100; limit += limit + 90 < after.size() ? size_t{89} : 1) {
        SCOPED_TRACE(limit);
        const std::string path = folder.put_text("ini", old_text());
        const rlimit lower = {limit, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
        const int32_t result = edit_file(path);
        setrlimit(RLIMIT_FSIZE, &old);
        ASSERT_EQ(result, limit >= after.size() ? 1 : 0);
        ASSERT_EQ(folder.get_text("ini"), result == 1 ? after : old_text());
        ASSERT_EQ(folder.names(), Names{"ini"});
    }
    signal(SIGXFSZ, handler);
}

// What the work returns in a child whose view of the folder is a file system of this many bytes; -1 where
// that is not permitted. The work must not use GoogleTest.
int on_small_file_system(const std::string &folder, size_t bytes, const std::function<int()> &work) noexcept {
    const pid_t child = fork();
    if (child == 0) {
        const std::string size = "mode=0777,size=" + std::to_string(bytes);
        if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(255);
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        if (mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) != 0) _exit(255);
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status)) return 254;
    return WEXITSTATUS(status) == 255 ? -1 : WEXITSTATUS(status);
}

// Through a link, which must stay one; or with something mounted in its place, which cannot be replaced.
TEST(IniFailure, FullDisk) {
    const TestFolder folder;
    const std::string before = old_text(), after = text_after(before);
    enum Outcome : int { Old, New, Kept, Wrong };
    for (const std::string by : {"ini", "link", "mounted link"}) {
        bool seen[4] = {};
        // From room for the old file alone to room for two new ones; in between the copy over the file fails.
        for (size_t bytes = 4096 * (before.size() / 4096 + 1);
             bytes < before.size() + 2 * after.size() + 8192; bytes += 4096) {
            const int outcome = on_small_file_system(folder.path(""), bytes, [&] {
                const std::string path = folder.put_text("ini", before), link = folder.path("link");
                std::filesystem::create_symlink("ini", link);
                if (by == "mounted link") mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr);
                const int32_t result = edit_file(by == "ini" ? path : link);
                const std::string text = folder.get_text("ini");
                if (!std::filesystem::is_symlink(link)) return int{Wrong};
                if (folder.names() == Names{"ini", "link"})
                    return text == after && result == 1    ? int{New}
                           : text == before && result == 0 ? int{Old}
                                                           : int{Wrong};
                edit_file(link);  // what there is of it; the whole file must not get lost by that
                return folder.get_text("ini_tmp_old") == after && result == 0 ? int{Kept} : int{Wrong};
            });
            if (outcome == -1) GTEST_SKIP() << "mounting a file system is not permitted here";
            ASSERT_LT(outcome, Wrong) << by << ' ' << bytes;
            seen[outcome] = true;
        }
        EXPECT_TRUE(seen[Old] && seen[New] && seen[Kept] == (by == "mounted link")) << by;
    }
}

TEST(IniFailure, FilesThatCannotBeMadeOrWrittenOrAreGone) {
    const TestFolder folder;
    const std::string path = folder.put_text("ini", old_text());
    std::filesystem::create_directory(folder.path("ini_tmp"));
    EXPECT_EQ(edit_file(path), 0) << "the temporary file's name is taken";
    EXPECT_EQ(folder.get_text("ini"), old_text());
    std::filesystem::remove(folder.path("ini_tmp"));
    EXPECT_EQ(edit_file(path, nullptr, [&] { std::filesystem::remove(path); }), 1) << "it is made again";
    EXPECT_EQ(folder.get_text("ini"), text_after(old_text()));
    EXPECT_EQ(folder.names(), Names{"ini"});
    std::filesystem::permissions(folder.path(""), std::filesystem::perms::all);
    for (const std::string &name : {std::string("ini"), std::string(250, 'i')}) {
        const std::string read_only = folder.put_text(name, old_text());
        std::filesystem::permissions(read_only, std::filesystem::perms{0444});
        const uid_t user = geteuid();
        // To the superuser nothing is read-only.
        if (seteuid(user == 0 ? 65534 : user) != 0) GTEST_SKIP() << "there is no other user here";
        std::vector<bool> succeeded;
        const int32_t result = edit_file(read_only, &succeeded);
        ASSERT_EQ(seteuid(user), 0);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(succeeded, std::vector<bool>(kEdits.size(), true));
        EXPECT_EQ(folder.get_text(name), old_text());
        EXPECT_FALSE(std::filesystem::exists(read_only + "_tmp"));
    }
}

}  // namespace
}  // namespace quorv::test
