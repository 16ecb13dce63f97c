// Exact arithmetic on times; see the header.

#include "aviparser/AviMath.h"

#include "aviparser/AviUtils.h"
#include "splitter/Splitter.h"

namespace quorv {

namespace {

constexpr const char *kAssertFile = "../../../src/aviparser/AviUtils";

struct Wide {
    uint64_t high, low;

    bool operator>(const Wide &other) const {
        return high != other.high ? high > other.high : low > other.low;
    }
};

// The whole 128-bit product, from 32-bit halves: not every target has a type for it.
Wide multiply(uint64_t a, uint64_t b) {
    const uint64_t a0 = a & UINT32_MAX, a1 = a >> 32, b0 = b & UINT32_MAX, b1 = b >> 32;
    const uint64_t middle = a0 * b1 + (a0 * b0 >> 32);
    const uint64_t carried = a1 * b0 + (middle & UINT32_MAX);
    return {a1 * b1 + (middle >> 32) + (carried >> 32), carried << 32 | ((a0 * b0) & UINT32_MAX)};
}

// (a * b + addend) / divisor, bit by bit.
uint64_t multiply_and_divide(uint64_t a, uint64_t b, uint64_t addend, uint64_t divisor) {
    Wide numerator = multiply(a, b);
    numerator.low += addend;
    numerator.high += numerator.low < addend;

    // The quotient keeps its low 64 bits, so of the upper word only the remainder matters.
    uint64_t remainder = numerator.high % divisor;
    uint64_t quotient = 0;
    for (int bit = 63; bit >= 0; --bit) {
        const bool carry = remainder >> 63 != 0;
        remainder = remainder << 1 | (numerator.low >> bit & 1);
        quotient <<= 1;
        if (carry || remainder >= divisor) {
            remainder -= divisor;
            quotient |= 1;
        }
    }
    return quotient;
}

uint64_t magnitude(int64_t value) {
    return value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

uint64_t greatest_common_divisor(uint64_t a, uint64_t b) {
    while (b != 0) {
        const uint64_t rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

uint64_t rounding_term(uint32_t rounding, uint64_t c) {
    if (rounding == kAviRoundNearInf) return c / 2;
    return (rounding & 1) != 0 ? c - 1 : 0;
}

struct Fraction {
    uint64_t num, den;
};

}  // namespace

int64_t avi_rescale_rnd(int64_t a, int64_t b, int64_t c, uint32_t rounding) {
    avi_assert(c > 0, "c > 0", kAssertFile);
    avi_assert(b >= 0, "b >=0", kAssertFile);
    avi_assert(rounding <= 5 && rounding != 4, "rnd >=0 && rnd<=5 && rnd!=4", kAssertFile);

    if (a < 0) {
        // The mirror image: rounding down and up change places. INT64_MIN has no positive counterpart, so it
        // is negated as an unsigned value.
        const uint32_t mirrored = rounding ^ (rounding >> 1 & 1);
        const auto c_word = static_cast<uint64_t>(c);
        return static_cast<int64_t>(0 - multiply_and_divide(magnitude(a), static_cast<uint64_t>(b),
                                                            rounding_term(mirrored, c_word), c_word));
    }
    const auto a_word = static_cast<uint64_t>(a), b_word = static_cast<uint64_t>(b),
               c_word = static_cast<uint64_t>(c);
    const uint64_t r = rounding_term(rounding, c_word);
    if (b <= INT32_MAX && c <= INT32_MAX) {
        if (a <= INT32_MAX) return static_cast<int64_t>((a_word * b_word + r) / c_word);
        return static_cast<int64_t>(a_word / c_word * b_word + (a_word % c_word * b_word + r) / c_word);
    }
    return static_cast<int64_t>(multiply_and_divide(a_word, b_word, r, c_word));
}

int64_t avi_rescale(int64_t a, int64_t b, int64_t c) {
    return avi_rescale_rnd(a, b, c, kAviRoundNearInf);
}

int64_t avi_rescale_q(int64_t a, AviRational bq, AviRational cq) {
    return avi_rescale_rnd(a, int64_t{bq.num} * cq.den, int64_t{cq.num} * bq.den, kAviRoundNearInf);
}

int avi_reduce(int32_t *out_num, int32_t *out_den, int64_t num, int64_t den, int64_t max) {
    const bool negative = (num < 0) != (den < 0);
    const auto limit = static_cast<uint64_t>(max);
    uint64_t n = magnitude(num), d = magnitude(den);
    if (const uint64_t gcd = greatest_common_divisor(n, d); gcd != 0) {
        n /= gcd;
        d /= gcd;
    }

    Fraction before{0, 1}, last{1, 0};
    if (n <= limit && d <= limit) {
        last = {n, d};
        d = 0;
    }
    while (d != 0) {
        uint64_t x = n / d;
        const uint64_t rest = n - d * x;
        Fraction next;
        const bool too_big = __builtin_mul_overflow(x, last.num, &next.num) ||
                             __builtin_add_overflow(next.num, before.num, &next.num) || next.num > limit ||
                             __builtin_mul_overflow(x, last.den, &next.den) ||
                             __builtin_add_overflow(next.den, before.den, &next.den) || next.den > limit;
        if (too_big) {
            // The best fraction between the last two convergents that still fits, if it is the closer one:
            // |n/d - semiconvergent| < |n/d - last|, by cross-multiplication.
            if (last.num != 0) x = (limit - before.num) / last.num;
            if (last.den != 0 && (limit - before.den) / last.den < x) x = (limit - before.den) / last.den;
            if (multiply(d, 2 * x * last.den + before.den) > multiply(n, last.den)) {
                last = {x * last.num + before.num, x * last.den + before.den};
            }
            break;
        }
        before = last;
        last = next;
        n = d;
        d = rest;
    }

    const auto signed_num = static_cast<int64_t>(last.num);
    *out_num = static_cast<int32_t>(negative ? -signed_num : signed_num);
    *out_den = static_cast<int32_t>(last.den);
    return d == 0 ? 1 : 0;
}

double avi_units_to_ms(AviRational time_base, int64_t units) {
    if (time_base.den == 0) return 0.0;
    return static_cast<double>(units) * time_base.num * 1000.0 / time_base.den;
}

int64_t avi_ms_to_units(AviRational time_base, uint32_t ms) {
    if (time_base.den == 0 || time_base.num == 0) return 0;
    const double unit = time_base.num * 1000.0 / time_base.den;
    return clamp_to_s64(ms / unit + 0.5);
}

}  // namespace quorv
