// Directories and file information; the directory search against brute force over names and patterns.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <quorv/platform/directory.h>
#include <quorv/platform/stream.h>
#include <quorv/platform/strings.h>
#include <string.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>

#include "platform/Wildcard.h"
#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

using Names = std::vector<std::string>;

// Every way a star could be resolved, as a table of prefixes.
bool brute_force_match(const std::string &pattern, const std::string &name) {
    std::vector<std::vector<bool>> matches(pattern.size() + 1, std::vector<bool>(name.size() + 1));
    matches[0][0] = true;
    for (size_t p = 1; p <= pattern.size(); ++p) {
        for (size_t n = 0; n <= name.size(); ++n) {
            const char c = pattern[p - 1];
            if (c == '*')
                matches[p][n] = matches[p - 1][n] || (n > 0 && matches[p][n - 1]);
            else if (n > 0)
                matches[p][n] = matches[p - 1][n - 1] &&
                                (c == '?' || c == name[n - 1] ||
                                 (name[n - 1] >= 'A' && name[n - 1] <= 'Z' && c == name[n - 1] + 32));
        }
    }
    return matches[pattern.size()][name.size()];
}

TEST(Wildcard, AgreesWithBruteForce) {
    std::mt19937 engine(1);
    const auto random_text = [&engine](const std::string &alphabet, size_t longest) {
        std::string text(engine() % (longest + 1), ' ');
        for (char &c : text)
            c = alphabet[engine() % alphabet.size()];
        return text;
    };
    int matched = 0;
    for (int i = 0; i < 100000; ++i) {
        const std::string pattern = random_text("ab.*?*", 9), name = random_text("abAB.", 12);
        ASSERT_EQ(matches_wildcard(pattern.c_str(), name.c_str()), brute_force_match(pattern, name))
            << pattern << " " << name;
        matched += brute_force_match(pattern, name);
    }
    EXPECT_GT(matched, 7000);
    EXPECT_LT(matched, 93000);
}

TEST(Wildcard, ManyStarsTakeNoExponentialTime) {
    std::string pattern;
    for (int i = 0; i < 2000; ++i)
        pattern += "*a";
    EXPECT_FALSE(matches_wildcard((pattern + "b").c_str(), std::string(4000, 'a').c_str()));
    EXPECT_TRUE(matches_wildcard(pattern.c_str(), std::string(4000, 'a').c_str()));
}

// All names a search delivers, sorted, each checked against what else it says.
Names found(const std::string &pattern_path, uint32_t filter) {
    Names names;
    char name[1024];
    uint32_t is_directory = 9;
    MDirHandle find = MDirStartFindS(pattern_path.c_str(), filter);
    if (find == nullptr) return {"(no search)"};
    while (MDirFindNextS(find, name, &is_directory) == 1) {
        EXPECT_EQ(is_directory, std::filesystem::is_directory(name) ? 1u : 0u);
        names.emplace_back(name);
    }
    EXPECT_STREQ(name, "");
    EXPECT_EQ(MDirEndFind(find), 1);
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Directory, SearchAgreesWithBruteForce) {
    const TestFolder folder;
    const Names files = {"clip.avi", "CLIP2.AVI", "movie.Asf", "noext", ".hidden", "a.b.c", "x[1].avi", "*"};
    const Names folders = {"Clips.avi", "sub", ".", ".."};
    for (const std::string &name : files)
        folder.put(name, {1});
    for (const std::string &name : folders)
        std::filesystem::create_directory(folder.path(name));
    ASSERT_EQ(mkfifo(folder.path("pipe.avi").c_str(), 0600), 0);
    const std::string directory = folder.path("");
    for (const std::string &pattern : Names{"*.*", "*", "*.AVI", "*.avi", "clip?.avi", "c*", "?*.?*.?", "*x*",
                                            "?", "??", ".*", "*.", "no match*", "NOEXT*", "*[1]*"}) {
        for (const uint32_t filter : {MDIR_FILES, MDIR_DIRECTORIES, MDIR_BOTH}) {
            std::string folded = pattern;
            MSCsMakeLower(folded.data());
            Names expected;
            for (const bool of_folders : {false, true}) {
                if (filter == (of_folders ? MDIR_FILES : MDIR_DIRECTORIES)) continue;
                for (const std::string &name : of_folders ? folders : files) {
                    if (pattern == "*.*" || brute_force_match(folded, name))
                        expected.push_back(directory + name);
                }
            }
            std::sort(expected.begin(), expected.end());
            EXPECT_EQ(found(directory + pattern, filter), expected) << pattern << " " << filter;
        }
    }
    const Names all = found(directory, MDIR_BOTH);
    EXPECT_EQ(all.size(), files.size() + folders.size());
    EXPECT_EQ(found(directory.substr(0, directory.size() - 1), MDIR_BOTH), all) << "without its separator";
    for (const std::string &nothing : {directory + "none", directory + "none/*.avi", std::string()})
        EXPECT_EQ(found(nothing, MDIR_BOTH), Names{"(no search)"});
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory);
    EXPECT_EQ(found("*.avi", MDIR_FILES), (Names{"CLIP2.AVI", "clip.avi", "x[1].avi"}));
    std::filesystem::current_path(before);
}

TEST(Directory, ExtendedAndWideForms) {
    const TestFolder folder;
    const std::string path = folder.put("clip.avi", {1, 2, 3}), made = folder.path("new");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    const auto expect_clip = [&status](const MFileInfo &info) {
        EXPECT_EQ(info.attributes, uint32_t{MFILE_REGULAR});
        EXPECT_EQ(info.size, 3u);
        EXPECT_EQ(info.status_change_time, static_cast<uint32_t>(status.st_ctime));
        EXPECT_EQ(info.access_time, static_cast<uint32_t>(status.st_atime));
        EXPECT_EQ(info.modification_time, static_cast<uint32_t>(status.st_mtime));
    };
    uint16_t wide_path[512], wide_name[512];
    char name[512];
    MCharToWChar(folder.path("*.avi").c_str(), wide_path, 512);
    for (MDirHandle (*const start)(const uint16_t *, uint32_t) : {MDirStartFindW, MDirStartFindExW}) {
        MFileInfo info;
        MDirHandle find = start(wide_path, MDIR_FILES);
        EXPECT_EQ(MDirFindNextExW(find, wide_name, &info), 1);
        EXPECT_EQ(std::string(wide_name, wide_name + MWCsLen(wide_name)), path);
        expect_clip(info);
        EXPECT_EQ(MDirFindNextExW(find, wide_name, &info), 0);
        EXPECT_EQ(wide_name[0], 0);
        EXPECT_EQ(MDirEndFind(find), 1);
    }
    MFileInfo info;
    MDirHandle find = MDirStartFindExS(folder.path("*.avi").c_str(), MDIR_BOTH);
    EXPECT_EQ(MDirFindNextExS(find, name, &info), 1);
    EXPECT_EQ(name, path);
    EXPECT_EQ(MDirEndFindEx(find), 1);
    MCharToWChar(made.c_str(), wide_path, 512);
    EXPECT_EQ(MGetFileInfoW(&info, wide_path), 0);
    EXPECT_EQ(MDirectoryCreateW(wide_path), 1);
    EXPECT_EQ(MDirectoryCreateW(wide_path) + MIsDirectoryS(path.c_str()), 0) << "it exists";
    EXPECT_EQ(MIsDirectoryW(wide_path) + MGetFileInfoW(&info, wide_path), 2);
    EXPECT_EQ(info.attributes, uint32_t{MFILE_DIRECTORY});
    EXPECT_EQ(MGetFileInfoS(&info, "/dev/null"), 1);
    EXPECT_EQ(info.attributes, 0u);
    EXPECT_EQ(MDirectoryRemoveW(wide_path), 1);
    EXPECT_EQ(MDirectoryRemoveS(made.c_str()), 0);
    EXPECT_EQ(MIsSameFileS("/A/b", "/a/B") + MIsSameFileS("/a", "/b"), 1);
    const uint16_t upper[] = {'A', 0x1C9, 0}, lower[] = {'a', 0x1C9, 0}, other[] = {'a', 0x1CA, 0};
    EXPECT_EQ(MIsSameFileW(upper, lower) + MIsSameFileW(lower, other), 1);
}

TEST(Directory, DeadLinksNullHandlesAndNoMemory) {
    const TestFolder folder;
    std::filesystem::create_symlink("nowhere", folder.path("link"));
    char name[512] = "as it was";
    {
        const FailingAllocator heap;
        MDirHandle find = MDirStartFindS(folder.path("*").c_str(), MDIR_FILES);
        EXPECT_EQ(MDirFindNextS(find, name, nullptr), 0);
        EXPECT_STREQ(name, "as it was") << "which tells this from the end of the directory";
        EXPECT_EQ(heap.live_blocks(), 0u) << "the search has freed itself";
    }
    MFileInfo info;
    EXPECT_EQ(MDirFindNextS(nullptr, name, nullptr) + MDirFindNextExS(nullptr, name, &info) +
                  MDirFindNextExW(nullptr, nullptr, &info) + MDirEndFind(nullptr) +
                  MGetFileInfoS(&info, nullptr) + MGetFileInfoS(nullptr, "/") + MIsDirectoryS(nullptr) +
                  MDirectoryCreateS(nullptr) + MDirectoryRemoveS(nullptr) + MIsSameFileS(nullptr, "a"),
              0);
    EXPECT_EQ(MDirStartFindS(nullptr, MDIR_BOTH), nullptr);
    EXPECT_EQ(MDirStartFindW(nullptr, MDIR_BOTH), nullptr);
    for (uint64_t n = 1; n <= 3; ++n) {
        const FailingAllocator heap(n);
        EXPECT_EQ(MDirStartFindS("/tmp/a*", MDIR_BOTH), nullptr) << n;
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
}

TEST(Directory, FilesDatedAfter2038) {
    const TestFolder folder;
    const std::string path = folder.put("late", {1, 2, 3});
    constexpr uint32_t kIn2040 = 2208988800;
    const timespec times[] = {{kIn2040, 0}, {kIn2040 + 1, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    MFileInfo info = {};
    EXPECT_EQ(MGetFileInfoS(&info, path.c_str()), 1);
    EXPECT_EQ(info.access_time, kIn2040);
    EXPECT_EQ(info.modification_time, kIn2040 + 1);
    EXPECT_EQ(MStreamFileGetSizeS(path.c_str()), 3u);
    EXPECT_EQ(found(folder.path("*"), MDIR_FILES), Names{path});
}

// A backslash ends a directory and, in the names of entries, what is not matched.
TEST(Directory, BackslashesSeparate) {
    const TestFolder folder;
    const std::string directory = folder.path("sub\\");
    std::filesystem::create_directory(directory);
    folder.put("sub\\/a.avi", {1});
    folder.put("sub\\/b\\a.avi", {1});
    const Names both = {directory + "a.avi", directory + "b\\a.avi"};
    for (const std::string pattern : {"", "a*", "?.avi"})
        EXPECT_EQ(found(directory + pattern, MDIR_FILES), both) << pattern;
    EXPECT_EQ(found(directory + "b*", MDIR_FILES), Names{});
}

}  // namespace
}  // namespace quorv::test
