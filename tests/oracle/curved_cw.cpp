// Continuous waves in double precision.
#include <cmath>
#include <cstddef>

#include "oracle/curved_geometry.h"
#include "oracle/curved_waves.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// e^(-(alpha + jk) x) - 1 without cancellation.
Complex change_over(const Wave& wave, double distance) {
    const double x = -wave.alpha * distance;
    const double y = -wave.k * distance;
    const double q = std::expm1(x);
    const double h = std::sin(y / 2.0);
    return {q - 2.0 * (1.0 + q) * h * h, (1.0 + q) * std::sin(y)};
}

// Sum over the rims' abscissas, relative to the direct path.
Complex rim_sum(const std::vector<Rim>& rims, double d, const Rule& rule, const Wave& wave,
                const Pole& pole) {
    Complex sum = 0.0;
    const double D01 = 2.0 * pole.sigma * std::fmin(pole.s, d);
    const Complex E10 = 1.0 + change_over(wave, D01);
    for (const Rim& rim : rims) {
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double weight = rim.sign * rule.w[i] * rim.a;
            const Spot spot = spot_of(rim, pole, kappa_of(rule.x[i]));
            const double delta = spot.excess(pole, d);
            if (!rim.nearly_hemispherical()) {
                sum += weight * spot.K() * change_over(wave, delta);
                continue;
            }
            const double delta1 =
                -pole.sigma * pole.s * d * (4.0 - spot.D2) / (spot.R(pole, d) + pole.R1);
            sum += weight * (spot.A() * change_over(wave, delta) +
                             spot.B() * E10 * change_over(wave, delta1));
        }
        if (rim.nearly_hemispherical()) {
            sum -= rim.sign * (pi / 2.0) * d * rim.V * change_over(wave, D01);
        }
    }
    return sum;
}

void add_bowl(const ApertureScene& scene, const Aperture& aperture, ComplexField& field) {
    const std::vector<Rim> rims = rims_of(aperture);
    const double d = aperture.focus;
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const Wave wave = wave_of(scene);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        if (is_skipped(rims, d, place)) {
            continue;
        }
        const Pole pole = pole_of(d, place);
        const Complex sum = rim_sum(rims, d, rule, wave, pole);
        field[p] += sum * wave.over(pole.R0) *
                    (scene.density * scene.speed / pi * (pole.sigma / pole.s)) * aperture.weight;
    }
}

void add_flat(const ApertureScene& scene, const Aperture& aperture, ComplexField& field) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const Wave wave = wave_of(scene);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        const double r = place.r, z = place.z;
        if (z < 0.0) {
            continue;
        }
        Complex sum = 0.0;
        for (const Rim& rim : rims_of(aperture)) {
            for (std::size_t i = 0; i < rule.x.size(); ++i) {
                const double cosine = std::cos(rule.x[i]);
                const double D = (place.r_squared + rim.a * rim.a) - 2.0 * rim.a * cosine * r;
                const double g = (r * cosine - rim.a) / D;
                const double R = std::sqrt(z * z + D);
                sum += rim.sign * rim.a * rule.w[i] * g * (wave.over(R) - wave.over(z));
            }
        }
        field[p] += sum * (scene.density * scene.speed / pi) * aperture.weight;
    }
}

void add_bowl_surface(const ApertureScene& scene, const Aperture& aperture, ComplexField& field) {
    const std::vector<Rim> rims = rims_of(aperture);
    const double d = aperture.focus;
    const Wave wave = rayleigh_wave_of(scene);
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const Polar polar = polar_of(rims, d, rule);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        if (is_skipped(rims, d, place)) {
            continue;
        }
        const double r = place.r, z = place.z;
        Complex sum = 0.0;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double q = polar.q[i];
            for (std::size_t j = 0; j < rule.x.size(); ++j) {
                const double R = std::sqrt((r - q) * (r - q) + (z - polar.z[i]) * (z - polar.z[i]) +
                                           2.0 * r * q * kappa_of(rule.x[j]));
                sum += polar.dA[i] * rule.w[j] * wave.over(R) / R;
            }
        }
        field[p] += sum * Complex(0.0, 2.0 * scene.density * scene.f0) * aperture.weight;
    }
}

void add_flat_surface(const ApertureScene& scene, const Aperture& aperture, ComplexField& field) {
    const Wave wave = rayleigh_wave_of(scene);
    const int n = scene.ndiv;
    const double in = std::fmax(aperture.inner_radius, 0.0);
    const double dr = (aperture.radius - in) / n;
    const double dphi = pi / n;
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        const double r = place.r, z = place.z;
        if (z < 0.0) {
            continue;
        }
        Complex sum = 0.0;
        for (int i = 0; i < n; ++i) {
            const double ring = in + (i + 0.5) * dr;
            for (int j = 0; j < n; ++j) {
                const double cosine = std::cos((j + 0.5) * dphi);
                const double R =
                    std::sqrt(ring * ring + (z * z + place.r_squared) - cosine * 2.0 * ring * r);
                sum += dr * ring * dphi * wave.over(R) / R;
            }
        }
        field[p] += sum * Complex(0.0, 2.0 * scene.density * scene.f0) * aperture.weight;
    }
}

}  // namespace

Complex Wave::over(double R) const {
    return std::exp(-alpha * R) * Complex(std::cos(k * R), -std::sin(k * R));
}

Wave wave_of(const ApertureScene& scene) {
    const double lambda = scene.speed / (scene.f0 <= 1e-10 ? 1e6 : scene.f0);
    return {two_pi / lambda, scene.attenuation * 100.0 * (scene.f0 / 1e6) / 8.685889638065037};
}

Wave rayleigh_wave_of(const ApertureScene& scene) {
    const double c = scene.speed <= 1e-10 ? 1500.0 : scene.speed;
    return {scene.f0 * two_pi / c, wave_of(scene).alpha};
}

Polar polar_of(const std::vector<Rim>& rims, double d, const Rule& rule) {
    const auto angle = [d](const Rim& rim) { return std::atan2(rim.a, rim.C * d); };
    const double in = rims.size() > 1 ? angle(rims.back()) : 0.0;
    const double out = angle(rims.front());
    Polar polar;
    for (std::size_t i = 0; i < rule.x.size(); ++i) {
        const double theta = in + (out - in) * rule.x[i] / pi;
        const double h = std::sin(theta / 2.0);
        polar.q.push_back(d * std::sin(theta));
        polar.z.push_back(2.0 * d * h * h);
        polar.dA.push_back(d * polar.q.back() * (rule.w[i] * (out - in) / pi));
    }
    return polar;
}

void add_fnm_cw(const ApertureScene& scene, ComplexField& field) {
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) > 1e-10) {
            (aperture.focus > 0.0 ? add_bowl : add_flat)(scene, aperture, field);
        }
    }
}

void add_rayleigh_cw(const ApertureScene& scene, ComplexField& field) {
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) > 1e-10) {
            (aperture.focus > 0.0 ? add_bowl_surface : add_flat_surface)(scene, aperture, field);
        }
    }
}

}  // namespace kavro_oracle
