// Rescaling against 128-bit arithmetic, reduction against a search of all fractions, and the codec tables.

#include "aviparser/AviMath.h"

#include <gtest/gtest.h>

#include <random>

#include "aviparser/AviCodecTags.h"

namespace quorv::test {
namespace {

#ifdef __SIZEOF_INT128__  // only where words have 64 bits
__extension__ typedef __int128 Wide;

int64_t rescale_truth(int64_t a, int64_t b, int64_t c, uint32_t rounding) {
    const Wide product = Wide{a} * b;
    const Wide floor = product >= 0 ? product / c : -((-product + c - 1) / c);
    const Wide rest = product - floor * c;  // 0 <= rest < c
    bool up = false;
    if (rounding == kAviRoundZero) up = product < 0 && rest != 0;
    if (rounding == kAviRoundInf) up = product > 0 && rest != 0;
    if (rounding == kAviRoundUp) up = rest != 0;
    if (rounding == kAviRoundNearInf) up = product >= 0 ? 2 * rest >= c : 2 * rest > c;
    return static_cast<int64_t>(static_cast<uint64_t>(floor + (up ? 1 : 0)));
}

TEST(AviMath, RescaleAgreesWithWideArithmetic) {
    std::mt19937_64 random(3);
    const int64_t edges[] = {
        0, 1, 2, 3, 1001, INT32_MAX, int64_t{INT32_MAX} + 1, UINT32_MAX, INT64_MAX - 1, INT64_MAX};
    const auto any = [&](bool negative) {
        const uint64_t value = random() % 3 == 0 ? static_cast<uint64_t>(edges[random() % std::size(edges)])
                                                 : (random() >> 1) >> random() % 63;
        return negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value);
    };
    for (int i = 0; i < 200000; ++i) {
        const int64_t a = i % 1000 == 0 ? INT64_MIN : any(random() % 2 == 0), b = any(false),
                      c = std::max<int64_t>(any(false), 1);
        for (const uint32_t rounding :
             {kAviRoundZero, kAviRoundInf, kAviRoundDown, kAviRoundUp, kAviRoundNearInf}) {
            ASSERT_EQ(avi_rescale_rnd(a, b, c, rounding), rescale_truth(a, b, c, rounding))
                << a << " * " << b << " / " << c << ", mode " << rounding;
        }
    }
}
#endif

TEST(AviMathDeathTest, RescaleRefusesWhatHasNoResult) {
    EXPECT_EQ(avi_rescale(3, 1, 2) + avi_rescale_q(90, {1, 30}, {1, 1000}), 2 + 3000);
    EXPECT_DEATH(avi_rescale_rnd(1, 1, 0, 0), "c > 0");
    EXPECT_DEATH(avi_rescale_rnd(1, -1, 1, 0), "b >=0");
    EXPECT_DEATH(avi_rescale_rnd(1, 1, 1, 4), "rnd >=0 && rnd<=5 && rnd!=4");
    EXPECT_DEATH(avi_rescale_rnd(1, 1, 1, 6), "rnd >=0 && rnd<=5 && rnd!=4");
}

TEST(AviMath, ReduceFindsTheNearestFraction) {
    struct Case {
        int64_t num, den, max;
        int32_t out_num, out_den;
        int exact;
    };
    const Case cases[] = {
        {30000, 1001, INT32_MAX, 30000, 1001, 1},
        {2, -4, INT32_MAX, -1, 2, 1},
        {-6, -4, INT32_MAX, 3, 2, 1},
        {0, 5, INT32_MAX, 0, 1, 1},
        {314159265, 100000000, 1000, 355, 113, 0},
    };
    for (const Case &c : cases) {
        int32_t num = 0, den = 0;
        EXPECT_EQ(avi_reduce(&num, &den, c.num, c.den, c.max), c.exact) << c.num << "/" << c.den;
        EXPECT_EQ(num, c.out_num) << c.num << "/" << c.den;
        EXPECT_EQ(den, c.out_den) << c.num << "/" << c.den;
    }
}

TEST(AviMath, TimeBasesWithAZeroTermAreZero) {
    for (const auto &[num, den] : {std::pair<int64_t, int64_t>(0, 25), {25, 0}, {1, int64_t{1} << 40}}) {
        AviTrack track = {};
        avi_set_pts_info(&track, 64, num, den);
        EXPECT_EQ(track.time_base.num | track.time_base.den, 0) << num << "/" << den;
    }
}

size_t rows(const AviCodecTag *table) {
    size_t count = 0;
    while (table[count].codec != 0)
        ++count;
    return count;
}

TEST(AviCodecTags, TablesAreWholeAndTheFirstMatchWins) {
    EXPECT_EQ(rows(avi_codec_bmp_tags), 109u);
    EXPECT_EQ(rows(avi_codec_wav_tags), 38u);
    EXPECT_EQ(rows(avi_codec_movvideo_tags), 53u);
    EXPECT_EQ(avi_codec_get_id(avi_codec_wav_tags, avi_tag("!!!!")), 0u);
    const std::pair<uint32_t, uint32_t> pairs[] = {
        {avi_tag("xvid"), fourcc("xvid")},
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
        {4, fourcc("m4va")},
    };
    for (const auto &[tag, codec] : pairs)
        EXPECT_EQ(avi_codec_get_id(avi_codec_bmp_tags, tag), codec) << std::hex << tag;
}

}  // namespace
}  // namespace quorv::test
