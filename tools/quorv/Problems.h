// What is found wrong with a file while the work on it goes on.
#ifndef QUORV_TOOLS_QUORV_PROBLEMS_H
#define QUORV_TOOLS_QUORV_PROBLEMS_H

#include <functional>
#include <string>

namespace quorv::tool {

// Reasons in one line, with semicolons between them. An empty reason is none.
class Problems {
public:
    void add(const std::string &reason);
    void add_first(const std::string &reason);
    // Does the work. A Failure that says that the file is bad ends it and is noted; others pass.
    void note(const std::function<void()> &work);

    bool empty() const { return text_.empty(); }
    const std::string &text() const { return text_; }
    // Throws them as one Failure, if there are any.
    void raise() const;

private:
    std::string text_;
};

}  // namespace quorv::tool

#endif
