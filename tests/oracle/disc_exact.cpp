#include <cmath>
#include <cstddef>
#include <numbers>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"

namespace kavro_oracle {
namespace {

void add_point(const Scene& scene, const Disc& disc, const Rule& rule, std::size_t p,
               const PointWindows& windows, Field& field) {
    if (windows.behind) {
        return;
    }
    const Triple local = rotate_translate(rotation_of(disc), disc, scene.points[p]);
    const double a = disc.radius;
    const double r = std::hypot(local.x, local.y);
    const auto add = [&](const Window& window, double coefficient, double delay) {
        for_each_sample(window, [&](std::size_t j) {
            const double v = disc.waveform->at(scene.times[j] - disc.time_delay - delay);
            field[p + j * scene.points.size()] += disc.amplitude * coefficient * v;
        });
    };
    double sum = 0.0;
    for (std::size_t i = 0; i < rule.x.size(); ++i) {
        const double phi = rule.x[i];
        const double D = r * r + a * a - 2.0 * a * r * std::cos(phi);
        const double g = scene.density * scene.speed * a / std::numbers::pi * rule.w[i] *
                         (r * std::cos(phi) - a) / D;
        add(windows.edge[i], g, std::sqrt(D + local.z * local.z) / scene.speed);
        sum += g;
    }
    add(windows.direct, -sum, local.z / scene.speed);
}

}  // namespace

void add_exact(const Scene& scene, const WindowLog& log, Field& field) {
    const Rule rule = gauss(scene.ndiv, 0, std::numbers::pi);
    std::size_t entry = 0;
    for (const Disc& disc : scene.discs) {
        if (std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            add_point(scene, disc, rule, p, log[entry++], field);
        }
    }
}

}  // namespace kavro_oracle
