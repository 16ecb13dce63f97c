// Buffered bytes to a file descriptor: the tool's standard output, or a file it writes.
#ifndef QUORV_TOOLS_QUORV_OUTPUTSTREAM_H
#define QUORV_TOOLS_QUORV_OUTPUTSTREAM_H

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorv::tool {

class OutputStream {
public:
    // Does not own the descriptor. The name is for messages.
    OutputStream(int descriptor, std::string name);

    // Throw WriteFailure, or OutputClosed when the reader of a pipe has gone.
    void write(std::string_view text);
    void write(std::span<const uint8_t> bytes);
    template <typename... Values>
    void print(fmt::format_string<Values...> text, Values &&...values) {
        write(fmt::format(text, std::forward<Values>(values)...));
    }
    void flush();

    bool is_terminal() const;
    // Of the terminal; of what is none, any number.
    size_t columns() const;

private:
    void write_out(const char *bytes, size_t count);

    int descriptor_;
    std::string name_;
    std::vector<char> buffer_;
    size_t used_ = 0;
};

// How wide a terminal is, as far as that is known.
size_t terminal_columns(int descriptor);

}  // namespace quorv::tool

#endif
