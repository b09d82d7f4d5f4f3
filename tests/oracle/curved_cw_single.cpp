// Continuous waves of a bowl, four abscissas at a time in single precision. A group is computed
// lane by lane.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "oracle/curved_waves.h"
#include "oracle/four_wide.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// Four sums, added as lane pairs.
struct LaneSums {
    float re[4] = {};
    float im[4] = {};

    Complex total() const { return {sum_of(re), sum_of(im)}; }
    static double sum_of(const float* v) {
        return static_cast<double>((v[0] + v[2]) + (v[1] + v[3]));
    }
};

float exp_minus_one(float x) {
    if (std::fabs(x) < 0.25f) {
        return x *
               (1.0f +
                x / 2.0f *
                    (1.0f + x / 3.0f * (1.0f + x / 4.0f * (1.0f + x / 5.0f * (1.0f + x / 6.0f)))));
    }
    return exp_lane(x) - 1.0f;
}

// One bowl's constants and a point's, rounded.
struct SinglePole {
    float b, two_S_m, N0, C_m, product, R0, R0_squared;

    SinglePole(const Rim& rim, const Pole& pole, double d)
        : b(static_cast<float>((rim.S - pole.m) * (rim.S - pole.m) +
                               (rim.V - pole.U) * (rim.V - pole.U))),
          two_S_m(static_cast<float>(2.0 * rim.S * pole.m)),
          N0(static_cast<float>(rim.C * pole.m - rim.S * pole.n)),
          C_m(static_cast<float>(rim.C * pole.m)),
          product(static_cast<float>(pole.sigma * d * pole.s)),
          R0(static_cast<float>(pole.R0)),
          R0_squared(static_cast<float>(pole.R0 * pole.R0)) {}
};

Complex rim_sum(const SinglePole& pole, const Wave& wave, const Rule& rule) {
    const auto k = static_cast<float>(wave.k);
    const auto alpha = static_cast<float>(wave.alpha);
    LaneSums sums;
    for (std::size_t i = 0; i < rule.x.size() / 4 * 4; ++i) {
        const auto kappa = static_cast<float>(kappa_of(rule.x[i]));
        const auto weight = static_cast<float>(rule.w[i]);
        const float D2 = pole.b + pole.two_S_m * kappa;
        const float N = pole.N0 - pole.C_m * kappa;
        const float K = N / (D2 * (1.0f - D2 * 0.25f));
        const float R = std::sqrt(std::max(0.0f, pole.R0_squared + pole.product * D2));
        const float delta = pole.product * D2 / (R + pole.R0);
        const float x = -alpha * delta;
        const float y = -k * delta;
        const float q = exp_minus_one(x);
        const float h = sin_lane(y * 0.5f);
        const float growth = 1.0f + q;
        sums.re[i % 4] += weight * K * (q - 2.0f * growth * h * h);
        sums.im[i % 4] += weight * K * (growth * sin_lane(y));
    }
    return sums.total();
}

Complex row_sum(const Wave& wave, const Rule& rule, double r, double q, double height) {
    const auto k = static_cast<float>(wave.k);
    const auto alpha = static_cast<float>(wave.alpha);
    const auto nearest = static_cast<float>((r - q) * (r - q) + height * height);
    const auto spread = static_cast<float>(2.0 * r * q);
    LaneSums sums;
    for (std::size_t j = 0; j < rule.x.size() / 4 * 4; ++j) {
        const float R = std::sqrt(nearest + spread * static_cast<float>(kappa_of(rule.x[j])));
        float re = 0.0f, im = 0.0f;
        complex_exp_lane(-alpha * R, -k * R, &re, &im);
        const auto weight = static_cast<float>(rule.w[j]);
        sums.re[j % 4] += weight * re / R;
        sums.im[j % 4] += weight * im / R;
    }
    return sums.total();
}

// No default where no frequency is set.
Wave plain_wave_of(const ApertureScene& scene) {
    return {two_pi / (scene.speed / scene.f0), wave_of(scene).alpha};
}

}  // namespace

void add_fnm_cw_sse(const ApertureScene& scene, ComplexField& field) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    for (const Aperture& aperture : scene.apertures) {
        const std::vector<Rim> rims = rims_of(aperture);
        const double d = aperture.focus;
        const Wave wave = plain_wave_of(scene);
        if (rims.front().nearly_hemispherical()) {
            ApertureScene alone = scene;
            alone.apertures = {aperture};
            alone.apertures[0].amplitude = 1.0;  // there is no test of it
            add_fnm_cw(alone, field);
            continue;
        }
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Place place = place_of(aperture, scene.points[p]);
            if (is_skipped(rims, d, place)) {
                continue;
            }
            const Pole pole = pole_of(d, place);
            const Complex sum = rim_sum(SinglePole(rims.front(), pole, d), wave, rule);
            field[p] +=
                sum * wave.over(pole.R0) *
                (scene.density * scene.speed * rims.front().a / pi * (pole.sigma / pole.s)) *
                aperture.weight;
        }
    }
}

void add_rayleigh_cw_sse(const ApertureScene& scene, ComplexField& field) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const Wave wave = plain_wave_of(scene);
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) <= 1e-10) {
            continue;
        }
        const std::vector<Rim> rims = rims_of(aperture);
        const Polar polar = polar_of(rims, aperture.focus, rule);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Place place = place_of(aperture, scene.points[p]);
            if (is_skipped(rims, aperture.focus, place)) {
                continue;
            }
            Complex sum = 0.0;
            for (std::size_t i = 0; i < rule.x.size(); ++i) {
                sum += polar.dA[i] * row_sum(wave, rule, place.r, polar.q[i], place.z - polar.z[i]);
            }
            field[p] += sum * Complex(0.0, 2.0 * scene.density * scene.f0) * aperture.weight;
        }
    }
}

}  // namespace kavro_oracle
