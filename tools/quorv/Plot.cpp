// A drawing with its axes; see the header.

#include "Plot.h"

#include <fmt/format.h>

#include <cmath>

namespace quorv::tool {

namespace {

// Short: there are hundreds of these.
std::string number(double value) {
    std::string text = fmt::format("{:.2f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

}  // namespace

uint64_t round_limit(uint64_t value) {
    uint64_t power = 1;
    while (value / 10 >= power)
        power *= 10;
    for (const uint32_t quarters : {4u, 8u, 10u, 20u, 40u}) {
        const uint64_t limit = quarters * power / 4;
        if (limit >= value && limit > 0) return limit;
    }
    return value;
}

Plot::Plot(std::string_view label, double width, double height)
    : label_(label), width_(width), height_(height) {}

void Plot::begin_marks(const std::string &title) {
    marks_ += fmt::format("<g><title>{}</title>", title);
}

void Plot::bar(std::string_view style, double x, double width, double height) {
    if (!(height > 0)) return;
    marks_ += fmt::format(R"(<path class="{}" d="M{} {}h{}V{}h-{}z"/>)", style, number(x),
                          number(height_ - height), number(width), number(height_), number(width));
}

void Plot::end_marks() {
    marks_ += "</g>\n";
}

void Plot::line(std::string_view style, double x1, double y1, double x2, double y2,
                const std::string &title) {
    marks_ += fmt::format(R"(<path class="{}" d="M{} {}L{} {}">)", style, number(x1), number(y1), number(x2),
                          number(y2));
    if (!title.empty()) marks_ += fmt::format("<title>{}</title>", title);
    marks_ += "</path>\n";
}

std::string Plot::figure(const std::vector<std::string> &y_texts, const std::vector<std::string> &x_texts,
                         std::string_view style) const {
    std::string out = fmt::format("<div class=\"plot {}\"><div class=\"y\">", style);
    for (const std::string &text : y_texts)
        out += fmt::format("<span>{}</span>", text);
    out += fmt::format(
        "</div><svg viewBox=\"0 0 {} {}\" preserveAspectRatio=\"none\" role=\"img\" "
        "aria-label=\"{}\">\n",
        number(width_), number(height_), label_);
    for (size_t i = 0; i < y_texts.size() && y_texts.size() > 1; ++i) {
        const double y = height_ * static_cast<double>(i) / static_cast<double>(y_texts.size() - 1);
        out += fmt::format(R"(<path class="grid" d="M0 {}H{}"/>)", number(y), number(width_));
    }
    out += marks_ + "</svg><div class=\"x\">";
    for (size_t i = 0; i < x_texts.size(); ++i)
        out += fmt::format("<span style=\"left:{}%\">{}</span>",
                           number(100.0 * static_cast<double>(i) / static_cast<double>(x_texts.size() - 1)),
                           x_texts[i]);
    return out + "</div></div>\n";
}

}  // namespace quorv::tool
