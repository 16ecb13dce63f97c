// String functions where they do more than forward: case, 16-bit units, the odd corners.

#include <gtest/gtest.h>
#include <quorv/platform/memory.h>
#include <quorv/platform/strings.h>
#include <string.h>

#include <string>

namespace {

const uint16_t *units(const std::u16string &text) {
    return reinterpret_cast<const uint16_t *>(text.c_str());
}

uint16_t *units(std::u16string &text) {
    return reinterpret_cast<uint16_t *>(text.data());
}

TEST(Strings, CaseMappingTouchesAsciiLettersOnly) {
    for (int c = 1; c < 256; ++c) {
        const int lower = c >= 'A' && c <= 'Z' ? c + 32 : c, upper = c >= 'a' && c <= 'z' ? c - 32 : c;
        char text[] = {static_cast<char>(c), 0};
        uint16_t wide[] = {static_cast<uint16_t>(c), static_cast<uint16_t>(0x100 + c), 0};
        EXPECT_EQ(MSCsMakeLower(text) + MWCsMakeLower(wide), 0u);
        EXPECT_EQ(text[0], static_cast<char>(lower));
        EXPECT_EQ(wide[0], lower);
        text[0] = static_cast<char>(c);
        wide[0] = static_cast<uint16_t>(c);
        EXPECT_EQ(MSCsMakeUpper(text) + MWCsMakeUpper(wide), 0u);
        EXPECT_EQ(text[0], static_cast<char>(upper));
        EXPECT_EQ(wide[0], upper);
        EXPECT_EQ(wide[1], 0x100 + c);
    }
    const uint32_t bad = ResultInvalidArg;
    EXPECT_EQ(MSCsMakeLower(nullptr) & MSCsMakeUpper(nullptr), bad);
    EXPECT_EQ(MWCsMakeLower(nullptr) & MWCsMakeUpper(nullptr), bad);
}

TEST(Strings, WideComparison) {
    const struct {
        std::u16string a, b;
        int32_t plain, folded;
        uint32_t n;
        int32_t folded_n;
    } cases[] = {
        {u"abc", u"abd", -1, -1, 2, 0},
        {u"abd", u"abc", 1, 1, 3, 1},
        {u"abc", u"ab", 1, 1, 3, 1},
        {u"Clip", u"cLIP", -1, 0, 99, 0},
        {u"x", u"y", -1, -1, 0, -1},  // a count of 0 still compares the first unit
        {u"Xa", u"xb", -1, -1, 0, 0},
        {u"[", u"{", -1, -1, 1, -1},  // 32 apart, but no letters
        {u"z", u"B", 1, 1, 1, 1},
        {u"_", u"A", 1, 1, 1, 1},  // '_' lies between the cases
        {u"\u0141", u"\u0161", -1, -1, 1, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.a) + " " + testing::PrintToString(c.b));
        EXPECT_EQ(MWCsCmp(units(c.a), units(c.b)), c.plain);
        EXPECT_EQ(MWCsICmp(units(c.a), units(c.b)), c.folded);
        EXPECT_EQ(MWCsNICmp(units(c.a), units(c.b), c.n), c.folded_n);
    }
}

TEST(Strings, WideSearchAgreesWithTheStandardLibrary) {
    const std::u16string texts[] = {u"", u"a", u"aab", u"abababc", u"mississippi", u"\u0161\u0061"};
    const std::u16string subs[] = {u"", u"a", u"ab", u"ababc", u"issip", u"ippi", u"ippix", u"\u0061", u"b"};
    for (const auto &text : texts) {
        EXPECT_EQ(MWCsLen(units(text)), text.size());
        for (const auto &sub : subs) {
            const size_t at = text.find(sub);
            const uint16_t *const expected = at == text.npos ? nullptr : units(text) + at;
            EXPECT_EQ(MWCsStr(units(text), units(sub)), expected);
            if (sub.size() == 1) {
                EXPECT_EQ(MWCsChr(units(text), sub[0]), expected);
            }
        }
        EXPECT_EQ(MWCsChr(units(text), 0), units(text) + text.size());
    }
    std::u16string buffer(10, u'#');
    MWCsCpy(units(buffer), units(texts[2]));
    MWCsCat(units(buffer), units(texts[1]));
    EXPECT_EQ(buffer.substr(0, 6), std::u16string(u"aaba\0#", 6));
}

TEST(Strings, ForwardersReachTheFunctionOfTheirName) {
    char text[16] = "########";
    EXPECT_STREQ(MSCsCat(MSCsCpy(text, "abc"), "ABC"), "abcABC");
    EXPECT_EQ(MSCsLen(text), 6u);
    EXPECT_EQ(memcmp(MSCsNCpy(text, "xy", 5), "xy\0\0\0C", 6), 0);
    EXPECT_EQ(MSCsICmp("Key", "kEY") + MSCsNCmp("abX", "abY", 2) + MSCsNICmp("ABx", "aby", 2), 0);
    EXPECT_LT(MSCsCmp("Key", "kEY"), 0);
    const char *const path = "a/b/c";
    EXPECT_EQ(MSCsChr(path, '/'), path + 1);
    EXPECT_EQ(MSCsRChr(path, '/'), path + 3);
    EXPECT_EQ(MSCsStr(path, "b/"), path + 2);
    EXPECT_EQ(MStol(" -12x"), -12);
    EXPECT_EQ(MStoi("99999999999999999999"), INT32_MAX);
    EXPECT_EQ(MStoi("-2147483649"), INT32_MIN);
    EXPECT_EQ(MSSprintf(text, "%s=%d", "k", 5), 3);
    EXPECT_STREQ(text, "k=5");
}

TEST(Strings, PlatformWideCharacters) {
    wchar_t text[4096];
    EXPECT_EQ(MWSprintf(text, L"%ls:%d", L"\u0161", 42), 4);
    EXPECT_STREQ(text, L"\u0161:42");
    EXPECT_EQ(MWCsNCmp(text, L"\u0161:xx", 2), 0);
    EXPECT_EQ(MWCsNCpy(text, L"abc", 2), text);
    EXPECT_STREQ(text, L"ab42");
    const std::wstring longest(4095, L'x'), too_long(4096, L'x');
    EXPECT_EQ(MWSprintf(text, L"%ls", longest.c_str()), 4095);
    EXPECT_LT(MWSprintf(text, L"%ls", too_long.c_str()), 0);
}

}  // namespace
