// Saving INI files when the process is killed, or the power fails: the file is the old one or the new one,
// whole.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "unit/platform/IniEdits.h"

namespace quorv::test {
namespace {

// Of the calls that matter to a loss of power.
std::string name_of_call(uint64_t number, const uint64_t *arguments) {
    switch (number) {
        case SYS_fsync:
            return "fsync ";
        case SYS_rename:
            return "rename ";
        case SYS_unlink:
            return "unlink ";
        case SYS_openat:
            return (arguments[2] & O_TRUNC) != 0 ? "empty " : "";
        default:
            return "";
    }
}

enum class Traced { Killed, Ended, NotPermitted };

// Runs the work in a child that is killed before one of its system calls, counted from 0. Notes the calls
// that decide what is where on the disk. The work must not use GoogleTest.
Traced kill_at_call(int last, const std::function<void()> &work, std::string *calls = nullptr) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || raise(SIGSTOP) != 0) _exit(1);
        work();
        _exit(0);
    }
    int status = 0, call = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        __ptrace_syscall_info info = {};
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
        ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(info), &info);
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            if (call++ == last) kill(child, SIGKILL);
            if (calls != nullptr) *calls += name_of_call(info.entry.nr, info.entry.args);
        }
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    if (WIFSIGNALED(status)) return Traced::Killed;
    return WEXITSTATUS(status) == 0 ? Traced::Ended : Traced::NotPermitted;
}

// A file in a folder of its own, with another name that the settings are opened by.
class KilledSave : public testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "sanitizers do not work in a traced process";
#endif
        if (kill_at_call(-1, [] {}) != Traced::Ended) GTEST_SKIP() << "tracing is not permitted here";
        std::filesystem::create_directory(real_.path("other"));
    }
    // Returns the path by which it is to be opened.
    std::string make(const std::string &before, bool hard_link) {
        const std::string path = real_.put_text("ini", before), link = real_.path("other/ini");
        for (const std::string name : {"other/ini", "ini_tmp", "ini_tmp_old", "ini_wip"})
            std::filesystem::remove(real_.path(name));
        hard_link ? std::filesystem::create_hard_link(path, link)
                  : std::filesystem::create_symlink(path, link);
        return hard_link ? path : link;
    }

    const MemoryFolder real_;
};

const std::string kSmall =
    "; of 80 bytes\n[Video]\nWidth=640\nkey3=3\nkey4=4\n[Audio]\nRate=44100\n; the end.....\n";

TEST_F(KilledSave, LeavesTheOldOrTheNewFileAtEverySystemCall) {
    std::string large = old_text();
    while (large.size() < 10240)
        large += "; another comment that makes it longer\n";
    for (const std::string &before : {kSmall, large}) {
        const std::string after = text_after(before), later = text_after(after);
        for (const bool hard_link : {false, true}) {
            int seen_old = 0, seen_new = 0, seen_cut = 0;
            Traced outcome = Traced::Killed;
            for (int call = 0; outcome == Traced::Killed; ++call) {
                SCOPED_TRACE(testing::Message()
                             << before.size() << (hard_link ? " linked" : "") << " bytes, call " << call);
                const std::string path = make(before, hard_link);
                outcome = kill_at_call(call, [&] { edit_file(path); });
                const std::string left = real_.get_text("ini");
                ++(left == before ? seen_old : left == after ? seen_new : seen_cut);
                ASSERT_EQ(MIniEndS(MIniStartS(path.c_str())), 1);
                const std::string found = real_.get_text("ini");
                ASSERT_TRUE(found == after || (found == before && left == before));
                ASSERT_EQ(edit_file(path), 1);
                ASSERT_EQ(real_.get_text("ini"), found == before ? after : later)
                    << "nothing left is in the way";
                ASSERT_EQ(real_.get_text("other/ini"), real_.get_text("ini"))
                    << "both names still lead to it";
                ASSERT_FALSE(std::filesystem::exists(real_.path("ini_wip")));
            }
            ASSERT_EQ(outcome, Traced::Ended);
            EXPECT_GT(seen_old, 10);
            EXPECT_GT(seen_new, 1);
            EXPECT_EQ(seen_cut > 0, hard_link) << "only a file with other names is ever written over";
        }
    }
}

// The order in which a loss of power cannot do more than a kill.
TEST_F(KilledSave, BringsEachStepToTheDiskBeforeTheNext) {
    for (const bool hard_link : {false, true}) {
        const std::string path = make(kSmall, hard_link);
        std::string calls;
        ASSERT_EQ(kill_at_call(
                      -1, [&] { edit_file(path); }, &calls),
                  Traced::Ended);
        EXPECT_EQ(calls, hard_link ? "unlink fsync rename fsync empty fsync unlink "
                                   : "unlink fsync rename rename fsync ");
    }
}

}  // namespace
}  // namespace quorv::test
