// The rectangle's time-space decomposition, in double and in single precision.
#include <type_traits>

#include "oracle/rectangle_steps.h"

namespace kavro_oracle {
namespace {

// Factor is Real, or complex in the complex form of the decomposition. Sum is the precision of the
// products and sums over terms and waves.
template <class Real, class Factor, class Sum>
class Decomposed {
public:
    Decomposed(const RectangleScene& scene, const Rectangle& rectangle)
        : scene_(scene),
          rectangle_(rectangle),
          c_(static_cast<Real>(scene.speed)),
          inverse_c_(Real(1) / c_),
          t0_(static_cast<Real>(scene.times.front())),
          w_(static_cast<Real>(rectangle.waveform->width())),
          inv_dt_(Real(1) / static_cast<Real>(scene.deltat)),
          tables_(rectangle, gauss(scene.ndiv),
                  static_cast<double>(static_cast<Real>(scene.density) * c_) / -rectangle_two_pi),
          placement_(rectangle),
          spatial_(static_cast<std::size_t>(rectangle.waveform->terms())),
          temporal_(spatial_.size() * scene.times.size() + 3) {
        rectangle.waveform->temporal(scene.times, static_cast<Real>(rectangle.time_delay),
                                     temporal_.data());
    }

    // False where the point is behind the face.
    bool series(const Triple& point, std::vector<Sum>& accumulator, PointWindows& windows) {
        accumulator.assign(scene_.times.size(), Sum(0));
        const Triple local = placement_.local(point);
        const auto x = static_cast<Real>(local.x), y = static_cast<Real>(local.y);
        const auto z = static_cast<Real>(local.z);
        windows.behind = z < 0;
        if (windows.behind) {
            return false;
        }
        Real sum = 0;
        for_each_edge_term(
            tables_, x, y, [&](std::size_t, Real weight, Real jacobian, Real L, Real q) {
                const Real g = weight * jacobian * L / (L * L + q);
                add_edge(g, std::sqrt(z * z + L * L + q) * inverse_c_, accumulator, windows);
                sum += g;
            });
        subtract_direct(nearest_distance(tables_.hw, tables_.hh, x, y, z), z, sum, accumulator,
                        windows);
        for (Sum& value : accumulator) {
            value = static_cast<Sum>(static_cast<double>(value) * rectangle_.amplitude);
        }
        return true;
    }

private:
    void add_edge(Real g, Real tau, std::vector<Sum>& accumulator, PointWindows& windows) {
        const std::size_t ntimes = scene_.times.size();
        rectangle_.waveform->spatial(tau, spatial_.data());
        const Window window = edge_window(static_cast<double>(tau));
        for_each_sample(window, [&](std::size_t j) {
            for (std::size_t k = 0; k < spatial_.size(); ++k) {
                accumulator[j] +=
                    product(spatial_[k], temporal_[k * ntimes + j]) * static_cast<Sum>(g);
            }
        });
        windows.edge.push_back(window);
        note_terms(windows, window, spatial_, static_cast<double>(g) * rectangle_.amplitude,
                   temporal_, ntimes);
    }

    static Sum product(Real spatial, Real temporal) {
        return static_cast<Sum>(spatial) * static_cast<Sum>(temporal);
    }
    static Sum product(Complex spatial, Complex temporal) { return (spatial * temporal).real(); }

    void subtract_direct(Real dmin, Real z, Real sum, std::vector<Sum>& accumulator,
                         PointWindows& windows) {
        // Single precision knows products with the reciprocal only.
        constexpr bool divide = std::is_same_v<Real, double>;
        const Real zeta = divide ? z / c_ : z * inverse_c_;
        const Real begin = divide ? dmin / c_ : dmin * inverse_c_;
        windows.direct = direct_window(static_cast<double>(begin), static_cast<double>(zeta));
        rectangle_.waveform->spatial(zeta, spatial_.data());
        note_terms(windows, windows.direct, spatial_,
                   static_cast<double>(sum) * rectangle_.amplitude, temporal_, scene_.times.size());
        for_each_sample(windows.direct, [&](std::size_t j) {
            const double since =
                (scene_.times[j] - rectangle_.time_delay) - static_cast<double>(zeta);
            accumulator[j] =
                static_cast<Sum>(static_cast<double>(accumulator[j]) -
                                 rectangle_.waveform->at(since) * static_cast<double>(sum));
        });
    }

    Window edge_window(double tau) const {
        if (scene_.deltat == 0.0) {
            return listed_window(scene_.times, rectangle_.time_delay, tau, tau,
                                 rectangle_.waveform->width());
        }
        const auto inv_dt = static_cast<double>(inv_dt_);
        const double u = tau + rectangle_.time_delay - static_cast<double>(t0_);
        return regular_window(u * inv_dt, (u + static_cast<double>(w_)) * inv_dt,
                              scene_.times.size());
    }

    // The start is rounded down, the starts of the edge terms up.
    Window direct_window(double begin, double zeta) const {
        if (scene_.deltat == 0.0) {
            return listed_window(scene_.times, rectangle_.time_delay, begin, zeta,
                                 rectangle_.waveform->width());
        }
        const auto inv_dt = static_cast<double>(inv_dt_);
        const auto t0 = static_cast<double>(t0_);
        const double first = (begin + rectangle_.time_delay - t0) * inv_dt;
        const double last = (rectangle_.time_delay + zeta + static_cast<double>(w_) - t0) * inv_dt;
        return regular_window(std::floor(first), last, scene_.times.size());
    }

    const RectangleScene& scene_;
    const Rectangle& rectangle_;
    Real c_, inverse_c_, t0_, w_, inv_dt_;
    EdgeTables<Real> tables_;
    Placement placement_;
    std::vector<Factor> spatial_, temporal_;
};

template <class Real, class Factor, class Sum>
void add(const RectangleScene& scene, Field& field, WindowLog* log) {
    for (const Rectangle& rectangle : scene.rectangles) {
        if (std::fabs(rectangle.amplitude) <= 1e-10) {
            continue;
        }
        Decomposed<Real, Factor, Sum> solver(scene, rectangle);
        std::vector<Sum> accumulator;
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            PointWindows windows;
            if (solver.series(scene.points[p], accumulator, windows)) {
                superpose(field, p, scene.points.size(), accumulator);
            }
            if (log != nullptr) {
                log->push_back(windows);
            }
        }
    }
}

}  // namespace

void add_double(const RectangleScene& scene, Terms terms, Field& field, WindowLog* log) {
    if (terms == Terms::real) {
        add<double, double, double>(scene, field, log);
    } else {
        add<double, Complex, double>(scene, field, log);
    }
}

void add_single(const RectangleScene& scene, Field& field, WindowLog* log) {
    add<float, float, float>(scene, field, log);
}

void add_single_unrounded(const RectangleScene& scene, Field& field, WindowLog* log) {
    add<float, float, double>(scene, field, log);
}

}  // namespace kavro_oracle
