// Fuzz harness of the text conversions and wide string functions. The input is taken as UTF-8, as narrow text
// and as 16-bit units; every conversion gets room from nothing to more than enough, never a byte to spare.

#include <quorv/platform/strings.h>
#include <stdint.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ExactCopy.h"

namespace {

using quorv::fuzz::require;

// A zero-terminated copy with not one byte to spare.
template <typename Unit>
class Text {
public:
    explicit Text(const std::vector<Unit> &units) : units_(new Unit[units.size() + 1]()) {
        std::copy(units.begin(), units.end(), units_.get());
    }
    const Unit *get() const { return units_.get(); }

private:
    std::unique_ptr<Unit[]> units_;
};

template <typename Unit>
std::vector<Unit> until_zero(std::vector<Unit> units) {
    units.erase(std::find(units.begin(), units.end(), Unit{0}), units.end());
    return units;
}

// Converts with this much room and returns what was written, the terminator not counted.
template <typename To, typename From>
std::vector<To> convert(int32_t (*conversion)(const From *, To *, int32_t), const Text<From> &from,
                        int32_t room, int32_t expected) {
    std::vector<To> to(static_cast<size_t>(std::max(room, 0)), To{0x55});
    To none = 0x55;
    require(conversion(from.get(), to.empty() ? &none : to.data(), room) == expected);
    require(none == 0x55);
    return until_zero(to);
}

void check_units(const std::vector<uint16_t> &units) {
    const Text<uint16_t> text(units);
    require(MWCsLen(text.get()) == units.size());
    const int32_t length = MUnicodeToUTF8(text.get(), nullptr, 0);
    require(length >= static_cast<int32_t>(units.size()) && length <= static_cast<int32_t>(units.size() * 3));
    const std::vector<char> utf8 = convert(MUnicodeToUTF8, text, length + 1, length);
    require(static_cast<int32_t>(utf8.size()) == length);
    for (const int32_t room : {-1, 0, 1, length / 2, length})
        convert(MUnicodeToUTF8, text, room, 0);
    // Every unit survives UTF-8.
    const int32_t count = static_cast<int32_t>(units.size());
    require(convert(MUTF8ToUnicode, Text<char>(utf8), count + 1, count) == units);
}

void check_utf8(const Text<char> &text) {
    const int32_t count = MUTF8ToUnicode(text.get(), nullptr, 0);
    require(count >= -1);
    if (count < 0) {
        uint16_t units[4096];
        require(MUTF8ToUnicode(text.get(), units, 4096) <= 0);
        return;
    }
    const std::vector<uint16_t> units = convert(MUTF8ToUnicode, text, count + 1, count);
    if (count > 0) {
        for (const int32_t room : {0, 1, count / 2, count})
            convert(MUTF8ToUnicode, text, room, 0);
    }
    check_units(units);
}

void check_narrow(const std::vector<char> &bytes) {
    const Text<char> text(bytes);
    const int32_t size = static_cast<int32_t>(bytes.size()) + 1;
    for (const int32_t room : {0, 1, size / 2, size, size + 3}) {
        const int32_t written = room < 1 ? 1 : std::min(room, size);
        const std::vector<uint16_t> wide = convert(MCharToWChar, text, room, written);
        require(wide.size() == static_cast<size_t>(room < 1 ? 0 : written - 1));
        const std::vector<char> back =
            convert(MWCharToChar, Text<uint16_t>(wide), size, static_cast<int32_t>(wide.size()) + 1);
        require(std::equal(back.begin(), back.end(), bytes.begin()) && back.size() == wide.size());
    }
}

int32_t sign(int32_t value) {
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

void check_comparison(const std::vector<uint16_t> &a, const std::vector<uint16_t> &b) {
    const Text<uint16_t> text_a(a), text_b(b);
    const std::u16string string_a(a.begin(), a.end()), string_b(b.begin(), b.end());
    require(MWCsCmp(text_a.get(), text_b.get()) == sign(string_a.compare(string_b)));
    const int32_t folded = MWCsICmp(text_a.get(), text_b.get());
    require(folded == -MWCsICmp(text_b.get(), text_a.get()));
    require(MWCsNICmp(text_a.get(), text_b.get(), 0xFFFFFFFF) == folded);
    std::vector<uint16_t> lower_a = a, lower_b = b;
    lower_a.push_back(0);
    lower_b.push_back(0);
    MWCsMakeLower(lower_a.data());
    MWCsMakeLower(lower_b.data());
    require((folded == 0) == (lower_a == lower_b));
    const size_t at = string_a.find(string_b);
    require(MWCsStr(text_a.get(), text_b.get()) == (at == string_a.npos ? nullptr : text_a.get() + at));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::vector<char> bytes = until_zero(std::vector<char>(data, data + size));
    check_utf8(Text<char>(bytes));
    check_narrow(bytes);
    std::vector<uint16_t> units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units.push_back(static_cast<uint16_t>(data[i] | data[i + 1] << 8));
    const size_t half = units.size() / 2;
    const auto middle = units.begin() + static_cast<ptrdiff_t>(half);
    const std::vector<uint16_t> first = until_zero(std::vector<uint16_t>(units.begin(), middle));
    const std::vector<uint16_t> second = until_zero(std::vector<uint16_t>(middle, units.end()));
    check_units(first);
    check_comparison(first, second);
    return 0;
}
