// Fuzz harness of the text conversions and wide string functions. The input is taken as UTF-8, as narrow text
// and as 16-bit units; every conversion gets room from nothing to more than enough, never a byte to spare.

#include <quorv/platform/strings.h>

#include <string>
#include <vector>

#include "Harness.h"

using quorv::fuzz::require;

namespace {

// The units before the first zero, and a zero, with nothing behind them for the sanitizer to miss.
template <typename Unit>
std::vector<Unit> text_of(const std::vector<Unit> &units) {
    const auto end = std::find(units.begin(), units.end(), Unit{0});
    std::vector<Unit> text(static_cast<size_t>(end - units.begin()) + 1);
    std::copy(units.begin(), end, text.begin());
    return text;
}

// Converts with this much room and returns what was written.
template <typename To, typename From>
std::vector<To> convert(int32_t (*conversion)(const From *, To *, int32_t), const std::vector<From> &from,
                        int32_t room, int32_t expected) {
    std::vector<To> to(static_cast<size_t>(std::max(room, 1)), To{0x55});
    require(conversion(from.data(), to.data(), room) == expected);
    require(room > 0 || to[0] == 0x55);
    return text_of(to);
}

template <typename Unit>
int32_t length_of(const std::vector<Unit> &text) {
    return static_cast<int32_t>(text.size()) - 1;
}

void check_units(const std::vector<uint16_t> &text) {
    const int32_t count = length_of(text);
    int32_t length = 0;
    for (const uint16_t unit : text)
        length += unit == 0 ? 0 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
    require(MWCsLen(text.data()) == text.size() - 1);
    require(MUnicodeToUTF8(text.data(), nullptr, 0) == length);
    const std::vector<char> utf8 = convert(MUnicodeToUTF8, text, length + 1, length);
    for (const int32_t room : {-1, 0, 1, length / 2, length})
        convert(MUnicodeToUTF8, text, room, 0);
    // Every unit survives UTF-8.
    require(convert(MUTF8ToUnicode, utf8, count + 1, count) == text);
}

void check_utf8(const std::vector<char> &text) {
    const int32_t count = MUTF8ToUnicode(text.data(), nullptr, 0);
    require(count >= -1);
    if (count < 0) {
        uint16_t units[4096];
        require(MUTF8ToUnicode(text.data(), units, 4096) <= 0);
        return;
    }
    check_units(convert(MUTF8ToUnicode, text, count + 1, count));
    for (const int32_t room : {0, 1, count / 2, count})
        if (count > 0) convert(MUTF8ToUnicode, text, room, 0);
}

void check_narrow(const std::vector<char> &text) {
    const int32_t size = length_of(text) + 1;
    for (const int32_t room : {0, 1, size / 2, size, size + 3}) {
        const int32_t written = room < 1 ? 1 : std::min(room, size);
        const std::vector<uint16_t> wide = convert(MCharToWChar, text, room, written);
        require(length_of(wide) == (room < 1 ? 1 : written - 1));
        if (room < 1) continue;
        const std::vector<char> back = convert(MWCharToChar, wide, size, written);
        require(std::equal(back.begin(), back.end() - 1, text.begin()));
    }
}

bool is_same_folded(uint16_t a, uint16_t b) {
    return a == b || ((a ^ b) == 32 && (a | 32) >= 'a' && (a | 32) <= 'z');
}

// Units that differ are ordered as they stand.
template <typename Same>
int32_t order(const std::vector<uint16_t> &a, const std::vector<uint16_t> &b, size_t most, Same is_same) {
    for (size_t i = 0; i < std::max<size_t>(most, 1); ++i) {
        if (!is_same(a[i], b[i])) return a[i] < b[i] ? -1 : 1;
        if (a[i] == 0) break;
    }
    return 0;
}

void check_comparison(const std::vector<uint16_t> &a, const std::vector<uint16_t> &b) {
    require(MWCsCmp(a.data(), b.data()) == order(a, b, SIZE_MAX, std::equal_to<>()));
    require(MWCsICmp(a.data(), b.data()) == order(a, b, SIZE_MAX, is_same_folded));
    for (const uint32_t most : {0u, 1u, 2u, 3u, 0xFFFFFFFFu})
        require(MWCsNICmp(a.data(), b.data(), most) == order(a, b, most, is_same_folded));
    const std::u16string string_a(a.begin(), a.end() - 1), string_b(b.begin(), b.end() - 1);
    const size_t at = string_a.find(string_b);
    require(MWCsStr(a.data(), b.data()) == (at == string_a.npos ? nullptr : a.data() + at));
    for (uint32_t (*const map)(uint16_t *) : {MWCsMakeLower, MWCsMakeUpper}) {
        std::vector<uint16_t> mapped = a;
        require(map(mapped.data()) == 0);
        require(order(a, mapped, SIZE_MAX, is_same_folded) == 0);
        for (const uint16_t unit : mapped)
            require(map == MWCsMakeLower ? unit < 'A' || unit > 'Z' : unit < 'a' || unit > 'z');
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::vector<char> bytes = text_of(std::vector<char>(data, data + size));
    check_utf8(bytes);
    check_narrow(bytes);
    std::vector<uint16_t> units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units.push_back(static_cast<uint16_t>(data[i] | data[i + 1] << 8));
    const auto middle = units.begin() + static_cast<ptrdiff_t>(units.size() / 2);
    const std::vector<uint16_t> first = text_of(std::vector<uint16_t>(units.begin(), middle));
    check_units(first);
    check_comparison(first, text_of(std::vector<uint16_t>(middle, units.end())));
    return 0;
}
