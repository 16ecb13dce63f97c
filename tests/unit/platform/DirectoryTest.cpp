// Directories and file information; the directory search against fnmatch over names and patterns.

#include <fcntl.h>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <quorv/platform/directory.h>
#include <quorv/platform/stream.h>
#include <quorv/platform/strings.h>
#include <sys/stat.h>

#include <set>

#include "support/FailingAllocator.h"
#include "support/TestFolder.h"

namespace quorv::test {
namespace {

using Names = std::set<std::string>;

bool peer_matches(std::string pattern, const std::string &name) {
    for (size_t at = 0; (at = pattern.find('[', at)) != pattern.npos; at += 2)
        pattern.insert(at, 1, '\\');
    return fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

// All names that a search delivers.
Names found(const std::string &pattern_path, uint32_t filter) {
    Names names;
    char name[1024];
    uint32_t is_directory = 9;
    MDirHandle find = MDirStartFindS(pattern_path.c_str(), filter);
    if (find == nullptr) return {"(no search)"};
    while (MDirFindNextS(find, name, &is_directory) == 1) {
        EXPECT_EQ(is_directory, std::filesystem::is_directory(name) ? 1u : 0u);
        EXPECT_TRUE(names.insert(name).second) << name;
    }
    EXPECT_STREQ(name, "");
    EXPECT_EQ(MDirEndFind(find), 1);
    return names;
}

TEST(Directory, SearchAgreesWithFnmatch) {
    const TestFolder folder;
    const std::string directory = folder.path(""), many(200, 'a');
    std::string stars;
    while (stars.size() < many.size())
        stars += "*a";
    const Names files = {"clip.avi", "CLIP2.AVI", "movie.Asf", "noext",    ".hidden",
                         "a.b.c",    "x[1].avi",  "*",         "ab.abb.b", many};
    const Names folders = {"Clips.avi", "sub", ".", ".."};
    const Names patterns = {"*.*",   "*",     "*.AVI", "*.avi", "clip?.avi", "c*",        "?*.?*.?",
                            "*x*",   "?",     "??",    ".*",    "*.",        "no match*", "NOEXT*",
                            "*[1]*", "a*b*b", "*b?.*", "*?*b",  "**.**i",    "a*?b",      stars};
    for (const std::string &name : files)
        folder.put(name, {1});
    for (const std::string &name : folders)
        std::filesystem::create_directory(folder.path(name));
    ASSERT_EQ(mkfifo(folder.path("pipe.avi").c_str(), 0600), 0);
    for (const std::string &pattern : patterns) {
        for (const uint32_t filter : {MDIR_FILES, MDIR_DIRECTORIES, MDIR_BOTH}) {
            Names expected;
            for (const bool of_folders : {false, true}) {
                if (filter == (of_folders ? MDIR_FILES : MDIR_DIRECTORIES)) continue;
                for (const std::string &name : of_folders ? folders : files) {
                    if (pattern == "*.*" || peer_matches(pattern, name)) expected.insert(directory + name);
                }
            }
            EXPECT_EQ(found(directory + pattern, filter), expected) << pattern << " " << filter;
        }
    }
    // Resolving so many stars in every way would take for ever.
    EXPECT_EQ(found(directory + stars + "b", MDIR_BOTH), Names{});
    EXPECT_EQ(found(directory, MDIR_BOTH).size(), files.size() + folders.size());
    EXPECT_EQ(found(directory.substr(0, directory.size() - 1), MDIR_BOTH), found(directory, MDIR_BOTH));
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
    constexpr uint32_t kIn2040 = 2208988800;
    const timespec times[] = {{kIn2040, 0}, {kIn2040 + 1, 0}};
    struct stat status;
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(MStreamFileGetSizeS(path.c_str()), 3u);
    EXPECT_EQ(found(folder.path("*.avi"), MDIR_FILES), Names{path});
    const std::string pattern = folder.path("*.avi");
    uint16_t wide_path[512], wide_name[512];
    char name[512];
    MFileInfo info;
    MCharToWChar(pattern.c_str(), wide_path, 512);
    for (MDirHandle find : {MDirStartFindW(wide_path, MDIR_FILES), MDirStartFindExW(wide_path, MDIR_FILES),
                            MDirStartFindExS(pattern.c_str(), MDIR_FILES)}) {
        info = {};
        EXPECT_EQ(MDirFindNextExW(find, wide_name, &info), 1);
        EXPECT_EQ(std::string(wide_name, wide_name + MWCsLen(wide_name)), path);
        EXPECT_EQ(info.attributes, uint32_t{MFILE_REGULAR});
        EXPECT_EQ(info.size, 3u);
        EXPECT_EQ(info.status_change_time, static_cast<uint32_t>(status.st_ctime));
        EXPECT_EQ(info.access_time, kIn2040);
        EXPECT_EQ(info.modification_time, kIn2040 + 1);
        EXPECT_EQ(MDirFindNextExW(find, wide_name, &info), 0);
        EXPECT_EQ(wide_name[0], 0);
        EXPECT_EQ(MDirEndFindEx(find), 1);
    }
    MDirHandle find = MDirStartFindS(pattern.c_str(), MDIR_FILES);
    EXPECT_EQ(MDirFindNextExS(find, name, &info), 1);
    EXPECT_EQ(MDirEndFind(find), 1);
    EXPECT_EQ(name, path);
    MCharToWChar(made.c_str(), wide_path, 512);
    EXPECT_EQ(MGetFileInfoW(&info, wide_path), 0);
    EXPECT_EQ(MDirectoryCreateW(wide_path), 1);
    EXPECT_EQ(MDirectoryCreateW(wide_path), 0) << "it exists";
    EXPECT_EQ(MIsDirectoryW(wide_path), 1);
    EXPECT_EQ(MIsDirectoryS(path.c_str()), 0);
    EXPECT_EQ(MGetFileInfoW(&info, wide_path), 1);
    EXPECT_EQ(info.attributes, uint32_t{MFILE_DIRECTORY});
    EXPECT_EQ(MGetFileInfoS(&info, "/dev/null"), 1);
    EXPECT_EQ(info.attributes, 0u);
    EXPECT_EQ(MDirectoryRemoveW(wide_path), 1);
    EXPECT_EQ(MDirectoryRemoveS(made.c_str()), 0);
    EXPECT_EQ(MIsSameFileS("/A/b", "/a/B"), 1);
    EXPECT_EQ(MIsSameFileS("/a", "/b"), 0);
    const uint16_t upper[] = {'A', 0x1C9, 0}, lower[] = {'a', 0x1C9, 0}, other[] = {'a', 0x1CA, 0};
    EXPECT_EQ(MIsSameFileW(upper, lower), 1);
    EXPECT_EQ(MIsSameFileW(lower, other), 0);
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
    for (const int32_t refused :
         {MDirFindNextS(nullptr, name, nullptr), MDirFindNextExW(nullptr, nullptr, &info),
          MDirEndFind(nullptr), MGetFileInfoS(&info, nullptr), MGetFileInfoS(nullptr, "/"),
          MIsDirectoryS(nullptr), MDirectoryCreateS(nullptr), MDirectoryRemoveS(nullptr),
          MIsSameFileS(nullptr, "a")})
        EXPECT_EQ(refused, 0);
    for (uint64_t n = 1; n <= 4; ++n) {
        const char *path = n == 4 ? nullptr : "/tmp/a*";
        const FailingAllocator heap(n);
        EXPECT_EQ(MDirStartFindS(path, MDIR_BOTH), nullptr) << n;
        EXPECT_EQ(heap.live_blocks(), 0u);
    }
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
