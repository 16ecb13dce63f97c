// How numbers and names look to people; see the header.

#include "Text.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace quorv::tool {

std::string time_text(uint64_t milliseconds) {
    const uint64_t seconds = milliseconds / 1000, minutes = seconds / 60;
    return fmt::format("{}:{:02}:{:02}.{:03}", minutes / 60, minutes % 60, seconds % 60, milliseconds % 1000);
}

std::string counted(uint64_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string size_text(uint64_t bytes) {
    if (bytes < 1000) return counted(bytes, "byte");
    static constexpr const char *kUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    size_t unit = 0;
    auto value = static_cast<double>(bytes) / 1000;
    for (; value >= 999.95; ++unit)
        value /= 1000;
    return fmt::format("{:.1f} {}", value, kUnits[unit]);
}

std::string fourcc_text(uint32_t fourcc) {
    if (fourcc == 0) return {};
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(fourcc >> shift & 0xFF);
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; })) return text;
    return fmt::format("0x{:08X}", fourcc);
}

std::string printable(std::string_view name) {
    if (name.empty()) return "''";
    std::string text(name);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
    return text;
}

Style style_for(const OutputStream &out) {
    const char *terminal = std::getenv("TERM");
    const char *no_colour = std::getenv("NO_COLOR");
    if (!out.is_terminal() || terminal == nullptr || std::strcmp(terminal, "dumb") == 0 ||
        (no_colour != nullptr && *no_colour != '\0'))
        return {};
    return {"\033[1m", "\033[2m", "\033[0m"};
}

void write_title(OutputStream &out, std::string_view titles) {
    const Style style = style_for(out);
    out.print("{}{}{}\n", style.faint, titles, style.end);
}

void complain(std::string_view name, std::string_view reason) {
    const std::string line = fmt::format("quorv: {}: {}\n", printable(name), reason);
    // Nothing is left to do when this fails.
    [[maybe_unused]] const ssize_t put = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace quorv::tool
