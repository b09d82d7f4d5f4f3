// Arrival times and spatial impulse responses.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "oracle/curved_geometry.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// Half the angle of the circle of one instant that lies within the rim, from the cosines' ratio.
double arc_of(double X, double Y) {
    if (X >= Y) {
        return 0.0;
    }
    return X <= -Y ? pi : std::acos(X / Y);
}

double flat_arc(const Rim& rim, double c, const Place& place, double t) {
    const double r = place.r, z = place.z;
    const double q = c * c * t * t - z * z;
    const double t_e = std::sqrt((r - rim.a) * (r - rim.a) + z * z) / c;
    const double t_f = std::sqrt((r + rim.a) * (r + rim.a) + z * z) / c;
    if (r <= rim.a && std::fabs(z) / c <= t && t <= t_e) {
        return pi;
    }
    const double X = r * r + q - rim.a * rim.a;
    const double Y = 2.0 * r * std::sqrt(std::fmax(q, 0.0));
    return t_e <= t && t <= t_f ? arc_of(X, Y) : 0.0;
}

double curved_arc(const Rim& rim, double d, double c, const Place& place, double t) {
    const Pole pole = pole_of(d, place);
    const double z = place.z - rim.z_rim;
    const double t_d = pole.R0 / c;
    const double t_e = std::sqrt((place.r - rim.a) * (place.r - rim.a) + z * z) / c;
    const double t_f = std::sqrt((place.r + rim.a) * (place.r + rim.a) + z * z) / c;
    const bool inside = pole.m <= rim.S;
    if (inside && pole.sigma > 0.0 && t_d <= t && t <= t_e) {
        return pi;
    }
    if (inside && pole.sigma < 0.0 && t_f < t && t <= t_d) {
        return pi;
    }
    const double q = pole.sigma * (c * c * t * t - pole.R0 * pole.R0) / (2.0 * d * pole.s);
    const double X = (pole.U - rim.V) + pole.n * q;
    const double Y = pole.m * std::sqrt(std::fmax(q * (2.0 - q), 0.0));
    return t_e <= t && t <= t_f ? arc_of(X, Y) : 0.0;
}

// Next to the focus: all of it in the sample nearest to the arrival.
void add_pulse(const ApertureScene& scene, const Aperture& aperture, const std::vector<Rim>& rims,
               std::size_t p, Field& field) {
    const double d = aperture.focus;
    double V = 0.0;
    for (const Rim& rim : rims) {
        V += rim.sign * rim.V;
    }
    const double sample = std::floor(
        (d / scene.speed + aperture.time_delay - scene.times.front()) / scene.deltat + 0.5);
    if (scene.deltat != 0.0 && sample >= 0.0 && sample < static_cast<double>(scene.times.size())) {
        field[p + static_cast<std::size_t>(sample) * scene.points.size()] +=
            aperture.amplitude * d * V / scene.deltat;
    }
}

}  // namespace

std::pair<double, double> begin_and_end_times(const ApertureScene& scene) {
    const Aperture& aperture = scene.apertures.front();
    const std::vector<Rim> rims = rims_of(aperture);
    double begin = 0.0, end = 0.0;
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Place place = place_of(aperture, scene.points[p]);
        const auto [first, last] = aperture.focus > 0.0 ? distances_of(rims, aperture.focus, place)
                                                        : flat_distances_of(rims, place);
        const double b = first / scene.speed + aperture.time_delay;
        const double e = last / scene.speed + aperture.time_delay;
        begin = p == 0 ? b : std::min(begin, b);
        end = p == 0 ? e : std::max(end, e);
    }
    return {begin, end};
}

void add_impulse_response(const ApertureScene& scene, Field& field) {
    const double c = scene.speed;
    for (const Aperture& aperture : scene.apertures) {
        const std::vector<Rim> rims = rims_of(aperture);
        const double d = aperture.focus;
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Place place = place_of(aperture, scene.points[p]);
            if (d > 0.0 && pole_of(d, place).s < d * 0x1p-18) {
                add_pulse(scene, aperture, rims, p, field);
                continue;
            }
            for (std::size_t j = 0; j < scene.times.size(); ++j) {
                const double t = scene.times[j] - aperture.time_delay;
                double arcs = 0.0;
                for (const Rim& rim : rims) {
                    arcs += rim.sign * (d > 0.0 ? curved_arc(rim, d, c, place, t)
                                                : flat_arc(rim, c, place, t));
                }
                const double scale = d > 0.0 ? c * d / (pi * pole_of(d, place).s) : c / pi;
                field[p + j * scene.points.size()] += scale * arcs * aperture.amplitude;
            }
        }
    }
}

}  // namespace kavro_oracle
