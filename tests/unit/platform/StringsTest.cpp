// Narrow strings, forwarders and UTF-8 that is malformed. The fuzz harness checks what is done with 16-bit
// units, and every conversion with every room.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>
#include <quorv/platform/strings.h>
#include <string.h>

#include <string>

namespace {

const uint16_t *units(const std::u16string &text) {
    return reinterpret_cast<const uint16_t *>(text.c_str());
}

TEST(Strings, CaseMappingTouchesAsciiLettersOnly) {
    for (int c = 1; c < 256; ++c) {
        const int lower = c >= 'A' && c <= 'Z' ? c + 32 : c, upper = c >= 'a' && c <= 'z' ? c - 32 : c;
        char text[2][2] = {{static_cast<char>(c)}, {static_cast<char>(c)}};
        EXPECT_EQ(MSCsMakeLower(text[0]), uint32_t{ResultOk});
        EXPECT_EQ(MSCsMakeUpper(text[1]), uint32_t{ResultOk});
        EXPECT_EQ(text[0][0], static_cast<char>(lower));
        EXPECT_EQ(text[1][0], static_cast<char>(upper));
    }
    for (const uint32_t code :
         {MSCsMakeLower(nullptr), MSCsMakeUpper(nullptr), MWCsMakeLower(nullptr), MWCsMakeUpper(nullptr)})
        EXPECT_EQ(code, uint32_t{ResultInvalidArg});
}

TEST(Strings, ForwardersReachTheFunctionOfTheirName) {
    char text[16] = "########";
    EXPECT_STREQ(MSCsCat(MSCsCpy(text, "abc"), "ABC"), "abcABC");
    EXPECT_EQ(MSCsLen(text), 6u);
    EXPECT_EQ(memcmp(MSCsNCpy(text, "xy", 5), "xy\0\0\0C", 6), 0);
    EXPECT_EQ(MSCsICmp("Key", "kEY"), 0);
    EXPECT_EQ(MSCsNCmp("abX", "abY", 2), 0);
    EXPECT_EQ(MSCsNICmp("ABx", "aby", 2), 0);
    EXPECT_LT(MSCsCmp("Key", "kEY"), 0);
    const char *path = "a/b/c";
    EXPECT_EQ(MSCsChr(path, '/'), path + 1);
    EXPECT_EQ(MSCsRChr(path, '/'), path + 3);
    EXPECT_EQ(MSCsStr(path, "b/"), path + 2);
    EXPECT_EQ(MStol(" -12x"), -12);
    EXPECT_EQ(MStoi("99999999999999999999"), INT32_MAX);
    EXPECT_EQ(MStoi("-2147483649"), INT32_MIN);
    EXPECT_EQ(MSSprintf(text, "%s=%d", "k", 5), 3);
    EXPECT_STREQ(text, "k=5");
    uint16_t buffer[10] = {};
    MWCsCpy(buffer, units(u"aab"));
    MWCsCat(buffer, units(u"a"));
    EXPECT_EQ(MWCsCmp(buffer, units(u"aaba")), 0);
    EXPECT_EQ(MWCsStr(buffer, units(u"aba")), buffer + 1);
    EXPECT_EQ(MWCsChr(buffer, 'b'), buffer + 2);
    EXPECT_EQ(MWCsChr(buffer, 0), buffer + MWCsLen(buffer));
    EXPECT_EQ(MWCsChr(buffer, 'c'), nullptr);
    wchar_t wide[4096];
    EXPECT_EQ(MWSprintf(wide, L"%ls:%d", L"\u0161", 42), 4);
    EXPECT_EQ(MWCsNCmp(wide, L"\u0161:xx", 2), 0);
    EXPECT_STREQ(MWCsNCpy(wide, L"abc", 2), L"ab42");
    EXPECT_EQ(MWSprintf(wide, L"%ls", std::wstring(4095, L'x').c_str()), 4095);
    EXPECT_LT(MWSprintf(wide, L"%ls", std::wstring(4096, L'x').c_str()), 0);
}

TEST(TextConversion, Utf8LooseAndMalformed) {
    constexpr uint16_t kUntouched = 0xEEEE;
    const struct {
        std::string utf8;
        int32_t result;
        uint16_t first;
    } cases[] = {
        {"\xE2\x82\xAC\xED\xA0\xBD", 2, 0x20AC},  // surrogates are units like others
        {"\xF0\x9F\x98\x80", 1, 0xF600},          // U+1F600 without its high bits
        {"\xF8\x88\x81\x82\x83", 1, 0x1083},      // 5 bytes
        {"\xFC\x84\x81\x82\x83\xBF", 1, 0x20FF},  // 6 bytes
        {"\xC3Z", 1, 0x00DA},                     // marker bits of following bytes are not checked
        {"\xC1\xBF", 1, 0x007F},                  // overlong
        {"\x80", -1, kUntouched},
        {"\xFF", -1, kUntouched},
        {"\xE2\x82", -1, kUntouched},
        {"ab\xE2", -1, 'a'},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        uint16_t text[8] = {kUntouched};
        EXPECT_EQ(MUTF8ToUnicode(c.utf8.c_str(), text, 8), c.result);
        EXPECT_EQ(text[0], c.first);
        EXPECT_EQ(MUTF8ToUnicode(c.utf8.c_str(), nullptr, -1), c.result);
    }
}

}  // namespace
