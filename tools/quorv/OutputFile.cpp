// A file that appears under its name only when it is complete; see the header.

#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "Failure.h"
#include "Interrupt.h"
#include "Text.h"

namespace quorv::tool {

namespace {

std::string resolve(const std::string &path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) != nullptr ? resolved : path;
}

// Fails with EEXIST rather than replace something. Some file systems cannot promise that at once.
bool rename_to_free_name(const char *from, const char *to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    if (access(to, F_OK) != 0) return ::rename(from, to) == 0;
    errno = EEXIST;
    return false;
}

mode_t default_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

class TemporaryFile {
public:
    // In the folder of the target, as only a file of the same file system can take its name at once.
    explicit TemporaryFile(const std::string &target)
        : path_(target.substr(0, target.find_last_of('/') + 1) + ".quorv-XXXXXX") {
        descriptor_ = mkostemp(path_.data(), O_CLOEXEC);
        if (descriptor_ >= 0) set_unfinished_file(path_);
    }
    ~TemporaryFile() {
        if (descriptor_ < 0) return;
        unlink(path_.c_str());
        set_unfinished_file({});
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    // The caller closes it. Negative when there is no file, with the reason in errno.
    int descriptor() const { return descriptor_; }
    bool rename_to(const std::string &target, bool may_replace) {
        const char *from = path_.c_str(), *to = target.c_str();
        const bool renamed = may_replace ? ::rename(from, to) == 0 : rename_to_free_name(from, to);
        if (!renamed) return false;
        descriptor_ = -1;
        set_unfinished_file({});
        return true;
    }

private:
    std::string path_;
    int descriptor_ = -1;
};

OutputFile::OutputFile(const std::string &path, const FileSource *input, bool may_replace)
    : name_(path),
      target_(resolve(path)),
      stream_(STDOUT_FILENO, "standard output"),
      may_replace_(may_replace) {
    if (path == "-") {
        struct stat existing = {};
        const bool known = fstat(STDOUT_FILENO, &existing) == 0 && S_ISREG(existing.st_mode);
        if (stream_.is_terminal())
            throw Failure(ExitCode::Usage,
                          "the output is not for a terminal: give a file, or a pipe to read it");
        if (known && input != nullptr && input->is_same_file(existing))
            throw Failure(ExitCode::Usage, "the output would overwrite this file");
        const bool appends = (fcntl(STDOUT_FILENO, F_GETFL) & O_APPEND) != 0;
        rewritable_stdout_ = known && !appends && lseek(STDOUT_FILENO, 0, SEEK_CUR) == 0;
        return;
    }
    open(input);
    if (file_.get() < 0) throw WriteFailure(path, errno);
    stream_ = OutputStream(file_.get(), path);
}

OutputFile::~OutputFile() = default;

// Leaves no descriptor behind, and the reason in errno, when the system refuses.
void OutputFile::open(const FileSource *input) {
    struct stat existing = {};
    replaces_ = stat(target_.c_str(), &existing) == 0;
    if (replaces_ && !may_replace_) refuse_to_replace();
    if (!replaces_) {
        make_temporary(nullptr);
    } else if (input != nullptr && input->is_same_file(existing)) {
        throw Failure(ExitCode::Usage, "the output would overwrite this file");
    } else if (!S_ISREG(existing.st_mode)) {
        file_ = Descriptor(::open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
    } else if (access(target_.c_str(), W_OK) == 0) {
        // A file that is read-only stays, although its folder would let it be replaced.
        make_temporary(&existing);
    }
}

void OutputFile::make_temporary(const struct stat *existing) {
    temporary_ = std::make_unique<TemporaryFile>(target_);
    file_ = Descriptor(temporary_->descriptor());
    if (file_.get() < 0) return;
    // File systems without owners or modes refuse; the file is then the user's own and private.
    if (existing != nullptr && fchown(file_.get(), existing->st_uid, existing->st_gid) != 0) errno = 0;
    if (fchmod(file_.get(), existing != nullptr ? existing->st_mode & 07777 : default_mode()) != 0) errno = 0;
}

void OutputFile::finish() {
    stream_.flush();
    if (file_.get() < 0) return;
    // An earlier file goes only once its successor is on the disk.
    if (temporary_ && replaces_ && fsync(file_.get()) != 0) throw WriteFailure(name_, errno);
    if (::close(file_.release()) != 0) throw WriteFailure(name_, errno);
    if (!temporary_ || temporary_->rename_to(target_, may_replace_)) return;
    if (!may_replace_ && errno == EEXIST) refuse_to_replace();
    throw WriteFailure(name_, errno);
}

void OutputFile::refuse_to_replace() const {
    throw Failure(ExitCode::Usage,
                  fmt::format("{} exists already: '-o {}' replaces it", printable(name_), printable(name_)));
}

bool OutputFile::finish_without_replacing() {
    if (temporary_ && replaces_) return false;
    finish();
    return true;
}

void OutputFile::rewrite_start(std::string_view bytes) {
    stream_.flush();
    const int file = temporary_ ? file_.get() : STDOUT_FILENO;
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t put = pwrite(file, &bytes[done], bytes.size() - done, static_cast<off_t>(done));
        if (put < 0 && errno != EINTR) throw WriteFailure(name_, errno);
        if (put > 0) done += static_cast<size_t>(put);
    }
}

void finish_output(OutputFile &output, Problems problems, const std::string &amount,
                   const std::string &done) {
    if (problems.empty()) {
        output.finish();
        return;
    }
    const bool kept = output.finish_without_replacing();
    problems.add(kept ? fmt::format("{} {}", amount, done)
                      : fmt::format("only {} could be {}, so {} stays as it was", amount, done,
                                    printable(output.name())));
    problems.raise();
}

}  // namespace quorv::tool
