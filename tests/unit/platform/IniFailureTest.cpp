// INI files when everything goes wrong: whatever fails, the file is the old one or the new one, whole.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>

#include "support/FailingAllocator.h"
#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

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
const std::vector<bool> kAll(kEdits.size(), true);

// Makes the edits, notes which of them succeeded, lets something happen to the file, and returns the result
// of MIniEndS.
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
std::string text_after(const std::string &before, const std::vector<bool> &succeeded) {
    const TestFolder folder;
    MIniHandle ini = MIniStartS(put_text(folder, "ini", before).c_str());
    for (size_t i = 0; i < succeeded.size(); ++i)
        EXPECT_TRUE(!succeeded[i] || kEdits[i].apply(ini));
    EXPECT_EQ(MIniEndS(ini), 1);
    return get_text(folder, "ini");
}

void expect_whole_file_whatever_allocation_fails(const std::string &before, const std::string &at_end,
                                                 FailureSpan span) {
    const TestFolder folder;
    std::map<std::vector<bool>, std::string> expected;  // by the edits that succeeded
    bool failed = true;
    for (uint64_t n = 1; failed; ++n) {
        SCOPED_TRACE(testing::Message() << "allocation " << n << (span == FailureSpan::Once ? "" : " on"));
        const std::string path = put_text(folder, "ini", before);
        std::vector<bool> succeeded;
        int32_t result = 0;
        {
            const FailingAllocator heap(n, span);
            result = edit_file(path, &succeeded, [&] { put_text(folder, "ini", at_end); });
            EXPECT_EQ(heap.live_blocks(), 0u);
            failed = heap.has_failed();
        }
        if (!expected.contains(succeeded)) expected[succeeded] = text_after(at_end, succeeded);
        EXPECT_EQ(get_text(folder, "ini"), result == 1 ? expected[succeeded] : at_end);
        EXPECT_EQ(folder.names(), std::vector<std::string>{"ini"});
        EXPECT_TRUE(failed || result == 1);
    }
}

TEST(IniFailure, EveryAllocation) {
    for (const FailureSpan span : {FailureSpan::Once, FailureSpan::ForGood}) {
        expect_whole_file_whatever_allocation_fails(old_text(), old_text(), span);
        // Somebody else adds a section between reading and writing back.
        expect_whole_file_whatever_allocation_fails(old_text(), "[Else]\nx=1\n" + old_text(), span);
    }
}

TEST(IniFailure, EveryLengthOfFileThatCanBeWritten) {
    const TestFolder folder;
    const std::string after = text_after(old_text(), kAll);
    void (*const handler)(int) = signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    for (size_t limit = 0; limit < after.size() + 100; limit += limit + 90 < after.size() ? size_t{89} : 1) {
        SCOPED_TRACE(limit);
        const std::string path = put_text(folder, "ini", old_text());
        const rlimit lower = {limit, old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lower);
        const int32_t result = edit_file(path);
        setrlimit(RLIMIT_FSIZE, &old);
        ASSERT_EQ(result, limit >= after.size() ? 1 : 0);
        ASSERT_EQ(get_text(folder, "ini"), result == 1 ? after : old_text());
        ASSERT_EQ(folder.names(), std::vector<std::string>{"ini"});
    }
    signal(SIGXFSZ, handler);
}

// Runs the work in a child process whose view of the folder is a file system of this many bytes, and returns
// what it returns; -1 where that is not permitted. The work must not use GoogleTest, which is why what it
// throws ends the child.
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

TEST(IniFailure, FullDisk) {
    const TestFolder folder;
    const std::string before = old_text(), after = text_after(old_text(), kAll);
    enum Outcome : int { Old, New, Wrong };
    bool seen[2] = {};
    // From room for the old file alone to room for two new ones; in between the copy over the file fails.
    for (size_t bytes = 4096 * (before.size() / 4096 + 1); bytes < before.size() + 2 * after.size() + 8192;
         bytes += 4096) {
        SCOPED_TRACE(bytes);
        const int outcome = on_small_file_system(folder.path(""), bytes, [&] {
            const int32_t result = edit_file(put_text(folder, "ini", before));
            if (folder.names() != std::vector<std::string>{"ini"}) return int{Wrong};
            const std::string text = get_text(folder, "ini");
            if (result == 1) return text == after ? int{New} : int{Wrong};
            return text == before ? int{Old} : int{Wrong};
        });
        if (outcome == -1) GTEST_SKIP() << "mounting a file system is not permitted here";
        ASSERT_TRUE(outcome == Old || outcome == New) << outcome;
        seen[outcome] = true;
    }
    EXPECT_TRUE(seen[Old] && seen[New]);
}

TEST(IniFailure, TheTemporaryFileCannotBeMadeOrTheFileIsGone) {
    const TestFolder folder;
    const std::string path = put_text(folder, "ini", old_text());
    std::filesystem::create_directory(folder.path("ini_tmp"));
    EXPECT_EQ(edit_file(path), 0);
    EXPECT_EQ(get_text(folder, "ini"), old_text());
    std::filesystem::remove(folder.path("ini_tmp"));

    const int32_t result = edit_file(path, nullptr, [&] { std::filesystem::remove(path); });
    EXPECT_EQ(result, 1) << "a file that is gone is made again";
    EXPECT_EQ(get_text(folder, "ini"), text_after(old_text(), kAll));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"ini"});
}

// Through a link, which must stay one; or with something mounted in its place, which cannot be replaced.
TEST(IniFailure, FullDiskBehindALinkOrAMount) {
    const TestFolder folder;
    const std::string before = old_text(), after = text_after(before, kAll);
    enum Outcome : int { Old, New, Kept, Wrong };
    for (const bool mounted : {false, true}) {
        bool seen[4] = {};
        for (size_t bytes = 4096 * (before.size() / 4096 + 1);
             bytes < before.size() + 2 * after.size() + 8192; bytes += 4096) {
            const int outcome = on_small_file_system(folder.path(""), bytes, [&] {
                const std::string path = put_text(folder, "ini", before), link = folder.path("link");
                std::filesystem::create_symlink("ini", link);
                if (mounted) mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr);
                const int32_t result = edit_file(link);
                const std::string text = get_text(folder, "ini");
                if (!std::filesystem::is_symlink(link)) return int{Wrong};
                if (folder.names() == std::vector<std::string>{"ini", "link"})
                    return text == after && result == 1    ? int{New}
                           : text == before && result == 0 ? int{Old}
                                                           : int{Wrong};
                edit_file(link);  // what there is of it; the whole file must not get lost by that
                return get_text(folder, "ini_tmp_old") == after && result == 0 ? int{Kept} : int{Wrong};
            });
            if (outcome == -1) GTEST_SKIP() << "mounting a file system is not permitted here";
            ASSERT_LT(outcome, Wrong) << bytes;
            seen[outcome] = true;
        }
        EXPECT_TRUE(seen[Old] && seen[New] && seen[Kept] == mounted);
    }
}

TEST(IniFailure, ReadOnlyFilesInAWritableFolder) {
    for (const std::string &name : {std::string("ini"), std::string(250, 'i')}) {
        const TestFolder folder;
        const std::string path = put_text(folder, name, old_text());
        std::filesystem::permissions(path, std::filesystem::perms{0444});
        std::filesystem::permissions(folder.path(""), std::filesystem::perms::all);
        std::vector<bool> succeeded;
        const uid_t user = geteuid();
        // To the superuser nothing is read-only.
        if (seteuid(user == 0 ? 65534 : user) != 0) GTEST_SKIP() << "there is no other user here";
        const int32_t result = edit_file(path, &succeeded);
        ASSERT_EQ(seteuid(user), 0);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(succeeded, kAll);
        EXPECT_EQ(get_text(folder, name), old_text());
        EXPECT_EQ(folder.names(), std::vector<std::string>{name});
    }
}

}  // namespace
}  // namespace quorv::test
