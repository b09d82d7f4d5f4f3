#include <array>
#include <cmath>
#include <cstddef>

#include "oracle/disc_continuous_wave.h"
#include "oracle/disc_steps.h"
#include "oracle/four_wide.h"
#include "oracle/gauss.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

struct Wave {
    float re = 0.0f, im = 0.0f;
};

Wave complex_exp(float re, float im) {
    Wave wave;
    complex_exp_lane(re, im, &wave.re, &wave.im);
    return wave;
}

// The sum at one point in four lanes.
struct LaneSum {
    std::array<float, 4> re{}, im{};
    double terms = 0.0;

    void add(std::size_t lane, float real, float imaginary, double magnitude) {
        re[lane] += real;
        im[lane] += imaginary;
        terms += magnitude;
    }
    Complex total() const {
        return {static_cast<double>(across(re)), static_cast<double>(across(im))};
    }

private:
    static float across(const std::array<float, 4>& l) { return (l[0] + l[2]) + (l[1] + l[3]); }
};

// Whole groups of four, unless exact.
std::size_t count_of(const Disc& disc, const std::vector<double>& abscissas) {
    return disc.exact ? abscissas.size() : abscissas.size() / 4 * 4;
}

struct SinglePoint {
    float x, y, z;
};

template <class Factor, class SumAt>
ComplexField sum_over_discs(const Scene& scene, bool skips_silent, Factor factor, SumAt sum_at) {
    ComplexField field{std::vector<Complex>(scene.points.size()),
                       std::vector<double>(scene.points.size())};
    for (const Disc& disc : scene.discs) {
        if (skips_silent && std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        const Rotation rotation = rotation_of(disc);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Triple local = rotate_translate(rotation, disc, scene.points[p]);
            const SinglePoint point{static_cast<float>(local.x), static_cast<float>(local.y),
                                    static_cast<float>(local.z)};
            if (point.z < 0.0f) {
                continue;
            }
            const LaneSum sum = sum_at(disc, point);
            field.values[p] += sum.total() * factor(disc);
            field.terms[p] += sum.terms * std::abs(factor(disc));
        }
    }
    return field;
}

}  // namespace

// An element of zero amplitude is computed in full and adds zeros.
ComplexField fnm_cw_sse(const Scene& scene) {
    const double lambda = scene.speed / scene.f0;
    const double wide_k = two_pi / lambda;
    const auto k = static_cast<float>(wide_k);
    const auto alpha = static_cast<float>(nepers(scene));
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const std::vector<double> cosines = cosines_of(rule.x);
    const auto factor = [&](const Disc& disc) { return nearfield_factor(scene, disc, wide_k); };
    return sum_over_discs(scene, false, factor, [&](const Disc& disc, const SinglePoint& point) {
        const auto a = static_cast<float>(disc.radius);
        const float z_squared = point.z * point.z;
        const float s_squared = point.y * point.y + point.x * point.x;
        const float s = std::sqrt(s_squared);
        const Wave E0 = complex_exp(-alpha * point.z, -k * point.z);
        LaneSum sum;
        for (std::size_t i = 0; i < count_of(disc, cosines); ++i) {
            const auto cosine = static_cast<float>(cosines[i]);
            const float two_a_cosine = cosine * (2.0f * a);
            const auto weight = static_cast<float>(rule.w[i]);
            const float D = (s_squared + a * a) - two_a_cosine * s;
            const float g = ((s * cosine - a) / D) * weight;
            const float R = std::sqrt(D + z_squared);
            const Wave E = complex_exp(-alpha * R, -k * R);
            const auto magnitude =
                static_cast<double>(std::fabs(g)) *
                static_cast<double>(std::hypot(E.re, E.im) + std::hypot(E0.re, E0.im));
            sum.add(i % 4, g * (E.re - E0.re), g * (E.im - E0.im), magnitude);
        }
        return sum;
    });
}

ComplexField rayleigh_cw_sse(const Scene& scene) {
    const double lambda = scene.speed / scene.f0;
    const auto k = static_cast<float>(two_pi / lambda);
    const auto alpha = static_cast<float>(nepers(scene));
    const int n = scene.ndiv;
    const double dphi = pi / n;
    const std::vector<double> cosines = midpoint_cosines(n);
    const auto factor = [&](const Disc& disc) { return rayleigh_factor(scene, disc); };
    return sum_over_discs(scene, true, factor, [&](const Disc& disc, const SinglePoint& point) {
        const double dr = disc.radius / n;
        const float s_squared = point.y * point.y + point.x * point.x;
        const float s = std::sqrt(s_squared);
        const float B = s_squared + point.z * point.z;
        LaneSum sum;
        for (int i = 0; i < n; ++i) {
            const double wide_r = (i + 0.5) * dr;
            const auto r = static_cast<float>(wide_r);
            const auto r_squared = static_cast<float>(wide_r * wide_r);
            const auto dA = static_cast<float>(dr * wide_r * dphi);
            const float two_r_s = 2.0f * r * s;
            for (std::size_t j = 0; j < count_of(disc, cosines); ++j) {
                const auto cosine = static_cast<float>(cosines[j]);
                const float R = std::sqrt((r_squared + B) - cosine * two_r_s);
                const float strength = exp_lane(-alpha * R) * dA / R;
                const Wave E = complex_exp(0.0f, -k * R);
                sum.add(j % 4, strength * E.re, strength * E.im,
                        static_cast<double>(std::fabs(strength)));
            }
        }
        return sum;
    });
}

}  // namespace kavro_oracle
