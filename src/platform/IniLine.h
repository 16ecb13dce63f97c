// One line of an INI file, classified and taken apart.
#ifndef QUORV_SRC_PLATFORM_INILINE_H
#define QUORV_SRC_PLATFORM_INILINE_H

#include <stddef.h>
#include <stdint.h>

#include <string_view>

namespace quorv {

// What the parser's buffer can hold. A line needs room for an ending of two bytes beside its text.
constexpr size_t kIniBufferSize = 2048;
constexpr size_t kMaxIniText = kIniBufferSize - 2;

enum class IniLineClass : uint32_t {
    Section = 10,
    Key = 11,
    Comment = 20,
    Empty = 30,
    Invalid = 40,
    Incomplete = 50  // no line ending in what there is
};

struct IniLine {
    IniLineClass line_class;
    std::string_view name;   // of a section or key, without blanks at its ends
    std::string_view value;  // of a key, likewise
    size_t text_length;      // bytes without the ending
    size_t length;           // bytes with it
};

inline bool is_ini_blank(char c) {
    return c == ' ' || c == '\t';
}

// The text without blanks at its ends.
std::string_view trim_ini_blanks(std::string_view text);

// The line at the start of `text`.
IniLine classify_ini_line(std::string_view text);

}  // namespace quorv

#endif
