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
std::unique_ptr<Unit[]> text_of(const std::vector<Unit> &units) {
    std::unique_ptr<Unit[]> text(new Unit[units.size() + 1]());
    std::copy(units.begin(), units.end(), text.get());
    return text;
}

template <typename Unit>
std::vector<Unit> until_zero(std::vector<Unit> units) {
    units.erase(std::find(units.begin(), units.end(), Unit{0}), units.end());
    return units;
}

// Converts with this much room and returns what was written, the terminator not counted.
template <typename To, typename From>
std::vector<To> convert(int32_t (*conversion)(const From *, To *, int32_t), const std::vector<From> &from,
                        int32_t room, int32_t expected) {
    std::vector<To> to(static_cast<size_t>(std::max(room, 0)), To{0x55});
    To none = 0x55;
    require(conversion(text_of(from).get(), to.empty() ? &none : to.data(), room) == expected);
    require(none == 0x55);
    return until_zero(to);
}

void check_units(const std::vector<uint16_t> &units) {
    const auto text = text_of(units);
    const int32_t count = static_cast<int32_t>(units.size());
    require(MWCsLen(text.get()) == units.size());
    const int32_t length = MUnicodeToUTF8(text.get(), nullptr, 0);
    require(length >= count && length <= count * 3);
    const std::vector<char> utf8 = convert(MUnicodeToUTF8, units, length + 1, length);
    for (const int32_t room : {-1, 0, 1, length / 2, length})
        convert(MUnicodeToUTF8, units, room, 0);
    // Every unit survives UTF-8.
    require(convert(MUTF8ToUnicode, utf8, count + 1, count) == units);
}

void check_utf8(const std::vector<char> &bytes) {
    const int32_t count = MUTF8ToUnicode(text_of(bytes).get(), nullptr, 0);
    require(count >= -1);
    if (count < 0) {
        uint16_t units[4096];
        require(MUTF8ToUnicode(text_of(bytes).get(), units, 4096) <= 0);
        return;
    }
    const std::vector<uint16_t> units = convert(MUTF8ToUnicode, bytes, count + 1, count);
    for (const int32_t room : {0, 1, count / 2, count})
        if (count > 0) convert(MUTF8ToUnicode, bytes, room, 0);
    check_units(units);
}

void check_narrow(const std::vector<char> &bytes) {
    const int32_t size = static_cast<int32_t>(bytes.size()) + 1;
    for (const int32_t room : {0, 1, size / 2, size, size + 3}) {
        const int32_t written = room < 1 ? 1 : std::min(room, size);
        const std::vector<uint16_t> wide = convert(MCharToWChar, bytes, room, written);
        require(wide.size() == static_cast<size_t>(room < 1 ? 0 : written - 1));
        const std::vector<char> back =
            convert(MWCharToChar, wide, size, static_cast<int32_t>(wide.size()) + 1);
        require(back ==
                std::vector<char>(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(wide.size())));
    }
}

int32_t sign(int32_t value) {
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

void check_comparison(const std::vector<uint16_t> &a, const std::vector<uint16_t> &b) {
    const auto text_a = text_of(a), text_b = text_of(b);
    const std::u16string string_a(a.begin(), a.end()), string_b(b.begin(), b.end());
    require(MWCsCmp(text_a.get(), text_b.get()) == sign(string_a.compare(string_b)));
    const int32_t folded = MWCsICmp(text_a.get(), text_b.get());
    require(folded == -MWCsICmp(text_b.get(), text_a.get()));
    require(MWCsNICmp(text_a.get(), text_b.get(), 0xFFFFFFFF) == folded);
    const auto lower_a = text_of(a), lower_b = text_of(b);
    MWCsMakeLower(lower_a.get());
    MWCsMakeLower(lower_b.get());
    require((folded == 0) == (MWCsCmp(lower_a.get(), lower_b.get()) == 0));
    const size_t at = string_a.find(string_b);
    require(MWCsStr(text_a.get(), text_b.get()) == (at == string_a.npos ? nullptr : text_a.get() + at));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::vector<char> bytes = until_zero(std::vector<char>(data, data + size));
    check_utf8(bytes);
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
