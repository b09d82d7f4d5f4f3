#include "oracle/disc_transient.h"

#include <cmath>
#include <cstddef>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// The samples that `fnm_transient` computes: from the first arrival, rounded down, to the last.
// Strictly outside the rim the first arrival is the nearest rim point's. On an explicit list, the
// times between first arrival and last.
Window arrival_window(const Scene& scene, const Disc& disc, double r, double z) {
    const double a = disc.radius, c = scene.speed, w = disc.waveform->width();
    const double last = std::sqrt((a + r) * (a + r) + z * z) / c;
    const double first = r > a ? std::sqrt(z * z + (r - a) * (r - a)) / c : z / c;
    if (scene.deltat == 0) {
        return listed_window(scene.times, disc.time_delay, first, last, w);
    }
    const double inv_dt = 1 / scene.deltat;
    const double t0 = scene.times.front();
    const double begin = std::floor((first + disc.time_delay - t0) * inv_dt);
    const double end = std::ceil((last + disc.time_delay + w - t0) * inv_dt);
    return regular_window(begin, end - 1, scene.times.size());
}

// Adds series(disc, local point, windows) of every disc; `skips` leaves out silent discs and points
// behind.
template <class Series>
void add_series(const Scene& scene, bool skips, Field& field, WindowLog* log, Series series) {
    for (const Disc& disc : scene.discs) {
        if (skips && std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        const Rotation rotation = rotation_of(disc);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Triple local = rotate_translate(rotation, disc, scene.points[p]);
            PointWindows windows;
            windows.terms.resize(scene.times.size());
            windows.direct.end = static_cast<int>(scene.times.size());
            windows.behind = skips && local.z < 0;
            if (windows.behind) {
                windows.direct.end = 0;
            } else {
                std::vector<double> values = series(disc, local, windows);
                for (std::size_t j = 0; j < values.size(); ++j) {
                    values[j] *= disc.amplitude;
                    windows.terms[j] *= std::fabs(disc.amplitude);
                }
                superpose(field, p, scene.points.size(), values);
            }
            if (log != nullptr) {
                log->push_back(windows);
            }
        }
    }
}

}  // namespace

void fnm_transient(const Scene& scene, Field& field, WindowLog* log) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const std::vector<double> cosines = cosines_of(rule.x);
    const auto series = [&](const Disc& disc, const Triple& local, PointWindows& windows) {
        const double a = disc.radius, c = scene.speed;
        const double r_squared = local.x * local.x + local.y * local.y;
        const double r = std::sqrt(r_squared);
        std::vector<double> g, tau;
        for (std::size_t i = 0; i < cosines.size(); ++i) {
            const double D = (r_squared + a * a) - 2 * a * cosines[i] * r;
            g.push_back(rule.w[i] * (c * scene.density * a / pi) * (cosines[i] * r - a) / D);
            tau.push_back(std::sqrt(D + local.z * local.z) / c);
        }
        std::vector<double> accumulator(scene.times.size());
        windows.direct = arrival_window(scene, disc, r, local.z);
        for_each_sample(windows.direct, [&](std::size_t j) {
            const double t = scene.times[j];
            for (std::size_t i = 0; i < g.size(); ++i) {
                const double edge = disc.waveform->at(t - tau[i] - disc.time_delay);
                const double direct = disc.waveform->at(t - local.z / c - disc.time_delay);
                accumulator[j] += (edge - direct) * g[i];
                windows.terms[j] += (std::fabs(edge) + std::fabs(direct)) * std::fabs(g[i]);
            }
        });
        return accumulator;
    };
    add_series(scene, true, field, log, series);
}

namespace {

double response_at(double t, double r, double z, double a, double c) {
    const double C = c / pi;
    const double tz = z / c;
    const double te = std::sqrt((r - a) * (r - a) + z * z) / c;
    const double tf = std::sqrt((a + r) * (a + r) + z * z) / c;
    const double q = c * c * t * t - z * z;
    const double X = r * r + q - a * a;
    const double Y = q > 0 ? 2 * r * std::sqrt(q) : 0.0;
    const double arc = Y >= std::fabs(X) ? C * std::acos(X / Y) : 0.0;
    if (r == 0) {
        return tz <= t && t <= std::sqrt(z * z + a * a) / c ? c : 0.0;
    }
    if (r < a) {
        if (tz <= t && t <= te) {
            return c;
        }
        return te < t && t <= tf ? arc : 0.0;
    }
    if (r == a) {
        if (!(tz <= t && t <= tf)) {
            return 0.0;
        }
        return q > 0 ? arc : (q == 0 ? c : 0.0);
    }
    return te <= t && t <= tf ? arc : 0.0;
}

}  // namespace

// Neither silent discs nor points behind are left out. The reference takes the height over the face
// with its sign.
void rayleigh_transient(const Scene& scene, Field& field, WindowLog* log) {
    const std::vector<double> cosines = midpoint_cosines(scene.ndiv);
    const auto series = [&](const Disc& disc, const Triple& local, PointWindows& windows) {
        const double dr = disc.radius / scene.ndiv, dphi = pi / scene.ndiv;
        const double s = std::sqrt(local.x * local.x + local.y * local.y);
        const double B = local.z * local.z + local.x * local.x + local.y * local.y;
        std::vector<double> accumulator(scene.times.size());
        for (int i = 0; i < scene.ndiv; ++i) {
            const double r = (i + 0.5) * dr;
            for (const double cosine : cosines) {
                const double R = std::sqrt(r * r + B - cosine * 2 * r * s);
                const double weight = scene.density / two_pi * 2 * (dr * r * dphi) / R;
                for (std::size_t j = 0; j < scene.times.size(); ++j) {
                    const double slope = disc.waveform->derivative(
                        scene.times[j] - R / scene.speed - disc.time_delay);
                    accumulator[j] += weight * slope;
                    windows.terms[j] += std::fabs(weight * slope);
                }
            }
        }
        const double w = disc.waveform->width();
        for (std::size_t j = 0; disc.exact && w > 0.0 && j < scene.times.size(); ++j) {
            // The jumps at the waveform's ends, which its derivative leaves out.
            const double t = scene.times[j] - disc.time_delay;
            const double first = disc.waveform->at(std::nextafter(0.0, 1.0)) *
                                 response_at(t, s, local.z, disc.radius, scene.speed);
            const double last = std::isinf(w)
                                    ? 0.0
                                    : disc.waveform->at(std::nextafter(w, 0.0)) *
                                          response_at(t - w, s, local.z, disc.radius, scene.speed);
            accumulator[j] += scene.density * (first - last);
            windows.terms[j] += scene.density * (std::fabs(first) + std::fabs(last));
        }
        return accumulator;
    };
    add_series(scene, true, field, log, series);
}

void impulse_response(const Scene& scene, Field& field, WindowLog* log) {
    const auto series = [&](const Disc& disc, const Triple& local, PointWindows& windows) {
        const double r = std::sqrt(local.x * local.x + local.y * local.y);
        const double z = disc.exact ? std::fabs(local.z) : local.z;
        std::vector<double> response(scene.times.size());
        for (std::size_t j = 0; j < response.size(); ++j) {
            response[j] =
                response_at(scene.times[j] - disc.time_delay, r, z, disc.radius, scene.speed);
            windows.terms[j] = response[j];
        }
        return response;
    };
    add_series(scene, false, field, log, series);
}

}  // namespace kavro_oracle
