// Transient pressure in double precision.
#include <cmath>
#include <cstddef>
#include <vector>

#include "oracle/curved_geometry.h"
#include "oracle/curved_transient.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// Edge waves and direct waves of a bowl at one place, the coefficients times a weight.
Arrivals bowl_arrivals(const ApertureScene& scene, const Aperture& aperture, const Rule& rule,
                       const Neighbour& neighbour) {
    const std::vector<Rim> rims = rims_of(aperture);
    const double d = aperture.focus;
    const double rho_c = scene.density * scene.speed;
    const Pole pole = pole_of(d, neighbour.place);
    const double scale = neighbour.weight * (pole.sigma / pole.s);
    Arrivals arrivals;
    double D0 = 0.0, D1 = 0.0;
    bool both_poles = false;
    for (const Rim& rim : rims) {
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double W = rim.sign * rule.w[i] * rho_c * rim.a / pi;
            const Spot spot = spot_of(rim, pole, kappa_of(rule.x[i]));
            const double tau = spot.R(pole, d) / scene.speed;
            if (rim.nearly_hemispherical()) {
                arrivals.edge.push_back({W * scale * (spot.A() + spot.B()), tau});
                D0 += W * scale * spot.A();
                D1 += W * scale * spot.B();
            } else {
                arrivals.edge.push_back({W * scale * spot.K(), tau});
                D0 += W * scale * spot.K();
            }
        }
        if (rim.nearly_hemispherical()) {
            const double q = rim.sign * (rho_c * d * rim.V / 2.0) * scale;
            D0 -= q;
            D1 += q;
            both_poles = true;
        }
    }
    const auto [first, last] = distances_of(rims, d, neighbour.place);
    const auto direct = [&scene, first = first, last = last](double coefficient, double R) {
        return DirectArrival{coefficient, R / scene.speed, std::fmax(R, first) / scene.speed,
                             std::fmin(R, last) / scene.speed};
    };
    arrivals.direct.push_back(direct(D0, pole.R0));
    if (both_poles) {
        arrivals.direct.push_back(direct(D1, pole.R1));
    }
    arrivals.first = first / scene.speed;
    arrivals.last = last / scene.speed;
    return arrivals;
}

Arrivals flat_arrivals(const ApertureScene& scene, const Aperture& aperture, const Rule& rule,
                       const Place& place) {
    const std::vector<Rim> rims = rims_of(aperture);
    const double r = place.r, z = place.z;
    Arrivals arrivals;
    double sum = 0.0;
    for (const Rim& rim : rims) {
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double cosine = std::cos(rule.x[i]);
            const double W = rim.sign * rule.w[i] * (scene.density * scene.speed * rim.a / pi);
            const double D = (place.r_squared + rim.a * rim.a) - cosine * (2.0 * rim.a) * r;
            const double G = ((cosine * r - rim.a) / D) * W;
            arrivals.edge.push_back({G, std::sqrt(D + z * z) / scene.speed});
            sum += G;
        }
    }
    const auto [first, last] = flat_distances_of(rims, place);
    arrivals.first = first / scene.speed;
    arrivals.last = last / scene.speed;
    arrivals.direct.push_back(
        {sum, z / scene.speed, std::fmax(z, first) / scene.speed, z / scene.speed});
    return arrivals;
}

// Adds a window's samples of the direct evaluation.
void add_directly(const ApertureScene& scene, const Aperture& aperture, const Arrivals& arrivals,
                  std::vector<double>& accumulator) {
    const Window window = window_between(scene, aperture, arrivals.first, arrivals.last);
    const Waveform& v = *aperture.waveform;
    for_each_sample(window, [&](std::size_t j) {
        const double t = scene.times[j] - aperture.time_delay;
        for (const EdgeArrival& edge : arrivals.edge) {
            accumulator[j] += edge.coefficient * v.at(t - edge.delay);
        }
        for (const DirectArrival& direct : arrivals.direct) {
            accumulator[j] -= direct.coefficient * v.at(t - direct.delay);
        }
    });
}

// Temporal factors of one aperture, and sums of the decomposition.
class Decomposed {
public:
    Decomposed(const ApertureScene& scene, const Aperture& aperture, Terms terms)
        : scene_(scene), aperture_(aperture), terms_(terms) {
        const Waveform& v = *aperture.waveform;
        const auto K = static_cast<std::size_t>(v.terms());
        real_.resize(K);
        complex_.resize(K);
        if (terms == Terms::real) {
            real_temporal_.resize(K * scene.times.size() + 3);
            v.temporal(scene.times, aperture.time_delay, real_temporal_.data());
        } else {
            complex_temporal_.resize(K * scene.times.size());
            v.temporal(scene.times, aperture.time_delay, complex_temporal_.data());
        }
    }

    // coefficient * sum of S_k(tau) T_k(j) over the window.
    void add(double coefficient, double tau, const Window& window, std::vector<double>& accumulator,
             PointWindows* log) {
        const std::size_t ntimes = scene_.times.size();
        if (terms_ == Terms::real) {
            aperture_.waveform->spatial(tau, real_.data());
        } else {
            aperture_.waveform->spatial(tau, complex_.data());
        }
        for_each_sample(window, [&](std::size_t j) {
            for (std::size_t k = 0; k < real_.size(); ++k) {
                accumulator[j] +=
                    coefficient * (terms_ == Terms::real
                                       ? real_[k] * real_temporal_[k * ntimes + j]
                                       : (complex_[k] * complex_temporal_[k * ntimes + j]).real());
            }
        });
        if (log != nullptr) {
            const double g = coefficient * aperture_.amplitude;
            log->edge.push_back(window);
            if (terms_ == Terms::real) {
                note_terms(*log, window, real_, g, real_temporal_, ntimes);
            } else {
                note_terms(*log, window, complex_, g, complex_temporal_, ntimes);
            }
        }
    }

private:
    const ApertureScene& scene_;
    const Aperture& aperture_;
    Terms terms_;
    std::vector<double> real_, real_temporal_;
    std::vector<Complex> complex_, complex_temporal_;
};

// The direct wave is decomposed like the edge waves where the aperture is curved, and taken by its
// value where it is flat.
void add_decomposed(const ApertureScene& scene, const Aperture& aperture, const Arrivals& arrivals,
                    Decomposed& decomposed, std::vector<double>& accumulator, PointWindows* log) {
    for (const EdgeArrival& edge : arrivals.edge) {
        decomposed.add(edge.coefficient, edge.delay, edge_window(scene, aperture, edge.delay),
                       accumulator, log);
    }
    for (const DirectArrival& direct : arrivals.direct) {
        const Window window = window_between(scene, aperture, direct.begin, direct.end);
        if (aperture.focus > 0.0) {
            decomposed.add(-direct.coefficient, direct.delay, window, accumulator, log);
            continue;
        }
        for_each_sample(window, [&](std::size_t j) {
            const double t = (scene.times[j] - direct.delay) - aperture.time_delay;
            const double value = aperture.waveform->at(t) * direct.coefficient;
            accumulator[j] -= value;
            if (log != nullptr) {
                log->terms.resize(scene.times.size());
                log->terms[j] += std::fabs(value * aperture.amplitude);
            }
        });
        if (log != nullptr) {
            log->edge.push_back(window);
        }
    }
}

}  // namespace

std::vector<Arrivals> arrivals_of(const ApertureScene& scene, const Aperture& aperture,
                                  const Rule& rule, const Triple& point, Behind behind) {
    const Place place = place_of(aperture, point);
    if (aperture.focus <= 0.0) {
        return place.z < 0.0 ? std::vector<Arrivals>()
                             : std::vector{flat_arrivals(scene, aperture, rule, place)};
    }
    std::vector<Arrivals> arrivals;
    if (behind == Behind::computed || !is_skipped(rims_of(aperture), aperture.focus, place)) {
        for (const Neighbour& neighbour : neighbours_of(aperture.focus, place)) {
            arrivals.push_back(bowl_arrivals(scene, aperture, rule, neighbour));
        }
    }
    return arrivals;
}

void add_fnm_transient(const ApertureScene& scene, Behind behind, Field& field) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) <= 1e-10) {
            continue;
        }
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            std::vector<double> accumulator(scene.times.size(), 0.0);
            for (const Arrivals& arrivals :
                 arrivals_of(scene, aperture, rule, scene.points[p], behind)) {
                add_directly(scene, aperture, arrivals, accumulator);
            }
            for (double& value : accumulator) {
                value *= aperture.amplitude;
            }
            superpose(field, p, scene.points.size(), accumulator);
        }
    }
}

void add_fnm_tsd(const ApertureScene& scene, Terms terms, Behind behind, Field& field,
                 WindowLog* log) {
    const Rule rule = gauss(scene.ndiv, 0, pi);
    for (const Aperture& aperture : scene.apertures) {
        if (std::fabs(aperture.amplitude) <= 1e-10) {
            continue;
        }
        Decomposed decomposed(scene, aperture, terms);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            PointWindows* windows = log != nullptr ? &log->emplace_back() : nullptr;
            std::vector<double> accumulator(scene.times.size(), 0.0);
            for (const Arrivals& arrivals :
                 arrivals_of(scene, aperture, rule, scene.points[p], behind)) {
                add_decomposed(scene, aperture, arrivals, decomposed, accumulator, windows);
            }
            for (double& value : accumulator) {
                value *= aperture.amplitude;
            }
            superpose(field, p, scene.points.size(), accumulator);
        }
    }
}

}  // namespace kavro_oracle
