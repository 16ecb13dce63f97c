// One line of an INI file, classified and taken apart; see the header.

#include "platform/IniLine.h"

#include <string.h>

namespace quorv {
namespace {

// Splits the text at the first `mark`; false, with nothing changed, when there is none.
bool split_at(std::string_view text, char mark, std::string_view *before, std::string_view *after) {
    const void *found = text.empty() ? nullptr : memchr(text.data(), mark, text.size());
    if (found == nullptr) return false;
    const auto at = static_cast<size_t>(static_cast<const char *>(found) - text.data());
    *before = {text.data(), at};
    *after = {text.data() + at + 1, text.size() - at - 1};
    return true;
}

// `text` begins with the opening bracket.
void classify_section(std::string_view text, IniLine *line) {
    text.remove_prefix(1);
    std::string_view name, rest;
    if (!split_at(text, ']', &name, &rest) || !trim_ini_blanks(rest).empty()) return;
    line->line_class = IniLineClass::Section;
    line->name = trim_ini_blanks(name);
}

void classify_key(std::string_view text, IniLine *line) {
    std::string_view name, value;
    if (!split_at(text, '=', &name, &value)) return;
    line->line_class = IniLineClass::Key;
    line->name = trim_ini_blanks(name);
    line->value = trim_ini_blanks(value);
}

}  // namespace

std::string_view trim_ini_blanks(std::string_view text) {
    while (!text.empty() && is_ini_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_ini_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

IniLine classify_ini_line(std::string_view text) {
    IniLine line = {};
    line.line_class = IniLineClass::Incomplete;
    std::string_view own, rest;
    if (!split_at(text, '\n', &own, &rest)) return line;
    line.length = own.size() + 1;
    if (!own.empty() && own.back() == '\r') own.remove_suffix(1);
    line.text_length = own.size();

    line.line_class = IniLineClass::Invalid;
    own = trim_ini_blanks(own);
    if (own.empty()) {
        line.line_class = IniLineClass::Empty;
        return line;
    }
    switch (own.front()) {
        case '#':
        case '*':
        case ';':
            line.line_class = IniLineClass::Comment;
            break;
        case '[':
            classify_section(own, &line);
            break;
        case '=':
            break;
        default:
            classify_key(own, &line);
    }
    return line;
}

}  // namespace quorv
