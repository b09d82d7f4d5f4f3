#include "core/simd/vector_math.h"

#include <array>

#include "core/console.h"

namespace kavro {
namespace {

__m128 all(float value) {
    return _mm_set1_ps(value);
}

__m128 bits(int pattern) {
    return _mm_castsi128_ps(_mm_set1_epi32(pattern));
}

__m128 select(__m128 mask, __m128 where_set, __m128 where_clear) {
    return _mm_or_ps(_mm_and_ps(mask, where_set), _mm_andnot_ps(mask, where_clear));
}

constexpr int sign_bit = static_cast<int>(0x80000000u);

// What sine and cosine of |x| share: the octant, and both polynomials of the reduced argument.
struct Octant {
    __m128i j;
    __m128 sine;
    __m128 cosine;
    __m128 swap_mask;  // all ones where bit 1 of j is clear

    explicit Octant(__m128 magnitude) {
        __m128 y = _mm_mul_ps(magnitude, all(1.27323954473516f));
        j = _mm_cvttps_epi32(y);
        j = _mm_and_si128(_mm_add_epi32(j, _mm_set1_epi32(1)), _mm_set1_epi32(~1));
        y = _mm_cvtepi32_ps(j);
        swap_mask = _mm_castsi128_ps(
            _mm_cmpeq_epi32(_mm_and_si128(j, _mm_set1_epi32(2)), _mm_setzero_si128()));

        __m128 x = _mm_add_ps(magnitude, _mm_mul_ps(y, all(-0.78515625f)));
        x = _mm_add_ps(x, _mm_mul_ps(y, all(-2.4187564849853515625e-4f)));
        x = _mm_add_ps(x, _mm_mul_ps(y, all(-3.77489497744594108e-8f)));
        const __m128 z = _mm_mul_ps(x, x);

        __m128 c = all(2.443315711809948e-5f);
        c = _mm_add_ps(_mm_mul_ps(c, z), all(-1.388731625493765e-3f));
        c = _mm_add_ps(_mm_mul_ps(c, z), all(4.166664568298827e-2f));
        c = _mm_mul_ps(_mm_mul_ps(c, z), z);
        c = _mm_sub_ps(c, _mm_mul_ps(z, all(0.5f)));
        cosine = _mm_add_ps(c, all(1.0f));

        __m128 s = all(-1.9515295891e-4f);
        s = _mm_add_ps(_mm_mul_ps(s, z), all(8.3321608736e-3f));
        s = _mm_add_ps(_mm_mul_ps(s, z), all(-1.6666654611e-1f));
        s = _mm_mul_ps(_mm_mul_ps(s, z), x);
        sine = _mm_add_ps(s, x);
    }

    __m128 sine_of(__m128 x) const {
        const __m128 flip =
            _mm_castsi128_ps(_mm_slli_epi32(_mm_and_si128(j, _mm_set1_epi32(4)), 29));
        const __m128 sign = _mm_xor_ps(_mm_and_ps(x, bits(sign_bit)), flip);
        return _mm_xor_ps(select(swap_mask, sine, cosine), sign);
    }

    __m128 cosine_of() const {
        const __m128i shifted = _mm_sub_epi32(j, _mm_set1_epi32(2));
        const __m128 sign =
            _mm_castsi128_ps(_mm_slli_epi32(_mm_andnot_si128(shifted, _mm_set1_epi32(4)), 29));
        return _mm_xor_ps(select(swap_mask, cosine, sine), sign);
    }
};

__m128 magnitude_of(__m128 x) {
    return _mm_andnot_ps(bits(sign_bit), x);
}

}  // namespace

__m128 exp_ps(__m128 x) {
    x = _mm_min_ps(x, all(88.3762626647949f));
    x = _mm_max_ps(x, all(-88.3762626647949f));

    const __m128 fx = _mm_add_ps(_mm_mul_ps(x, all(1.44269504088896341f)), all(0.5f));
    __m128 n = _mm_cvtepi32_ps(_mm_cvttps_epi32(fx));
    n = _mm_sub_ps(n, _mm_and_ps(_mm_cmpgt_ps(n, fx), all(1.0f)));

    x = _mm_sub_ps(x, _mm_mul_ps(n, all(0.693359375f)));
    x = _mm_sub_ps(x, _mm_mul_ps(n, all(-2.12194440e-4f)));

    __m128 y = all(1.9875691500e-4f);
    y = _mm_add_ps(_mm_mul_ps(y, x), all(1.3981999507e-3f));
    y = _mm_add_ps(_mm_mul_ps(y, x), all(8.3334519073e-3f));
    y = _mm_add_ps(_mm_mul_ps(y, x), all(4.1665795894e-2f));
    y = _mm_add_ps(_mm_mul_ps(y, x), all(1.6666665459e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, x), all(5.0000001201e-1f));
    y = _mm_add_ps(_mm_add_ps(_mm_mul_ps(y, _mm_mul_ps(x, x)), x), all(1.0f));

    const __m128i exponent =
        _mm_slli_epi32(_mm_add_epi32(_mm_cvttps_epi32(n), _mm_set1_epi32(127)), 23);
    return _mm_mul_ps(y, _mm_castsi128_ps(exponent));
}

__m128 log_ps(__m128 x) {
    const __m128 invalid = _mm_cmple_ps(x, _mm_setzero_ps());
    x = _mm_max_ps(x, bits(0x00800000));

    const __m128i biased = _mm_srli_epi32(_mm_castps_si128(x), 23);
    __m128 e = _mm_add_ps(_mm_cvtepi32_ps(_mm_sub_epi32(biased, _mm_set1_epi32(127))), all(1.0f));
    __m128 m = _mm_or_ps(_mm_and_ps(x, bits(static_cast<int>(0x807FFFFFu))), all(0.5f));

    const __m128 low = _mm_cmplt_ps(m, all(0.707106781186547524f));
    const __m128 doubled_part = _mm_and_ps(low, m);
    m = _mm_add_ps(_mm_sub_ps(m, all(1.0f)), doubled_part);
    e = _mm_sub_ps(e, _mm_and_ps(low, all(1.0f)));

    const __m128 z = _mm_mul_ps(m, m);
    __m128 y = all(7.0376836292e-2f);
    y = _mm_add_ps(_mm_mul_ps(y, m), all(-1.1514610310e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(1.1676998740e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(-1.2420140846e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(1.4249322787e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(-1.6668057665e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(2.0000714765e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(-2.4999993993e-1f));
    y = _mm_add_ps(_mm_mul_ps(y, m), all(3.3333331174e-1f));
    y = _mm_mul_ps(_mm_mul_ps(y, m), z);
    y = _mm_add_ps(y, _mm_mul_ps(e, all(-2.12194440e-4f)));
    y = _mm_sub_ps(y, _mm_mul_ps(z, all(0.5f)));
    const __m128 result = _mm_add_ps(_mm_add_ps(m, y), _mm_mul_ps(e, all(0.693359375f)));
    return _mm_or_ps(result, invalid);
}

__m128 sin_ps(__m128 x) {
    return Octant(magnitude_of(x)).sine_of(x);
}

__m128 cos_ps(__m128 x) {
    return Octant(magnitude_of(x)).cosine_of();
}

void sincos_ps(__m128 x, __m128* s, __m128* c) {
    const Octant octant(magnitude_of(x));
    *s = octant.sine_of(x);
    *c = octant.cosine_of();
}

void complex_exp(__m128 re, __m128 im, __m128* out_re, __m128* out_im) {
    const __m128 magnitude = exp_ps(re);
    __m128 s;
    __m128 c;
    sincos_ps(im, &s, &c);
    *out_re = _mm_mul_ps(magnitude, c);
    *out_im = _mm_mul_ps(magnitude, s);
}

float horizontal_add_ps(__m128 v) {
    const __m128 pairs = _mm_add_ps(v, _mm_movehl_ps(v, v));
    return _mm_cvtss_f32(_mm_add_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
}

__m128 _mm_set_doubles(double a, double b, double c, double d) {
    return _mm_set_ps(static_cast<float>(a), static_cast<float>(b), static_cast<float>(c),
                      static_cast<float>(d));
}

void debug_m128(__m128 v) {
    alignas(16) std::array<float, 4> lanes;
    _mm_store_ps(lanes.data(), v);
    console::print("<%e %e %e %e>\n", static_cast<double>(lanes[0]), static_cast<double>(lanes[1]),
                   static_cast<double>(lanes[2]), static_cast<double>(lanes[3]));
}

}  // namespace kavro
