// A drawing over time, or over the places of a file, as inline SVG with its axes.
#ifndef QUORV_TOOLS_QUORV_PLOT_H
#define QUORV_TOOLS_QUORV_PLOT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorv::tool {

// The smallest of 1, 2, 2.5 and 5 times a power of ten that is at least the value.
uint64_t round_limit(uint64_t value);

// Stretches to any width: lines keep their thickness and texts stand outside of the drawing.
class Plot {
public:
    // In units of its own, y from the top down.
    Plot(std::string_view label, double width, double height);

    // Texts are escaped by the caller. A title is shown for the mark under the pointer.
    void begin_marks(const std::string &title);
    void bar(std::string_view style, double x, double width, double height);
    void end_marks();
    void line(std::string_view style, double x1, double y1, double x2, double y2,
              const std::string &title = {});

    // The figure: texts from the top of the y axis down, and along the x axis.
    std::string figure(const std::vector<std::string> &y_texts, const std::vector<std::string> &x_texts,
                       std::string_view style = {}) const;

private:
    std::string label_;
    double width_, height_;
    std::string marks_;
};

}  // namespace quorv::tool

#endif
