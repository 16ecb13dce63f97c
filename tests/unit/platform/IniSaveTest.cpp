// Saving INI files when everything goes wrong: whatever fails, the file is the old one or the new one, whole.

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/FailingAllocator.h"
#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

TEST(IniFailure, EveryAllocation) {
    const MemoryFolder folder;
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
    const MemoryFolder folder;
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

TEST(IniPutBack, OnlyATextThatTheFileIsTheBeginningOf) {
    const std::string whole = "[s]\nk=1\n[t]\nl=2\n";
    const struct {
        std::string file, beside, then;
        Names names;
    } cases[] = {
        {"", whole, whole, {"ini"}},
        {"[s]\nk=1\n[t", whole, whole, {"ini"}},
        {whole, whole, whole, {"ini"}},
        {"[s]\nk=2\n", whole, "[s]\nk=2\n", {"ini", "ini_tmp"}},
        {whole, "[s]\nk=1\n", whole, {"ini", "ini_tmp"}},
        {whole, "", whole, {"ini", "ini_tmp"}},
    };
    for (const auto &c : cases) {
        const MemoryFolder folder;
        const std::string path = folder.put_text("ini", c.file);
        folder.put_text("ini_tmp", c.beside);
        MIniHandle ini = MIniStartS(path.c_str());
        EXPECT_EQ(ini_value(ini, "t", "l"), c.then == whole ? std::optional<std::string>("2") : std::nullopt);
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(folder.get_text("ini"), c.then);
        EXPECT_EQ(folder.names(), c.names);
        if (c.names.size() == 1) continue;
        ini = MIniStartS(path.c_str());
        EXPECT_TRUE(kEdits[0].apply(ini));
        EXPECT_EQ(MIniEndS(ini), 1);
        EXPECT_EQ(folder.get_text("ini_tmp_old"), c.beside) << "it is kept when a save needs its name";
    }
}

// To the superuser nothing is read-only, and nobody else can make files of another owner.
class IniOfAnotherUser : public testing::Test {
protected:
    static constexpr uid_t kUser = 65534;

    void SetUp() override {
        std::filesystem::permissions(folder_.path(""), std::filesystem::perms::all);
        if (chown(path_.c_str(), kUser, kUser) != 0)
            GTEST_SKIP() << "files of other users cannot be made here";
    }
    // Edits the file as a user.
    int32_t edit_as(uid_t user) {
        std::vector<bool> succeeded;
        if (seteuid(user) != 0) return -1;
        const int32_t result = edit_file(path_, &succeeded);
        EXPECT_TRUE(succeeded[0]) << "it could be opened";
        EXPECT_EQ(seteuid(0), 0);
        return result;
    }
    void expect(const std::string &text, uid_t owner, mode_t mode) {
        struct stat status;
        ASSERT_EQ(stat(path_.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, owner);
        EXPECT_EQ(status.st_gid, owner);
        EXPECT_EQ(status.st_mode & 07777, mode);
        EXPECT_EQ(folder_.get_text("ini"), text);
        EXPECT_EQ(folder_.names(), Names{"ini"});
    }

    const MemoryFolder folder_;
    const std::string path_ = folder_.put_text("ini", old_text());
};

TEST_F(IniOfAnotherUser, OwnerAndModeStay) {
    const std::string once = text_after(old_text()), longer = old_text() + "k=1\n";
    chmod(path_.c_str(), 0640);
    folder_.put_text("ini_tmp", longer);
    EXPECT_EQ(MIniEndS(MIniStartS(path_.c_str())), 1);
    expect(longer, kUser, 0640);
    folder_.put_text("ini", old_text());
    EXPECT_EQ(edit_as(0), 1);
    expect(once, kUser, 0640);
    EXPECT_EQ(edit_as(kUser), 1);
    expect(text_after(once), kUser, 0640);
    ASSERT_EQ(chown(path_.c_str(), 0, 0), 0);
    chmod(path_.c_str(), 0660);
    EXPECT_EQ(edit_as(kUser), 1) << "who may write to it but does not own it";
    expect(text_after(text_after(once)), 0, 0660);
}

TEST_F(IniOfAnotherUser, WhatIsReadOnlyStaysAsItIs) {
    ASSERT_EQ(chown(path_.c_str(), 0, 0), 0);
    chmod(path_.c_str(), 0640);
    EXPECT_EQ(edit_as(kUser), 0);
    expect(old_text(), 0, 0640);
    folder_.put_text("ini_tmp", old_text() + "k=1\n");
    EXPECT_EQ(edit_as(kUser), 0) << "nor does a killed save of its owner's end here";
    EXPECT_EQ(folder_.get_text("ini"), old_text());
    std::filesystem::remove(folder_.path("ini_tmp"));
    chmod(path_.c_str(), 0660);
    std::filesystem::permissions(folder_.path(""), std::filesystem::perms{0755});
    EXPECT_EQ(edit_as(kUser), 0) << "a folder without room for the new file's name";
    expect(old_text(), 0, 0660);
    // A text of a third user's, which would be put back were it the file's owner's.
    folder_.put_text("ini_tmp", old_text() + "\n[Video]\nWidth=1\n");
    ASSERT_EQ(chown(folder_.path("ini_tmp").c_str(), kUser, kUser), 0);
    EXPECT_EQ(MIniEndS(MIniStartS(path_.c_str())), 1);
    EXPECT_EQ(folder_.get_text("ini"), old_text());
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

// Through a link, which must stay one; with two names, so that it is copied over; and with something mounted
// in its place, which cannot be replaced.
TEST(IniFailure, FullDisk) {
    const MemoryFolder folder;
    const std::string before = old_text(), after = text_after(before);
    enum Outcome : int { Old, New, Kept, Wrong };
    for (const std::string by : {"ini", "link", "hard link", "mounted link"}) {
        bool seen[4] = {};
        // From room for the old file alone to room for two new ones; in between the copy over the file fails.
        for (size_t bytes = 4096 * (before.size() / 4096 + 1);
             bytes < before.size() + 2 * after.size() + 8192; bytes += 4096) {
            const int outcome = on_small_file_system(folder.path(""), bytes, [&] {
                const std::string path = folder.put_text("ini", before), link = folder.path("link");
                if (by == "hard link")
                    std::filesystem::create_hard_link(path, link);
                else
                    std::filesystem::create_symlink("ini", link);
                if (by == "mounted link") mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr);
                const int32_t result =
                    edit_file(std::filesystem::is_symlink(link) && by != "ini" ? link : path);
                const std::string text = folder.get_text("ini");
                if (std::filesystem::is_symlink(link) != (by != "hard link")) return int{Wrong};
                if (folder.names() == Names{"ini", "link"})
                    return text == after && result == 1    ? int{New}
                           : text == before && result == 0 ? int{Old}
                                                           : int{Wrong};
                edit_file(link);  // what there is of it; the whole file must not get lost by that
                const bool moved = std::filesystem::exists(folder.path("ini_tmp_old"));
                const std::string kept = folder.get_text(moved ? "ini_tmp_old" : "ini_tmp");
                return kept == after && result == 0 ? int{Kept} : int{Wrong};
            });
            if (outcome == -1) GTEST_SKIP() << "mounting a file system is not permitted here";
            ASSERT_LT(outcome, Wrong) << by << ' ' << bytes;
            seen[outcome] = true;
        }
        EXPECT_TRUE(seen[Old] && seen[New] && seen[Kept] == (by == "mounted link")) << by;
    }
}

TEST(IniFailure, FilesThatCannotBeMadeOrAreGone) {
    const MemoryFolder folder;
    const std::string path = folder.put_text("ini", old_text());
    for (const std::string name : {"ini_wip", "ini_tmp"}) {
        std::filesystem::create_directory(folder.path(name));
        EXPECT_EQ(edit_file(path), 0) << name << " is taken";
        EXPECT_EQ(folder.get_text("ini"), old_text());
        EXPECT_EQ(folder.names(), (Names{"ini", name}));
        std::filesystem::remove(folder.path(name));
    }
    const auto own = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    std::filesystem::permissions(path, own);
    EXPECT_EQ(edit_file(path, nullptr, [&] { std::filesystem::remove(path); }), 1) << "it is made again";
    EXPECT_EQ(folder.get_text("ini"), text_after(old_text()));
    EXPECT_EQ(std::filesystem::status(path).permissions(), own) << "as it was";
    EXPECT_EQ(folder.names(), Names{"ini"});
}

}  // namespace
}  // namespace quorv::test
