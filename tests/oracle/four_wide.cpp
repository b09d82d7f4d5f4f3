#include "oracle/four_wide.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kavro_oracle {
namespace {

// Towards zero; what does not fit gives the smallest integer, as the processor's conversion does.
std::int32_t truncated(float x) {
    const bool fits = x >= -2147483648.0f && x < 2147483648.0f;
    return fits ? static_cast<std::int32_t>(x) : std::numeric_limits<std::int32_t>::min();
}

std::int32_t wrapping_plus_one(std::int32_t j) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(j) + 1u);
}

float power_of_two(std::int32_t n) {
    return std::bit_cast<float>((static_cast<std::uint32_t>(n) + 127u) << 23);
}

float negated_if(bool negate, float x) {
    return negate ? std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) ^ 0x80000000u) : x;
}

float cosine_polynomial(float z) {
    float y = 2.443315711809948e-5f;
    y = y * z + -1.388731625493765e-3f;
    y = y * z + 4.166664568298827e-2f;
    y = y * z * z;
    y = y - z * 0.5f;
    return y + 1.0f;
}

float sine_polynomial(float z, float x) {
    float y = -1.9515295891e-4f;
    y = y * z + 8.3321608736e-3f;
    y = y * z + -1.6666654611e-1f;
    y = y * z * x;
    return y + x;
}

}  // namespace

float exp_lane(float x) {
    if (x > 88.3762626647949f) {
        x = 88.3762626647949f;
    }
    if (x < -88.3762626647949f) {
        x = -88.3762626647949f;
    }
    const float fx = x * 1.44269504088896341f + 0.5f;
    float n = static_cast<float>(truncated(fx));
    if (n > fx) {
        n -= 1.0f;
    }
    x = x - n * 0.693359375f - n * -2.12194440e-4f;
    float y = 1.9875691500e-4f;
    y = y * x + 1.3981999507e-3f;
    y = y * x + 8.3334519073e-3f;
    y = y * x + 4.1665795894e-2f;
    y = y * x + 1.6666665459e-1f;
    y = y * x + 5.0000001201e-1f;
    y = y * (x * x) + x + 1.0f;
    return y * power_of_two(truncated(n));
}

float log_lane(float x) {
    const bool invalid = x <= 0.0f;
    if (x < 1.17549435e-38f) {
        x = 1.17549435e-38f;
    }
    const auto bits = std::bit_cast<std::uint32_t>(x);
    float e = static_cast<float>(static_cast<std::int32_t>(bits >> 23) - 127) + 1.0f;
    float m = std::bit_cast<float>((bits & 0x807FFFFFu) | std::bit_cast<std::uint32_t>(0.5f));
    if (m < 0.707106781186547524f) {
        e -= 1.0f;
        m = m + m - 1.0f;
    } else {
        m = m - 1.0f;
    }
    const float z = m * m;
    float y = 7.0376836292e-2f;
    y = y * m + -1.1514610310e-1f;
    y = y * m + 1.1676998740e-1f;
    y = y * m + -1.2420140846e-1f;
    y = y * m + 1.4249322787e-1f;
    y = y * m + -1.6668057665e-1f;
    y = y * m + 2.0000714765e-1f;
    y = y * m + -2.4999993993e-1f;
    y = y * m + 3.3333331174e-1f;
    y = y * m * z;
    y = y + e * -2.12194440e-4f;
    y = y - 0.5f * z;
    const float result = m + y + e * 0.693359375f;
    return invalid ? std::numeric_limits<float>::quiet_NaN() : result;
}

void sincos_lane(float x, float* s, float* c) {
    const bool negative = std::signbit(x);
    const float magnitude = std::fabs(x);
    const std::int32_t j = wrapping_plus_one(truncated(magnitude * 1.27323954473516f)) & ~1;
    const auto y = static_cast<float>(j);
    const auto j_minus_two = static_cast<std::int32_t>(static_cast<std::uint32_t>(j) - 2u);
    const bool negate_sine = ((j & 4) != 0) != negative;
    const bool negate_cosine = (j_minus_two & 4) == 0;
    const float reduced = ((magnitude + y * -0.78515625f) + y * -2.4187564849853515625e-4f) +
                          y * -3.77489497744594108e-8f;
    const float z = reduced * reduced;
    const float by_cosine = cosine_polynomial(z);
    const float by_sine = sine_polynomial(z, reduced);
    const bool swapped = (j & 2) != 0;
    *s = negated_if(negate_sine, swapped ? by_cosine : by_sine);
    *c = negated_if(negate_cosine, swapped ? by_sine : by_cosine);
}

float sin_lane(float x) {
    float s = 0.0f, c = 0.0f;
    sincos_lane(x, &s, &c);
    return s;
}

float cos_lane(float x) {
    float s = 0.0f, c = 0.0f;
    sincos_lane(x, &s, &c);
    return c;
}

void complex_exp_lane(float re, float im, float* out_re, float* out_im) {
    const float e = exp_lane(re);
    float s = 0.0f, c = 0.0f;
    sincos_lane(im, &s, &c);
    *out_re = e * c;
    *out_im = e * s;
}

}  // namespace kavro_oracle
