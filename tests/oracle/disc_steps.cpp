#include "oracle/disc_steps.h"

#include <cmath>

#include "oracle/literal_waveforms.h"

namespace kavro_oracle {

bool Window::contains(int j) const {
    if (listed.empty()) {
        return begin <= j && j < end;
    }
    return listed[static_cast<std::size_t>(j)] != 0;
}

Field silence(const Scene& scene) {
    return Field(scene.points.size() * scene.times.size(), 0.0);
}

Rotation rotation_of(const Disc& disc) {
    const double sa = std::sin(disc.euler.x), ca = std::cos(disc.euler.x);
    const double sb = std::sin(disc.euler.y), cb = std::cos(disc.euler.y);
    const double sc = std::sin(disc.euler.z), cc = std::cos(disc.euler.z);
    return {{ca * cc - sa * (sb * sc), sa * (sb * cc) + ca * sc, -(sa * cb),  //
             -(cb * sc), cb * cc, sb,                                         //
             ca * (sb * sc) + sa * cc, sa * sc - ca * (sb * cc), ca * cb}};
}

Triple rotate_translate(const Rotation& rotation, const Disc& disc, const Triple& point) {
    const double dx = point.x - disc.center.x;
    const double dy = point.y - disc.center.y;
    const double dz = point.z - disc.center.z;
    const double* m = rotation.m;
    return {m[0] * dx + m[1] * dy + m[2] * dz, m[3] * dx + m[4] * dy + m[5] * dz,
            m[6] * dx + m[7] * dy + m[8] * dz};
}

std::vector<double> cosines_of(const std::vector<double>& angles) {
    std::vector<double> cosines;
    for (const double angle : angles) {
        cosines.push_back(std::cos(angle));
    }
    return cosines;
}

std::vector<double> midpoint_cosines(int n) {
    std::vector<double> cosines;
    for (int j = 0; j < n; ++j) {
        cosines.push_back(std::cos((j + 0.5) * (pi / n)));
    }
    return cosines;
}

namespace {

int saturated(double number, std::size_t ntimes) {
    if (number <= 0.0) {
        return 0;
    }
    return number >= static_cast<double>(ntimes) ? static_cast<int>(ntimes)
                                                 : static_cast<int>(number);
}

}  // namespace

Window regular_window(double first, double last, std::size_t ntimes) {
    if (std::isnan(first) || std::isnan(last)) {
        return {};
    }
    return {saturated(std::ceil(first), ntimes), saturated(std::floor(last) + 1.0, ntimes), {}};
}

Window listed_window(const std::vector<double>& times, double delay, double begin, double end_delay,
                     double width) {
    Window window;
    for (const double t : times) {
        const bool inside = (t - delay) - begin >= 0.0 && (t - delay) - end_delay <= width;
        window.listed.push_back(inside ? 1 : 0);
    }
    return window;
}

}  // namespace kavro_oracle
