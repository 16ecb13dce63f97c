// Text conversions: round trips over every unit, exact room, malformed input.

#include <gtest/gtest.h>
#include <quorv/platform/strings.h>
#include <string.h>

#include <string>
#include <vector>

namespace {

constexpr uint16_t kUntouched = 0xEEEE;

std::u16string decode(const std::string &utf8) {
    std::vector<uint16_t> units(utf8.size() + 1);
    const int32_t count = MUTF8ToUnicode(utf8.c_str(), units.data(), static_cast<int32_t>(units.size()));
    EXPECT_GE(count, 0);
    EXPECT_EQ(MUTF8ToUnicode(utf8.c_str(), nullptr, 0), count);
    return {units.begin(), units.begin() + count};
}

std::string encode(const std::u16string &text) {
    const uint16_t *const units = reinterpret_cast<const uint16_t *>(text.c_str());
    std::string utf8(text.size() * 3 + 1, '#');
    const int32_t length = MUnicodeToUTF8(units, utf8.data(), static_cast<int32_t>(utf8.size()));
    EXPECT_EQ(MUnicodeToUTF8(units, nullptr, 0), length);
    EXPECT_EQ(utf8[static_cast<size_t>(length)], '\0');
    return utf8.substr(0, static_cast<size_t>(length));
}

TEST(TextConversion, EveryUnitSurvivesUtf8) {
    std::u16string all;
    for (uint32_t unit = 1; unit <= 0xFFFF; ++unit)
        all += static_cast<char16_t>(unit);
    EXPECT_EQ(decode(encode(all)), all);
}

TEST(TextConversion, Utf8Bytes) {
    const struct {
        std::u16string units;
        std::string utf8;
    } cases[] = {
        {u"", ""},
        {u"a\u007F", "a\x7F"},
        {u"\u0080\u00E9\u07FF", "\xC2\x80\xC3\xA9\xDF\xBF"},
        {u"\u0800\u20AC\uFFFF", "\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF"},
        {{0xD83D, 0xDE00}, "\xED\xA0\xBD\xED\xB8\x80"},  // surrogates are not combined
    };
    for (const auto &c : cases) {
        EXPECT_EQ(encode(c.units), c.utf8);
        EXPECT_EQ(decode(c.utf8), c.units);
    }
}

TEST(TextConversion, Utf8LooseAndMalformed) {
    const struct {
        std::string utf8;
        int32_t result;
        uint16_t first;
    } cases[] = {
        {"\xF0\x9F\x98\x80", 1, 0xF600},          // U+1F600 without its high bits
        {"\xF8\x88\x81\x82\x83", 1, 0x1083},      // 5 bytes
        {"\xFC\x84\x81\x82\x83\xBF", 1, 0x20FF},  // 6 bytes
        {"\xC3Z", 1, 0x00DA},                     // marker bits of following bytes are not checked
        {"\xC1\xBF", 1, 0x007F},                  // overlong
        {"\x80", -1, kUntouched},
        {"\xBFx", -1, kUntouched},
        {"\xFE\xFE", -1, kUntouched},
        {"\xFF", -1, kUntouched},
        {"\xC3", -1, kUntouched},
        {"\xE2\x82", -1, kUntouched},
        {"\xFC\x84\x81\x82\x83", -1, kUntouched},
        {"ab\xE2", -1, 'a'},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.utf8));
        uint16_t units[8] = {kUntouched};
        // A copy without slack behind its terminator, for the sanitizer to watch.
        const std::vector<char> exact(c.utf8.c_str(), c.utf8.c_str() + c.utf8.size() + 1);
        EXPECT_EQ(MUTF8ToUnicode(exact.data(), units, 8), c.result);
        EXPECT_EQ(units[0], c.first);
        EXPECT_EQ(MUTF8ToUnicode(exact.data(), nullptr, -1), c.result);
    }
}

TEST(TextConversion, RoomIsRespectedExactly) {
    const uint16_t text[] = {'a', 0xE9, 0x20AC, 0};
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC", narrow = "a\xE9\xAC";
    for (int32_t room = -1; room <= 9; ++room) {
        SCOPED_TRACE(room);
        // Exactly `room` elements, so that one too many is a heap overflow.
        std::vector<char> bytes(static_cast<size_t>(std::max(room, 0)));
        std::vector<uint16_t> units(bytes.size());
        char none = '#';
        uint16_t wide_none = kUntouched;
        char *const b = room > 0 ? bytes.data() : &none;
        uint16_t *const u = room > 0 ? units.data() : &wide_none;
        EXPECT_EQ(MUnicodeToUTF8(text, b, room), room > 6 ? 6 : 0);
        EXPECT_EQ(MUTF8ToUnicode(utf8.c_str(), u, room), room > 3 ? 3 : 0);
        EXPECT_EQ(MUnicodeToUTF8(text + 3, b, room) + MUTF8ToUnicode("", u, room), 0);
        EXPECT_TRUE(room < 1 || (*b == 0 && *u == 0));
        EXPECT_EQ(MWCharToChar(text, b, room), room < 1 ? 1 : std::min(room, 4));
        EXPECT_EQ(MCharToWChar("a\xE9z", u, room), room < 1 ? 1 : std::min(room, 4));
        if (room > 0) {
            EXPECT_EQ(b, narrow.substr(0, static_cast<size_t>(room - 1)));
            EXPECT_EQ(std::u16string(reinterpret_cast<char16_t *>(u)),
                      std::u16string(u"a\u00E9z").substr(0, static_cast<size_t>(room - 1)));
        }
        EXPECT_EQ(none, '#');
        EXPECT_EQ(wide_none, kUntouched);
    }
}

}  // namespace
