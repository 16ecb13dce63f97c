// The byte readers of the AVI splitter with the repetition that their callers rely on, rescaling against
// 128-bit arithmetic, and the codec tables.

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <random>

#include "aviparser/AviCodecTags.h"
#include "aviparser/AviMath.h"
#include "aviparser/AviRiff.h"
#include "aviparser/AviUtils.h"
#include "support/TestSource.h"

namespace quorv::test {
namespace {

// A part that fails is read once more, and the reader ends with that result: after a failure that happens
// once it reports success, with the part missing and the stream behind it.
TEST(AviByteReader, AFailedPartIsRepeatedAndLost) {
    const MemoryStore store({0x81, 0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8});
    TestSource test(store);
    StreamSource source = {};
    source.callbacks = test.record();
    ASSERT_EQ(source.open(StreamAccess::Read), Code::Ok);
    const struct {
        Code (*reader)(StreamSource *, uint32_t *);
        uint64_t failing_read;  // 0: none
        uint32_t value;
        int64_t position;
    } cases[] = {
        {avi_get_byte, 0, 0x81, 1},       {avi_get_le16, 0, 0x9281, 2},     {avi_get_be16, 0, 0x8192, 2},
        {avi_get_le24, 0, 0xA39281, 3},   {avi_get_be24, 0, 0x8192A3, 3},   {avi_get_le32, 0, 0xB4A39281, 4},
        {avi_get_be32, 0, 0x8192A3B4, 4}, {avi_get_le16, 1, 0, 1},          {avi_get_le16, 2, 0x81, 2},
        {avi_get_be16, 2, 0x8100, 2},     {avi_get_le24, 3, 0x9281, 3},     {avi_get_be24, 3, 0x819200, 3},
        {avi_get_le32, 1, 0xA3920000, 3}, {avi_get_le32, 2, 0xB4A30081, 4}, {avi_get_le32, 3, 0x9281, 3},
        {avi_get_be32, 1, 0x92A3, 3},     {avi_get_be32, 2, 0x8100A3B4, 4}, {avi_get_be32, 4, 0x8192A300, 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        ASSERT_EQ(avi_url_fsseek(&source, SeekOrigin::Start, 0), Code::Ok);
        test.faults.at = c.failing_read == 0 ? 0 : test.calls() + c.failing_read;
        uint32_t value = c.failing_read == 0 ? 0xDEADBEEF : 0;
        EXPECT_EQ(c.reader(&source, &value), Code::Ok);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(avi_url_fstell(&source), c.position);
    }
    uint64_t forward = 1, backward = 1;
    ASSERT_EQ(avi_url_fsseek(&source, SeekOrigin::Start, 0), Code::Ok);
    EXPECT_EQ(avi_get_le64(&source, &forward), Code::Ok);
    EXPECT_EQ(avi_url_fskip(&source, -8), Code::Ok);
    EXPECT_EQ(avi_get_be64(&source, &backward), Code::Ok);
    EXPECT_EQ(forward, __builtin_bswap64(backward));
    EXPECT_EQ(backward, 0x8192A3B4C5D6E7F8u);
    uint32_t none = 0;
    EXPECT_EQ(to_public(avi_get_le16(&source, &none)), kSourceAtEnd);
    // A failing position is asked for twice, and its code stands for it.
    test.faults = {.at = test.calls() + 1, .for_good = true};
    const uint64_t before = test.calls();
    EXPECT_EQ(avi_url_fstell(&source), int64_t{kSourceFailed});
    EXPECT_EQ(avi_url_fsize(&source), int64_t{kSourceFailed});
    EXPECT_EQ(test.calls() - before, 4u);
}

#ifdef __SIZEOF_INT128__  // only where words have 64 bits
__extension__ typedef __int128 Wide;

// The quotient of 128 bits, rounded down, and then up where the mode asks for it.
TEST(AviMath, RescaleAgreesWithWideArithmetic) {
    std::mt19937_64 random(3);
    const auto any = [&] { return static_cast<int64_t>(random() >> 1 >> random() % 63); };
    for (int i = 0; i < 200000; ++i) {
        const int64_t a = i % 1000 == 0 ? INT64_MIN : any() * (i % 2 == 0 ? 1 : -1);
        const int64_t b = any(), c = std::max<int64_t>(any(), 1);
        const Wide product = Wide{a} * b, rest = (product % c + c) % c, floor = (product - rest) / c;
        const std::pair<uint32_t, bool> modes[] = {
            {kAviRoundZero, product < 0 && rest != 0},
            {kAviRoundInf, product > 0 && rest != 0},
            {kAviRoundDown, false},
            {kAviRoundUp, rest != 0},
            {kAviRoundNearInf, 2 * rest > c || (2 * rest == c && product >= 0)}};
        for (const auto &[mode, up] : modes)
            ASSERT_EQ(avi_rescale_rnd(a, b, c, mode), static_cast<int64_t>(static_cast<uint64_t>(floor + up)))
                << a << " * " << b << " / " << c << ", mode " << mode;
    }
}
#endif

// As close as any fraction with terms that small, by trying them all.
TEST(AviMath, ReduceFindsTheClosestFraction) {
    constexpr int kMax = 12;
    for (int num = 1; num <= 80; ++num) {
        for (int den = 1; den <= 80; ++den) {
            const auto distance = [&](int n, int d) { return std::abs(double(n) / d - double(num) / den); };
            double closest = HUGE_VAL;
            for (int n = 0; n <= kMax; ++n) {
                for (int d = 1; d <= kMax; ++d)
                    closest = std::min(closest, distance(n, d));
            }
            int32_t n = 0, d = 0;
            const bool exact = avi_reduce(&n, &d, -num, den, kMax) != 0;
            SCOPED_TRACE(std::to_string(num) + "/" + std::to_string(den) + " as " + std::to_string(n) + "/" +
                         std::to_string(d));
            ASSERT_LE(std::max(-n, d), kMax);
            ASSERT_EQ(std::gcd(n, d), 1);
            ASSERT_EQ(exact, closest == 0);
            ASSERT_NEAR(distance(-n, d), closest, 1e-12);
        }
    }
}

TEST(AviCodecTags, TheFirstMatchWins) {
    EXPECT_EQ(avi_codec_get_id(avi_codec_wav_tags, avi_tag("!!!!")), 0u);
    EXPECT_EQ(avi_codec_get_id(avi_codec_movvideo_tags, avi_tag("m2v1")), fourcc("mpg2"));
    const std::pair<uint32_t, uint32_t> pairs[] = {{avi_tag("xvid"), fourcc("xvid")},
                                                   {avi_tag("mpg2"), fourcc("mpg1")},
                                                   {avi_tag("MPG2"), fourcc("mpg1")},
                                                   {avi_tag("mPeG"), fourcc("mpg2")},
                                                   {avi_tag("mp42"), 0x00FFFFFF},
                                                   {avi_tag("DX50"), fourcc("dx50")},
                                                   {avi_tag("DIV5"), fourcc("dx50")},
                                                   {avi_tag("DIV3"), fourcc("div3")},
                                                   {avi_tag("h264"), fourcc("264 ")},
                                                   {avi_tag("WMV3"), fourcc("wmv9")},
                                                   {avi_tag("ijpg"), fourcc("mjpg")},
                                                   {0x10000001, fourcc("mpg1")},
                                                   {0x10000002, fourcc("mpg2")},
                                                   {0x10000004, fourcc("m4va")},
                                                   {4, fourcc("m4va")}};
    for (const auto &[tag, codec] : pairs)
        EXPECT_EQ(avi_codec_get_id(avi_codec_bmp_tags, tag), codec) << std::hex << tag;
}

}  // namespace
}  // namespace quorv::test
