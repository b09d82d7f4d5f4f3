// The rectangle's transient operations: arrivals, impulse response, direct evaluation.
#include <algorithm>
#include <limits>

#include "oracle/rectangle_steps.h"

namespace kavro_oracle {
namespace {

constexpr double pi = 3.14159265358979;

struct Corner {
    double a, b, s;
};

void add_corner(const RectangleScene& scene, double delay, const Corner& corner, double z,
                std::vector<double>& trace) {
    const double c = scene.speed;
    const double a = corner.a, b = corner.b, s = corner.s;
    const double t1 = std::sqrt(a * a + z * z) / c;
    const double t2 = std::sqrt(b * b + z * z) / c;
    const double t3 = std::sqrt(a * a + b * b + z * z) / c;
    const double tz = std::fabs(z) / c;
    for (std::size_t i = 0; i < trace.size(); ++i) {
        const double tr = scene.times[i] - delay;
        const double squared = c * c * tr * tr - z * z;
        const double sigma = squared <= 0 ? 0.0 : std::sqrt(squared);
        if (tz <= tr && tr <= t3) {
            trace[i] += s * c * 0.25;
        }
        if (t1 <= tr && tr <= t3 && sigma >= a) {
            trace[i] += s * c * (-0.5 / pi) * std::acos(sigma > 0 ? a / sigma : 0.0);
        }
        if (t2 <= tr && tr <= t3 && sigma >= b) {
            trace[i] += s * c * (-0.5 / pi) * std::acos(sigma > 0 ? b / sigma : 0.0);
        }
    }
}

double sign_of(double x) {
    return x < 0 ? -1.0 : 1.0;
}

int limited(double number, std::size_t ntimes) {
    return static_cast<int>(std::clamp(number, 0.0, static_cast<double>(ntimes)));
}

Window transient_window(const RectangleScene& scene, const Rectangle& rectangle, double dmin,
                        double dmax) {
    const double c = scene.speed, D = rectangle.waveform->width();
    if (scene.deltat == 0.0) {
        return listed_window(scene.times, rectangle.time_delay, dmin / c, dmax / c, D);
    }
    const double t0 = scene.times.front();
    const double start = std::floor((dmin / c + rectangle.time_delay - t0) / scene.deltat);
    const double stop = std::ceil((dmax / c + rectangle.time_delay + D - t0) / scene.deltat);
    return {limited(start, scene.times.size()), limited(stop, scene.times.size()), {}};
}

}  // namespace

ArrivalBounds arrival_bounds(const RectangleScene& scene, const Rectangle& rectangle) {
    const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
    const Placement placement(rectangle);
    ArrivalBounds bounds{std::numeric_limits<double>::max(), 0.0};
    for (const Triple& point : scene.points) {
        const Triple at = placement.local(point);
        const double dmin = nearest_distance(hw, hh, at.x, at.y, at.z);
        const double dmax = farthest_distance(hw, hh, at);
        bounds.begin = std::fmin(bounds.begin, dmin / scene.speed + rectangle.time_delay);
        bounds.end = std::fmax(bounds.end, dmax / scene.speed + rectangle.time_delay);
    }
    return bounds;
}

void add_impulse_response(const RectangleScene& scene, Field& field) {
    for (const Rectangle& rectangle : scene.rectangles) {
        if (std::fabs(rectangle.amplitude) <= 1e-10) {
            continue;
        }
        const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
        const Placement placement(rectangle);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Triple at = placement.local(scene.points[p]);
            const double ax = std::fabs(at.x), ay = std::fabs(at.y);
            const double sx = sign_of(hw - ax), sy = sign_of(hh - ay);
            const double near_a = std::fabs(hw - ax), near_b = std::fabs(hh - ay);
            std::vector<double> trace(scene.times.size(), 0.0);
            for (const Corner& corner :
                 {Corner{hw + ax, hh + ay, 1.0}, Corner{near_a, hh + ay, sx},
                  Corner{hw + ax, near_b, sy}, Corner{near_a, near_b, sx * sy}}) {
                add_corner(scene, rectangle.time_delay, corner, at.z, trace);
            }
            for (double& value : trace) {
                value *= rectangle.amplitude;
            }
            superpose(field, p, scene.points.size(), trace);
        }
    }
}

void add_fnm_transient(const RectangleScene& scene, Field& field, WindowLog* log) {
    for (const Rectangle& rectangle : scene.rectangles) {
        if (std::fabs(rectangle.amplitude) <= 1e-10) {
            continue;
        }
        const double c = scene.speed;
        const double K = scene.density * c / -rectangle_two_pi;
        const EdgeTables<double> tables(rectangle, gauss(scene.ndiv), K);
        const Placement placement(rectangle);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Triple at = placement.local(scene.points[p]);
            PointWindows windows;
            windows.behind = at.z < 0;
            std::vector<double> trace(scene.times.size(), 0.0);
            if (!windows.behind) {
                const double dmin = nearest_distance(tables.hw, tables.hh, at.x, at.y, at.z);
                windows.direct = transient_window(scene, rectangle, dmin,
                                                  farthest_distance(tables.hw, tables.hh, at));
                windows.terms.resize(trace.size());
            }
            for_each_sample(windows.direct, [&](std::size_t i) {
                const double t = scene.times[i] - rectangle.time_delay;
                const auto f = [&](double delay) { return rectangle.waveform->at(t - delay); };
                for_each_edge_term(
                    tables, at.x, at.y,
                    [&](std::size_t, double weight, double jacobian, double L, double q) {
                        const double ER = f(std::sqrt(at.z * at.z + L * L + q) / c);
                        const double E0 = f(at.z / c);
                        trace[i] += weight * (jacobian * (L * (ER - E0) / (L * L + q)));
                        windows.terms[i] +=
                            std::fabs(rectangle.amplitude * weight * jacobian * L / (L * L + q)) *
                            (std::fabs(ER) + std::fabs(E0));
                    });
            });
            for (double& value : trace) {
                value *= rectangle.amplitude;
            }
            superpose(field, p, scene.points.size(), trace);
            if (log != nullptr) {
                log->push_back(windows);
            }
        }
    }
}

}  // namespace kavro_oracle
