// Text as it goes into a page; see the header.

#include "Html.h"

#include "Json.h"

namespace quorv::tool {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD", kEllipsis = "\xE2\x80\xA6";

std::string_view escaped(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return {};
    }
}

}  // namespace

std::string html(std::string_view text, size_t length) {
    const bool is_cut = text.size() > length;
    if (is_cut) {
        // Not amid a character.
        while (length > 0 && (static_cast<uint8_t>(text[length]) & 0xC0) == 0x80)
            --length;
        text = text.substr(0, length);
    }
    const std::string json = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string safe;
    for (const char c : Json::parse(json).get<std::string>()) {
        const auto byte = static_cast<uint8_t>(c);
        const std::string_view entity = escaped(c);
        if (byte < ' ' || byte == 0x7F) {
            safe += kReplacement;
        } else if (entity.empty()) {
            safe += c;
        } else {
            safe += entity;
        }
    }
    return is_cut ? safe.append(kEllipsis) : safe;
}

}  // namespace quorv::tool
