// Transient pressure in single precision.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "oracle/curved_transient.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

using Floats = std::vector<float>;

// What both kinds of aperture share: float factors and their sums.
class SingleAperture {
public:
    SingleAperture(const ApertureScene& scene, const Aperture& aperture)
        : scene_(scene),
          aperture_(aperture),
          rule_(gauss(scene.ndiv, 0, pi)),
          rims_(rims_of(aperture)),
          c_(static_cast<float>(scene.speed)),
          spatial_(static_cast<std::size_t>(aperture.waveform->terms())),
          temporal_(spatial_.size() * scene.times.size() + 3) {
        aperture.waveform->temporal(scene.times, static_cast<float>(aperture.time_delay),
                                    temporal_.data());
    }

protected:
    void add(float coefficient, float tau, const Window& window, Floats& accumulator,
             PointWindows* log) {
        const std::size_t ntimes = scene_.times.size();
        aperture_.waveform->spatial(tau, spatial_.data());
        for_each_sample(window, [&](std::size_t j) {
            float sum = 0.0f;
            for (std::size_t k = 0; k < spatial_.size(); ++k) {
                sum += spatial_[k] * coefficient * temporal_[k * ntimes + j];
            }
            accumulator[j] += sum;
        });
        if (log != nullptr) {
            log->edge.push_back(window);
            note_terms(*log, window, spatial_,
                       static_cast<double>(coefficient) * aperture_.amplitude, temporal_, ntimes);
        }
    }

    const ApertureScene& scene_;
    const Aperture& aperture_;
    Rule rule_;
    std::vector<Rim> rims_;
    float c_;

private:
    Floats spatial_, temporal_;
};

// The disc's steps and roundings, over both rims.
class SingleRing : public SingleAperture {
public:
    using SingleAperture::SingleAperture;

    void add_point(const Triple& point, Floats& accumulator, PointWindows* log) {
        const Triple local = rotate_translate(rotation_of(aperture_), aperture_, point);
        const auto x = static_cast<float>(local.x);
        const auto y = static_cast<float>(local.y);
        const auto z = static_cast<float>(local.z);
        if (z < 0.0f) {
            return;
        }
        const float r_squared = y * y + x * x;
        const float r = std::sqrt(r_squared);
        float sum = 0.0f;
        for (const Rim& rim : rims_) {
            const auto a = static_cast<float>(rim.a);
            const auto rho = static_cast<float>(scene_.density);
            const double G = rim.sign * static_cast<double>(rho * c_ * a) / pi;
            for (std::size_t i = 0; i < rule_.x.size(); ++i) {
                const auto cosine = static_cast<float>(std::cos(rule_.x[i]));
                const float D = (r_squared + a * a) - cosine * (2.0f * a) * r;
                const float g = ((cosine * r - a) / D) * static_cast<float>(rule_.w[i] * G);
                const float tau = std::sqrt(D + z * z) * (1.0f / c_);
                add(g, tau, single_window(static_cast<double>(tau), static_cast<double>(tau)),
                    accumulator, log);
                sum += g;
            }
        }
        subtract_direct(r, z, sum, accumulator, log);
    }

private:
    // Begins with the nearest rim point where the foot is not on the face.
    void subtract_direct(float r, float z, float sum, Floats& accumulator, PointWindows* log) {
        const float zeta = z * (1.0f / c_);
        const auto out = static_cast<float>(rims_.front().a);
        const float in = rims_.size() > 1 ? static_cast<float>(rims_.back().a) : 0.0f;
        float begin = zeta;
        if (r < in || r >= out) {
            const auto gap = static_cast<double>(r < in ? in - r : r - out);
            begin = static_cast<float>(std::sqrt(gap * gap + static_cast<double>(z * z)) /
                                       static_cast<double>(c_));
        }
        const Window window = single_window(static_cast<double>(begin), static_cast<double>(zeta));
        for_each_sample(window, [&](std::size_t j) {
            const auto since = static_cast<double>(static_cast<float>(scene_.times[j]) - zeta);
            const double v = aperture_.waveform->at(since - aperture_.time_delay);
            accumulator[j] = static_cast<float>(static_cast<double>(accumulator[j]) -
                                                v * static_cast<double>(sum));
        });
        if (log != nullptr) {
            log->edge.push_back(window);
        }
    }

    // With the start, the width and the inverse step in single precision.
    Window single_window(double tau_a, double tau_b) const {
        const auto inv_dt = static_cast<double>(1.0f / static_cast<float>(scene_.deltat));
        const auto t0 = static_cast<double>(static_cast<float>(scene_.times.front()));
        const auto w = static_cast<double>(static_cast<float>(aperture_.waveform->width()));
        const double first = tau_a + aperture_.time_delay - t0;
        const double last = tau_a == tau_b ? first + w : aperture_.time_delay + tau_b + w - t0;
        return regular_window(first * inv_dt, last * inv_dt, scene_.times.size());
    }
};

// A bowl's geometry in double precision up to the numbers that a point and a rim share, which are
// rounded; the abscissas in single precision.
class SingleBowl : public SingleAperture {
public:
    using SingleAperture::SingleAperture;

    void add_point(const Place& place, Floats& accumulator, PointWindows* log) {
        const double d = aperture_.focus;
        const Pole pole = pole_of(d, place);
        const auto R0 = static_cast<float>(pole.R0);
        const auto R0_squared = static_cast<float>(pole.R0 * pole.R0);
        const auto product = static_cast<float>(pole.sigma * d * pole.s);
        const auto ratio = static_cast<float>(pole.sigma / pole.s);
        float sum = 0.0f;
        for (const Rim& rim : rims_) {
            const double gap_S = rim.S - pole.m;
            const double gap_V = rim.V - pole.U;
            const auto b = static_cast<float>(gap_S * gap_S + gap_V * gap_V);
            const auto two_S_m = static_cast<float>(2.0 * rim.S * pole.m);
            const auto N0 = static_cast<float>(rim.C * pole.m - rim.S * pole.n);
            const auto C_m = static_cast<float>(rim.C * pole.m);
            const double scale = rim.sign * (scene_.density * scene_.speed * rim.a / pi);
            for (std::size_t i = 0; i < rule_.x.size(); ++i) {
                const auto kappa = static_cast<float>(kappa_of(rule_.x[i]));
                const float D2 = b + two_S_m * kappa;
                const float N = N0 - C_m * kappa;
                const float K = N / (D2 * (1.0f - D2 * 0.25f));
                const float g = static_cast<float>(rule_.w[i] * scale) * ratio * K;
                const float R = std::sqrt(std::max(0.0f, R0_squared + product * D2));
                const float tau = R * (1.0f / c_);
                add(g, tau, edge_window(scene_, aperture_, static_cast<double>(tau)), accumulator,
                    log);
                sum += g;
            }
        }
        const auto [first, last] = distances_of(rims_, d, place);
        const float zeta = R0 * (1.0f / c_);
        const float begin = std::max(zeta, static_cast<float>(first / scene_.speed));
        const float end = std::min(zeta, static_cast<float>(last / scene_.speed));
        add(-sum, zeta,
            window_between(scene_, aperture_, static_cast<double>(begin), static_cast<double>(end)),
            accumulator, log);
    }
};

void add_ring(const ApertureScene& scene, const Aperture& aperture, Field& field, WindowLog* log) {
    SingleRing ring(scene, aperture);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        Floats accumulator(scene.times.size(), 0.0f);
        ring.add_point(scene.points[p], accumulator,
                       log != nullptr ? &log->emplace_back() : nullptr);
        for (float& value : accumulator) {
            value = static_cast<float>(static_cast<double>(value) * aperture.amplitude);
        }
        superpose(field, p, scene.points.size(), accumulator);
    }
}

bool any_nearly_hemispherical(const std::vector<Rim>& rims) {
    return std::ranges::any_of(rims, [](const Rim& rim) { return rim.nearly_hemispherical(); });
}

void add_bowl(const ApertureScene& scene, const Aperture& aperture, Field& field, WindowLog* log) {
    const double d = aperture.focus;
    const std::vector<Rim> rims = rims_of(aperture);
    SingleBowl bowl(scene, aperture);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        Floats accumulator(scene.times.size(), 0.0f);
        if (pole_of(d, place).s < d / 16.0 || any_nearly_hemispherical(rims)) {
            ApertureScene alone = scene;
            alone.apertures = {aperture};
            alone.points = {scene.points[p]};
            Field series(scene.times.size(), 0.0);
            add_fnm_tsd(alone, Terms::real, Behind::skipped, series, log);
            for (std::size_t j = 0; j < series.size(); ++j) {
                accumulator[j] = static_cast<float>(series[j]);
            }
        } else {
            PointWindows* windows = log != nullptr ? &log->emplace_back() : nullptr;
            if (!is_skipped(rims, d, place)) {
                bowl.add_point(place, accumulator, windows);
            }
            for (float& value : accumulator) {
                value = static_cast<float>(static_cast<double>(value) * aperture.amplitude);
            }
        }
        superpose(field, p, scene.points.size(), accumulator);
    }
}

}  // namespace

void add_fnm_tsd_low_precision(const ApertureScene& scene, Field& field, WindowLog* log) {
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) > 1e-10) {
            (aperture.focus > 0.0 ? add_bowl : add_ring)(scene, aperture, field, log);
        }
    }
}

}  // namespace kavro_oracle
