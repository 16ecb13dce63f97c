// What is found wrong with a file while the work on it goes on; see the header.

#include "Problems.h"

#include "Failure.h"

namespace quorv::tool {

void Problems::add(const std::string &reason) {
    text_ += (text_.empty() || reason.empty() ? "" : "; ") + reason;
}

void Problems::add_first(const std::string &reason) {
    Problems all;
    all.add(reason);
    all.add(text_);
    text_ = all.text_;
}

void Problems::note(const std::function<void()> &work) {
    try {
        work();
    } catch (const Failure &failure) {
        if (failure.code != ExitCode::BadFile) throw;
        add(failure.what());
    }
}

void Problems::raise() const {
    if (!text_.empty()) throw Failure(ExitCode::BadFile, text_);
}

}  // namespace quorv::tool
