#include <cmath>
#include <cstddef>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

class DoubleDisc {
public:
    DoubleDisc(const Scene& scene, const Disc& disc, Terms terms)
        : scene_(scene),
          disc_(disc),
          terms_(terms),
          a_(disc.radius),
          c_(scene.speed),
          inv_dt_(1.0 / scene.deltat),
          t0_(scene.times.front()),
          w_(disc.waveform->width()),
          K_(static_cast<std::size_t>(disc.waveform->terms())),
          rotation_(rotation_of(disc)) {
        const Rule rule = gauss(scene.ndiv, 0, pi);
        const double G = scene.density * c_ * a_ / pi;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            cos_.push_back(std::cos(rule.x[i]));
            two_a_cos_.push_back(cos_[i] * (2.0 * a_));
            weight_.push_back(rule.w[i] * G);
        }
        const std::size_t entries = K_ * scene.times.size() + 3;
        if (terms == Terms::real) {
            spatial_.resize(K_);
            temporal_.resize(entries);
            disc.waveform->temporal(scene.times, disc.time_delay, temporal_.data());
        } else {
            complex_spatial_.resize(K_);
            complex_temporal_.resize(entries);
            disc.waveform->temporal(scene.times, disc.time_delay, complex_temporal_.data());
        }
    }

    // False where the point is behind the disc.
    bool series(const Triple& point, std::vector<double>& accumulator, PointWindows* windows) {
        accumulator.assign(scene_.times.size(), 0.0);
        const Triple local = rotate_translate(rotation_, disc_, point);
        if (local.z < 0.0) {
            if (windows != nullptr) {
                windows->behind = true;
            }
            return false;
        }
        const double r_squared = local.y * local.y + local.x * local.x;
        const double r = std::sqrt(r_squared);
        double sum = 0.0;
        for (std::size_t i = 0; i < cos_.size(); ++i) {
            const double D = (r_squared + a_ * a_) - two_a_cos_[i] * r;
            const double g = ((cos_[i] * r - a_) / D) * weight_[i];
            add_edge(g, std::sqrt(D + local.z * local.z) / c_, accumulator, windows);
            sum += g;
        }
        subtract_direct(r, local.z, sum, accumulator, windows);
        for (double& value : accumulator) {
            value *= disc_.amplitude;
        }
        return true;
    }

private:
    void add_edge(double g, double tau, std::vector<double>& accumulator, PointWindows* windows) {
        const std::size_t ntimes = scene_.times.size();
        find_spatial_factors(tau);
        const Window window = edge_window(tau);
        for_each_sample(window, [&](std::size_t j) {
            for (std::size_t k = 0; k < K_; ++k) {
                accumulator[j] +=
                    terms_ == Terms::real
                        ? spatial_[k] * g * temporal_[k * ntimes + j]
                        : (complex_spatial_[k] * complex_temporal_[k * ntimes + j]).real() * g;
            }
        });
        if (windows != nullptr) {
            windows->edge.push_back(window);
            note(*windows, window, g * disc_.amplitude);
        }
    }

    // Of the wave whose spatial factors are at hand.
    void note(PointWindows& windows, const Window& window, double g) const {
        if (terms_ == Terms::real) {
            note_terms(windows, window, spatial_, g, temporal_, scene_.times.size());
        } else {
            note_terms(windows, window, complex_spatial_, g, complex_temporal_,
                       scene_.times.size());
        }
    }

    void find_spatial_factors(double tau) {
        if (terms_ == Terms::real) {
            disc_.waveform->spatial(tau, spatial_.data());
        } else {
            disc_.waveform->spatial(tau, complex_spatial_.data());
        }
    }

    void subtract_direct(double r, double z, double sum, std::vector<double>& accumulator,
                         PointWindows* windows) {
        const double zeta = z / c_;
        const double edge = std::sqrt((r - a_) * (r - a_) + z * z) / c_;
        const Window window = direct_window(a_ <= r, edge, zeta);
        if (windows != nullptr) {
            windows->direct = window;
            find_spatial_factors(zeta);
            note(*windows, window, sum * disc_.amplitude);
        }
        for_each_sample(window, [&](std::size_t j) {
            const double t = (scene_.times[j] - zeta) - disc_.time_delay;
            accumulator[j] -= disc_.waveform->at(t) * sum;
        });
    }

    Window edge_window(double tau) const {
        if (scene_.deltat == 0.0) {
            return listed_window(scene_.times, disc_.time_delay, tau, tau, w_);
        }
        const double u = tau + disc_.time_delay - t0_;
        return regular_window(u * inv_dt_, (u + w_) * inv_dt_, scene_.times.size());
    }

    Window direct_window(bool on_or_outside, double edge, double zeta) const {
        if (scene_.deltat == 0.0) {
            return listed_window(scene_.times, disc_.time_delay, on_or_outside ? edge : zeta, zeta,
                                 w_);
        }
        const double T = disc_.time_delay + zeta;
        const double first =
            on_or_outside ? (edge + disc_.time_delay - t0_) * inv_dt_ : (T - t0_) * inv_dt_;
        return regular_window(first, (T + w_ - t0_) * inv_dt_, scene_.times.size());
    }

    const Scene& scene_;
    const Disc& disc_;
    Terms terms_;
    double a_, c_, inv_dt_, t0_, w_;
    std::size_t K_;
    Rotation rotation_;
    std::vector<double> cos_, two_a_cos_, weight_, spatial_, temporal_;
    std::vector<Complex> complex_spatial_, complex_temporal_;
};

}  // namespace

void add_double(const Scene& scene, Terms terms, Field& field, WindowLog* log) {
    for (const Disc& disc : scene.discs) {
        if (std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        DoubleDisc solver(scene, disc, terms);
        std::vector<double> accumulator;
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            PointWindows* windows = log != nullptr ? &log->emplace_back() : nullptr;
            if (solver.series(scene.points[p], accumulator, windows)) {
                superpose(field, p, scene.points.size(), accumulator);
            }
        }
    }
}

}  // namespace kavro_oracle
