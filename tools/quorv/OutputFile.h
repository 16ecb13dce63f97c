// A file that appears under its name only when it is complete: until then, and after a failure, what was
// there before stays as it was.
#ifndef QUORV_TOOLS_QUORV_OUTPUTFILE_H
#define QUORV_TOOLS_QUORV_OUTPUTFILE_H

#include <memory>
#include <string>

#include "FileSource.h"
#include "OutputStream.h"
#include "Problems.h"

namespace quorv::tool {

// Gone when this object is, and when the process is interrupted, unless it got another name. One at a time.
class TemporaryFile;

class OutputFile {
public:
    // "-" is standard output. Devices and pipes are written directly, as there is nothing to keep. Refuses
    // the input itself, a terminal and, unless it may replace, whatever is there. Throws Failure.
    OutputFile(const std::string &path, const FileSource &input, bool may_replace = true)
        : OutputFile(path, &input, may_replace) {}
    // Of a command that has no single input.
    explicit OutputFile(const std::string &path) : OutputFile(path, nullptr, true) {}
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    OutputStream &stream() { return stream_; }
    // Whether it is a file whose first bytes can be written again.
    bool is_rewritable() const { return temporary_ != nullptr || rewritable_stdout_; }
    void rewrite_start(std::string_view bytes);
    // Gives the file its name, in place of an earlier file of that name.
    void finish();
    // The same for an incomplete result: false, and nothing done, when it would replace an earlier file.
    bool finish_without_replacing();
    // As the user wrote it.
    const std::string &name() const { return name_; }

private:
    OutputFile(const std::string &path, const FileSource *input, bool may_replace);
    void open(const FileSource *input);
    void make_temporary(const struct stat *existing);
    [[noreturn]] void refuse_to_replace() const;

    std::string name_;    // as the user wrote it
    std::string target_;  // where symbolic links lead
    std::unique_ptr<TemporaryFile> temporary_;
    Descriptor file_;
    OutputStream stream_;
    bool may_replace_;
    bool replaces_ = false;
    bool rewritable_stdout_ = false;
};

// Finishes a file of what could be read: `amount` of the input was `done` ("9 frames", "extracted"). With
// problems it throws Failure, and what is there is kept, but not in place of something else.
void finish_output(OutputFile &output, Problems problems, const std::string &amount, const std::string &done);

}  // namespace quorv::tool

#endif
