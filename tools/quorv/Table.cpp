// Tables for people; see the header.

#include "Table.h"

#include <wchar.h>

#include <algorithm>
#include <numeric>

#include "Text.h"

namespace quorv::tool {

namespace {

constexpr size_t kGap = 2;        // between columns, and in front of the first
constexpr size_t kLeastText = 8;  // narrower texts cannot be read

std::string_view without_blanks_behind(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// The first character of a text: its bytes, and its columns on a terminal. What is no text counts as one.
struct Character {
    size_t bytes, columns;
};

Character first_character(std::string_view text) {
    std::mbstate_t state = {};
    wchar_t wide = 0;
    const size_t bytes = std::mbrtowc(&wide, text.data(), text.size(), &state);
    if (bytes == 0 || bytes > text.size()) return {1, 1};
    const int columns = wcwidth(wide);
    return {bytes, columns >= 0 ? static_cast<size_t>(columns) : 1};
}

// How many bytes of the text fit, one character at least.
size_t bytes_that_fit(std::string_view text, size_t width) {
    size_t bytes = 0, used = 0;
    while (bytes < text.size()) {
        const Character next = first_character(text.substr(bytes));
        if (bytes != 0 && used + next.columns > width) break;
        used += next.columns;
        bytes += next.bytes;
    }
    return bytes;
}

// Cells list facts with commas between them, each of which stays in one piece.
size_t longest_fact(std::string_view text) {
    size_t longest = 0;
    while (!text.empty()) {
        const size_t comma = text.find(", "), end = comma == std::string_view::npos ? text.size() : comma + 1;
        longest = std::max(longest, display_width(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return longest;
}

// Where to break a text that must end at or before that place: behind a comma, or else at a blank; npos where
// there is neither.
size_t last_break(std::string_view text, size_t end) {
    const size_t comma = end > 0 ? text.rfind(", ", end - 1) : std::string_view::npos;
    const size_t blank = comma != std::string_view::npos ? comma + 1 : text.rfind(' ', end);
    return blank != 0 ? blank : std::string_view::npos;
}

// How wide each column is; 0 for one without text.
struct Widths {
    std::vector<size_t> wanted, least;

    explicit Widths(std::span<const Column> columns, const std::vector<Row> &rows)
        : wanted(columns.size(), 0), least(columns.size(), 0) {
        for (size_t i = 0; i < columns.size(); ++i) {
            for (const Row &row : rows) {
                wanted[i] = std::max(wanted[i], display_width(row[i]));
                least[i] = std::max(least[i], longest_fact(row[i]));
            }
            if (wanted[i] == 0) continue;
            wanted[i] = std::max(wanted[i], columns[i].title.size());
            // Numbers keep their units beside them.
            least[i] = columns[i].right_aligned ? wanted[i] : std::max(least[i], columns[i].title.size());
        }
    }
    size_t total() const {
        return std::accumulate(wanted.begin(), wanted.end(), size_t{0}, [](size_t sum, size_t width) {
            return sum + (width != 0 ? width + kGap : 0);
        });
    }
    // Makes the widest of the columns that can be narrower narrower, until all fit. False when they cannot.
    bool fit(size_t available) {
        for (size_t excess = total(); excess > available; --excess) {
            size_t widest = wanted.size();
            for (size_t i = 0; i < wanted.size(); ++i) {
                if (wanted[i] > least[i] && (widest == wanted.size() || wanted[i] > wanted[widest]))
                    widest = i;
            }
            if (widest == wanted.size()) return false;
            --wanted[widest];
        }
        return true;
    }
};

std::string row_text(std::span<const Column> columns, const std::vector<size_t> &widths, const Row &cells) {
    std::vector<std::vector<std::string>> lines(columns.size());
    size_t height = 1;
    for (size_t i = 0; i < columns.size(); ++i) {
        if (widths[i] != 0) lines[i] = wrap(cells[i], widths[i]);
        height = std::max(height, lines[i].size());
    }
    std::string text;
    for (size_t n = 0; n < height; ++n) {
        for (size_t i = 0; i < columns.size(); ++i) {
            if (widths[i] == 0) continue;
            const std::string line = n < lines[i].size() ? lines[i][n] : "";
            const size_t pad = widths[i] - std::min(widths[i], display_width(line));
            text.append(kGap, ' ').append(columns[i].right_aligned ? pad : 0, ' ').append(line);
            text.append(columns[i].right_aligned ? 0 : pad, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

// Every row as a list of titles and values.
void write_lists(OutputStream &out, std::span<const Column> columns, const std::vector<Row> &rows) {
    size_t title_width = 0;
    for (const Column &column : columns)
        title_width = std::max(title_width, column.title.size());
    for (const Row &row : rows) {
        if (&row != &rows.front()) out.write("\n");
        for (size_t i = 0; i < columns.size(); ++i)
            write_entry(out, columns[i].title, title_width, row[i]);
    }
}

}  // namespace

size_t display_width(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const Character next = first_character(text);
        width += next.columns;
        text.remove_prefix(next.bytes);
    }
    return width;
}

std::vector<std::string> wrap(std::string_view text, size_t width) {
    std::vector<std::string> lines;
    while (display_width(text) > width) {
        size_t end = bytes_that_fit(text, width), next = end;
        const size_t blank = last_break(text, end);
        if (blank != std::string_view::npos) {
            end = blank;
            next = blank + 1;
        }
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(next);
    }
    lines.emplace_back(text);
    return lines;
}

void write_table(OutputStream &out, std::span<const Column> columns, const std::vector<Row> &rows) {
    Widths widths(columns, rows);
    if (!widths.fit(out.columns())) {
        write_lists(out, columns, rows);
        return;
    }
    Row titles;
    for (const Column &column : columns)
        titles.emplace_back(column.title);
    std::string heading = row_text(columns, widths.wanted, titles);
    heading.pop_back();
    write_title(out, heading);
    for (const Row &row : rows)
        out.write(row_text(columns, widths.wanted, row));
}

void write_line(OutputStream &out, std::string_view text, const Style &style) {
    constexpr size_t kIndent = 4;
    text = without_blanks_behind(text);
    if (!out.is_terminal()) {
        out.print("{}\n", text);
        return;
    }
    for (size_t indent = 0;; indent = kIndent) {
        const size_t room = out.columns() > indent + kLeastText ? out.columns() - indent : kLeastText;
        const std::string line = wrap(text, room).front();
        out.print("{:{}}{}{}{}\n", "", indent, style.faint, without_blanks_behind(line), style.end);
        text.remove_prefix(line.size());
        if (text.empty()) return;
        text.remove_prefix(text.find_first_not_of(' '));
    }
}

void write_entry(OutputStream &out, std::string_view title, size_t title_width, std::string_view text) {
    if (text.empty()) return;
    const Style style = style_for(out);
    const size_t indent = kGap + title_width + kGap;
    const size_t room = out.columns() > indent + kLeastText ? out.columns() - indent : kLeastText;
    bool first = true;
    for (const std::string &line : wrap(text, room)) {
        out.print("{:{}}{}{:<{}}{}{:{}}{}\n", "", kGap, style.faint, first ? title : "", title_width,
                  style.end, "", kGap, line);
        first = false;
    }
}

}  // namespace quorv::tool
