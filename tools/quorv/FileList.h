// Which files a command over many works on.
#ifndef QUORV_TOOLS_QUORV_FILELIST_H
#define QUORV_TOOLS_QUORV_FILELIST_H

#include <string>
#include <vector>

namespace quorv::tool {

struct ListedFile {
    std::string path;
    bool is_named = true;  // by the user, and not found in a folder
};

// The files of each path, in the order of the paths. What a folder and those in it hold comes in the order of
// the bytes of names; of that only regular files count, and links to such. A folder that cannot be listed is
// in the list itself.
std::vector<ListedFile> list_files(const std::vector<std::string> &paths);

// The names in a file, or on standard input for "-": one a line, or each with a zero byte behind it. Throws
// Failure.
std::vector<std::string> read_names(const std::string &path, bool zero_separated);

}  // namespace quorv::tool

#endif
