#include <cmath>
#include <cstddef>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// Sum is the precision of the products and sums over abscissas, terms and waves: float as
// described, or double for a sum without rounding.
template <class Sum>
class SingleDisc {
public:
    SingleDisc(const Scene& scene, const Disc& disc, DelayBy delay_by)
        : scene_(scene),
          disc_(disc),
          delay_by_(delay_by),
          a_(static_cast<float>(disc.radius)),
          c_(static_cast<float>(scene.speed)),
          inverse_c_(1.0f / c_),
          a_squared_(a_ * a_),
          inv_dt_(1.0f / static_cast<float>(scene.deltat)),
          t0_(static_cast<float>(scene.times.front())),
          w_(static_cast<float>(disc.waveform->width())),
          K_(static_cast<std::size_t>(disc.waveform->terms())),
          rotation_(rotation_of(disc)) {
        const Rule rule = gauss(scene.ndiv, 0, pi);
        const auto rho = static_cast<float>(scene.density);
        const double G = static_cast<double>(rho * c_ * a_) / pi;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            cos_.push_back(static_cast<float>(std::cos(rule.x[i])));
            two_a_cos_.push_back(
                static_cast<float>(static_cast<double>(cos_[i]) * static_cast<double>(2.0f * a_)));
            weight_.push_back(static_cast<float>(rule.w[i] * G));
        }
        spatial_.resize(K_);
        temporal_.resize(K_ * scene.times.size() + 3);
        disc.waveform->temporal(scene.times, static_cast<float>(disc.time_delay), temporal_.data());
    }

    // False where the point is behind the disc.
    bool series(const Triple& point, std::vector<Sum>& accumulator, PointWindows* windows) {
        accumulator.assign(scene_.times.size(), Sum(0));
        const Triple local = rotate_translate(rotation_, disc_, point);
        const auto x = static_cast<float>(local.x);
        const auto y = static_cast<float>(local.y);
        const auto z = static_cast<float>(local.z);
        if (z < 0.0f) {
            if (windows != nullptr) {
                windows->behind = true;
            }
            return false;
        }
        const float r_squared = y * y + x * x;
        const float r = std::sqrt(r_squared);
        const float sum = add_edge(r_squared, r, z * z, accumulator, windows);
        subtract_direct(r, z, sum, accumulator, windows);
        for (Sum& value : accumulator) {
            value = static_cast<Sum>(static_cast<double>(value) * disc_.amplitude);
        }
        return true;
    }

private:
    float delay_of(float distance) const {
        return delay_by_ == DelayBy::quotient ? distance / c_ : distance * inverse_c_;
    }

    // Adds the wave of every abscissa; returns the sum of the coefficients.
    float add_edge(float r_squared, float r, float z_squared, std::vector<Sum>& accumulator,
                   PointWindows* windows) {
        const std::size_t ntimes = scene_.times.size();
        float sum = 0.0f;
        for (std::size_t i = 0; i < cos_.size(); ++i) {
            const float D = (r_squared + a_squared_) - two_a_cos_[i] * r;
            const float g = ((cos_[i] * r - a_) / D) * weight_[i];
            const float tau = delay_of(std::sqrt(D + z_squared));
            disc_.waveform->spatial(tau, spatial_.data());
            const Window window = edge_window(tau);
            for_each_sample(window, [&](std::size_t j) {
                Sum terms = 0;
                for (std::size_t k = 0; k < K_; ++k) {
                    terms += static_cast<Sum>(spatial_[k]) * static_cast<Sum>(g) *
                             static_cast<Sum>(temporal_[k * ntimes + j]);
                }
                accumulator[j] += terms;
            });
            if (windows != nullptr) {
                windows->edge.push_back(window);
                note_terms(*windows, window, spatial_, static_cast<double>(g) * disc_.amplitude,
                           temporal_, ntimes);
            }
            sum += g;
        }
        return sum;
    }

    void subtract_direct(float r, float z, float sum, std::vector<Sum>& accumulator,
                         PointWindows* windows) {
        const float zeta = delay_of(z);
        const auto gap = static_cast<double>(r - a_);
        const auto edge = static_cast<float>(std::sqrt(gap * gap + static_cast<double>(z * z)) /
                                             static_cast<double>(c_));
        const Window window = direct_window(a_ <= r, edge, zeta);
        if (windows != nullptr) {
            windows->direct = window;
            disc_.waveform->spatial(zeta, spatial_.data());
            note_terms(*windows, window, spatial_, static_cast<double>(sum) * disc_.amplitude,
                       temporal_, scene_.times.size());
        }
        for_each_sample(window, [&](std::size_t j) {
            const auto since = static_cast<double>(static_cast<float>(scene_.times[j]) - zeta);
            const double v = disc_.waveform->at(since - disc_.time_delay);
            accumulator[j] = static_cast<Sum>(static_cast<double>(accumulator[j]) -
                                              v * static_cast<double>(sum));
        });
    }

    Window edge_window(float tau) const {
        if (scene_.deltat == 0.0) {
            const auto wide = static_cast<double>(tau);
            return listed_window(scene_.times, disc_.time_delay, wide, wide,
                                 disc_.waveform->width());
        }
        const auto inv_dt = static_cast<double>(inv_dt_);
        const double u = static_cast<double>(tau) + disc_.time_delay - static_cast<double>(t0_);
        return regular_window(u * inv_dt, (u + static_cast<double>(w_)) * inv_dt,
                              scene_.times.size());
    }

    // Begins with the nearest rim point where the foot is on or outside the rim, and ends by the
    // axial delay in both cases.
    Window direct_window(bool on_or_outside, float edge, float zeta) const {
        if (scene_.deltat == 0.0) {
            return listed_window(scene_.times, disc_.time_delay,
                                 static_cast<double>(on_or_outside ? edge : zeta),
                                 static_cast<double>(zeta), disc_.waveform->width());
        }
        const auto inv_dt = static_cast<double>(inv_dt_);
        const auto t0 = static_cast<double>(t0_);
        const double T = disc_.time_delay + static_cast<double>(zeta);
        const double first = on_or_outside
                                 ? (static_cast<double>(edge) + disc_.time_delay - t0) * inv_dt
                                 : (T - t0) * inv_dt;
        const double last = (T + static_cast<double>(w_) - t0) * inv_dt;
        return regular_window(first, last, scene_.times.size());
    }

    const Scene& scene_;
    const Disc& disc_;
    DelayBy delay_by_;
    float a_, c_, inverse_c_, a_squared_, inv_dt_, t0_, w_;
    std::size_t K_;
    Rotation rotation_;
    std::vector<float> cos_, two_a_cos_, weight_, spatial_, temporal_;
};

}  // namespace

namespace {

template <class Sum>
void add_discs(const Scene& scene, DelayBy delay_by, Field& field, WindowLog* log) {
    for (const Disc& disc : scene.discs) {
        if (std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        SingleDisc<Sum> solver(scene, disc, delay_by);
        std::vector<Sum> accumulator;
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            PointWindows* windows = log != nullptr ? &log->emplace_back() : nullptr;
            if (solver.series(scene.points[p], accumulator, windows)) {
                superpose(field, p, scene.points.size(), accumulator);
            }
        }
    }
}

}  // namespace

void add_single(const Scene& scene, DelayBy delay_by, Field& field, WindowLog* log) {
    add_discs<float>(scene, delay_by, field, log);
}

void add_single_unrounded(const Scene& scene, DelayBy delay_by, Field& field) {
    add_discs<double>(scene, delay_by, field, nullptr);
}

}  // namespace kavro_oracle
