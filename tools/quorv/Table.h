// Tables for people: aligned columns that fit the terminal.
#ifndef QUORV_TOOLS_QUORV_TABLE_H
#define QUORV_TOOLS_QUORV_TABLE_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "OutputStream.h"
#include "Text.h"

namespace quorv::tool {

struct Column {
    std::string_view title;
    bool right_aligned = false;
};
using Row = std::vector<std::string>;

// How many columns of a terminal a text takes: wide characters two, combining ones none.
size_t display_width(std::string_view text);

// The text in lines of at most that many columns, broken behind commas or else at blanks; longer words are
// cut.
std::vector<std::string> wrap(std::string_view text, size_t width);

// Aligned columns, two blanks apart and indented by two. Columns without any text are left out. Where the
// terminal is too narrow, cells are broken behind commas, and where that is not enough, every row becomes a
// list of titles and values. What goes elsewhere than to a terminal has any width.
void write_table(OutputStream &out, std::span<const Column> columns, const std::vector<Row> &rows);

// A line of columns that are as wide for all lines, as of a list that is written while it is found. Where the
// terminal is too narrow, it goes on in further lines, indented.
void write_line(OutputStream &out, std::string_view text, const Style &style = {});

// A title and its text, broken at blanks where the terminal is too narrow; for lists of such.
void write_entry(OutputStream &out, std::string_view title, size_t title_width, std::string_view text);

}  // namespace quorv::tool

#endif
