#include "oracle/curved_geometry.h"

#include <algorithm>
#include <cmath>

namespace kavro_oracle {

ComplexField stillness(const ApertureScene& scene) {
    return ComplexField(scene.points.size(), 0.0);
}

std::vector<Rim> rims_of(const Aperture& aperture) {
    std::vector<Rim> rims;
    const double d = aperture.focus;
    for (const auto& [radius, sign] :
         {std::pair(aperture.radius, 1.0), std::pair(aperture.inner_radius, -1.0)}) {
        if (radius <= 0.0) {
            continue;
        }
        Rim rim;
        rim.sign = sign;
        rim.a = radius;
        if (d > 0.0) {
            rim.a = std::min(radius, d);
            rim.S = rim.a / d;
            rim.C = std::sqrt((d - rim.a) * (d + rim.a)) / d;
            rim.V = rim.S * rim.S / (1.0 + rim.C);
            rim.z_rim = rim.V * d;
        }
        rims.push_back(rim);
    }
    return rims;
}

Place place_of(const Aperture& aperture, const Triple& point) {
    const Triple local = rotate_translate(rotation_of(aperture), aperture, point);
    const double r_squared = local.y * local.y + local.x * local.x;
    return {std::sqrt(r_squared), local.z, r_squared};
}

Pole pole_of(double d, const Place& place) {
    const double r = place.r, z = place.z;
    Pole pole{};
    pole.s = std::sqrt(r * r + (z - d) * (z - d));
    pole.sigma = z < d ? 1.0 : -1.0;
    pole.at_focus = pole.s < 1e-15 * d;
    if (pole.at_focus) {
        pole.s = 1e-15 * d;
        pole.m = 0.0;
        pole.n = 1.0;
        pole.sigma = 1.0;
    } else {
        pole.m = r / pole.s;
        pole.n = std::fabs(z - d) / pole.s;
    }
    pole.U = pole.m * pole.m / (1.0 + pole.n);
    const double near = std::fabs(2.0 * d * z - r * r - z * z) / (d + pole.s);
    const double far = d + pole.s;
    pole.R0 = pole.sigma > 0.0 ? near : far;
    pole.R1 = pole.sigma > 0.0 ? far : near;
    return pole;
}

Distances distances_of(const std::vector<Rim>& rims, double d, const Place& place) {
    if (rims.empty()) {
        return {0.0, 0.0};
    }
    const Pole pole = pole_of(d, place);
    const Rim& outer = rims.front();
    const Rim& inner = rims.back();
    const double S_in = rims.size() > 1 ? inner.S : 0.0;
    const auto near = [&](const Rim& rim) {
        return std::sqrt((place.r - rim.a) * (place.r - rim.a) +
                         (place.z - rim.z_rim) * (place.z - rim.z_rim));
    };
    const auto far = [&](const Rim& rim) {
        return std::sqrt((place.r + rim.a) * (place.r + rim.a) +
                         (place.z - rim.z_rim) * (place.z - rim.z_rim));
    };
    const bool forward = pole.sigma > 0.0;
    if (pole.at_focus) {
        return {d, d};
    }
    if (pole.m > outer.S) {
        return {near(outer), far(outer)};
    }
    if (pole.m < S_in) {
        return {forward ? near(inner) : near(outer), forward ? far(outer) : far(inner)};
    }
    return {forward ? pole.R0 : near(outer), forward ? far(outer) : pole.R0};
}

Distances flat_distances_of(const std::vector<Rim>& rims, const Place& place) {
    if (rims.empty()) {
        return {std::fabs(place.z), std::fabs(place.z)};
    }
    const double r = place.r, z = place.z;
    const double out = rims.front().a;
    const double in = rims.size() > 1 ? rims.back().a : 0.0;
    double first = std::fabs(z);
    if (r < in) {
        first = std::sqrt((in - r) * (in - r) + z * z);
    } else if (r > out) {
        first = std::sqrt((r - out) * (r - out) + z * z);
    }
    return {first, std::sqrt((r + out) * (r + out) + z * z)};
}

bool is_skipped(const std::vector<Rim>& rims, double d, const Place& place) {
    const double r = place.r, z = place.z;
    const double z_rim = rims.empty() ? 0.0 : rims.front().z_rim;
    return z < 0.0 || (z < z_rim && r * r + z * z - 2.0 * d * z > 1e-12 * d * d);
}

double Spot::R(const Pole& pole, double d) const {
    return std::sqrt(std::max(0.0, pole.R0 * pole.R0 + pole.sigma * d * pole.s * D2));
}

double Spot::excess(const Pole& pole, double d) const {
    return pole.sigma * d * pole.s * D2 / (R(pole, d) + pole.R0);
}

Spot spot_of(const Rim& rim, const Pole& pole, double kappa) {
    const double D2 = (rim.S - pole.m) * (rim.S - pole.m) + (rim.V - pole.U) * (rim.V - pole.U) +
                      2.0 * rim.S * pole.m * kappa;
    const double N = (rim.C * pole.m - rim.S * pole.n) - rim.C * pole.m * kappa;
    return {D2, N};
}

double kappa_of(double phi) {
    const double h = std::sin(phi / 2.0);
    return 2.0 * (h * h);
}

std::vector<Neighbour> neighbours_of(double d, const Place& place) {
    const double s0 = d * 0x1p-18;
    if (pole_of(d, place).s >= s0) {
        return {{place, 1.0}};
    }
    const double x = place.r * place.r / (s0 * s0);
    return {{{s0, place.z}, (4.0 - x) / 3.0}, {{2.0 * s0, place.z}, (x - 1.0) / 3.0}};
}

Window edge_window(const ApertureScene& scene, const Aperture& aperture, double tau) {
    const double width = aperture.waveform->width();
    if (scene.deltat == 0.0) {
        return listed_window(scene.times, aperture.time_delay, tau, tau, width);
    }
    const double inv_dt = 1.0 / scene.deltat;
    const double u = tau + aperture.time_delay - scene.times.front();
    return regular_window(u * inv_dt, (u + width) * inv_dt, scene.times.size());
}

Window window_between(const ApertureScene& scene, const Aperture& aperture, double tau_a,
                      double tau_b) {
    const double width = aperture.waveform->width();
    if (scene.deltat == 0.0) {
        return listed_window(scene.times, aperture.time_delay, tau_a, tau_b, width);
    }
    const double inv_dt = 1.0 / scene.deltat;
    const double t0 = scene.times.front();
    const double begin = tau_a + aperture.time_delay - t0;
    const double end = aperture.time_delay + tau_b + width - t0;
    return regular_window(begin * inv_dt, end * inv_dt, scene.times.size());
}

}  // namespace kavro_oracle
