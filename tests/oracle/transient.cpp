#include "oracle/transient.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "oracle/literal_waveforms.h"

namespace kavro_oracle {
namespace {

// The sum of one point's terms at every sample.
struct Series {
    std::vector<double> values, terms;
    std::vector<char> touched;

    explicit Series(std::size_t ntimes) : values(ntimes), terms(ntimes), touched(ntimes) {}

    void add(std::size_t j, double value, double magnitude) {
        values[j] += value;
        terms[j] += magnitude;
        touched[j] = 1;
    }
};

// Adds amplitude times series(element, local point) of all elements.
template <class MakeSeries>
void add_series(const Scene& scene, bool even_silent, Field& field, Trace* trace, MakeSeries make) {
    for (const Element& element : scene.elements) {
        if (is_silent(element) && !even_silent) {
            continue;
        }
        const Placement placement(element);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Series series = make(element, placement.local(scene.points[p]));
            for (std::size_t j = 0; j < scene.times.size(); ++j) {
                const std::size_t at = p + j * scene.points.size();
                field[at] += series.values[j] * element.amplitude;
                if (trace != nullptr) {
                    trace->terms[at] += series.terms[j] * std::fabs(element.amplitude);
                    trace->touched[at] |= series.touched[j];
                }
            }
        }
    }
}

// From the first arrival to the last: outwards, rounded down and up, for discs and rectangles,
// which divide by the step, else inwards.
Window arrival_window(const Scene& scene, const Element& element, const View<double>& view) {
    const double w = element.waveform->width();
    if (scene.deltat == 0) {
        return listed_window(scene.times, element.time_delay, view.first, view.last, w);
    }
    const double inv_dt = 1 / scene.deltat;
    const double first = view.first + element.time_delay - scene.times.front();
    const double last = view.last + element.time_delay + w - scene.times.front();
    const std::size_t n = scene.times.size();
    switch (element.shape) {
        case Shape::disc:
            return regular_window(std::floor(first * inv_dt), std::ceil(last * inv_dt), n);
        case Shape::rectangle:
            return regular_window(std::floor(first / scene.deltat), std::ceil(last / scene.deltat),
                                  n);
        default:
            return regular_window(std::ceil(first * inv_dt), std::floor(last * inv_dt) + 1, n);
    }
}

}  // namespace

void add_direct(const Scene& scene, Field& field, Trace* trace, Behind behind) {
    add_series(scene, false, field, trace, [&](const Element& element, const Triple& local) {
        Series series(scene.times.size());
        const auto geometry = geometry_of<double>(scene, element, rule_of(scene, element),
                                                  Units::times, DelayBy::quotient, behind);
        for (const View<double>& view : geometry->look(local)) {
            for_each_sample(arrival_window(scene, element, view), [&](std::size_t j) {
                const auto v = [&](double delay) {
                    return element.waveform->at(scene.times[j] - delay - element.time_delay);
                };
                for (const EdgeSample<double>& sample : view.edge) {
                    const double g = sample.coefficient;
                    const double edge = v(sample.delay);
                    const double direct = v(view.direct[sample.pole].delay);
                    series.add(j, (edge - direct) * g,
                               (std::fabs(edge) + std::fabs(direct)) * std::fabs(g));
                }
                for (const DirectPath<double>& path : view.direct) {
                    const double direct = path.moved * v(path.delay);
                    series.add(j, -direct, std::fabs(direct));
                }
            });
        }
        return series;
    });
}

// ---- impulse responses

namespace {

// Half the angle of the circle of one instant that lies within a rim, from the cosine's ratio.
double arc_of(double X, double Y) {
    if (X >= Y) {
        return 0.0;
    }
    return X <= -Y ? pi : std::acos(X / Y);
}

// Of a disc of radius a; over the face the circle is whole from `start` until the rim is heard.
double round_arc(double a, double c, double r, double z, double start, double t) {
    const double t_e = std::sqrt((r - a) * (r - a) + z * z) / c;
    const double t_f = std::sqrt((r + a) * (r + a) + z * z) / c;
    if (r <= a && (r < a ? start : std::fabs(z) / c) <= t && t <= t_e) {
        return pi;
    }
    const double q = c * c * t * t - z * z;
    const double Y = 2.0 * r * std::sqrt(std::fmax(q, 0.0));
    return t_e <= t && t <= t_f ? arc_of(r * r + q - a * a, Y) : 0.0;
}

double bowl_arc(const Rim& rim, double d, double c, const Place& place, double t) {
    const Pole pole = pole_of(d, place);
    const double z = place.z - rim.height;
    const double t_d = pole.R0 / c;
    const double t_e = std::sqrt((place.r - rim.a) * (place.r - rim.a) + z * z) / c;
    const double t_f = std::sqrt((place.r + rim.a) * (place.r + rim.a) + z * z) / c;
    const bool before = pole.sigma > 0.0;
    if (pole.m <= rim.S && (before ? t_d <= t && t <= t_e : t_f < t && t <= t_d)) {
        return pi;
    }
    const double q = pole.sigma * (c * c * t * t - pole.R0 * pole.R0) / (2.0 * d * pole.s);
    const double X = (pole.U - rim.V) + pole.n * q;
    const double Y = pole.m * std::sqrt(std::fmax(q * (2.0 - q), 0.0));
    return t_e <= t && t <= t_f ? arc_of(X, Y) : 0.0;
}

double bowl_response(const Element& bowl, double c, const Place& place, double t) {
    double arcs = 0.0;
    for (const Rim& rim : rims_of(bowl)) {
        arcs += rim.sign * bowl_arc(rim, bowl.focus, c, place, t);
    }
    return c * bowl.focus / (pi * pole_of(bowl.focus, place).s) * arcs;
}

// Next to the focus all of it is in the sample nearest to the arrival.
double focal_response(const Scene& scene, const Element& bowl, std::size_t j) {
    const double sample =
        (bowl.focus / scene.speed + bowl.time_delay - scene.times.front()) / scene.deltat;
    if (scene.deltat == 0.0 || std::floor(sample + 0.5) != static_cast<double>(j)) {
        return 0.0;
    }
    double V = 0.0;
    for (const Rim& rim : rims_of(bowl)) {
        V += rim.sign * rim.V;
    }
    return bowl.focus * V / scene.deltat;
}

double flat_response(const Element& element, double c, double r, double z, double t) {
    // The reference takes the height over a disc with its sign.
    const double height = element.shape == Shape::disc && !element.exact ? z : std::fabs(z);
    const double whole = round_arc(element.radius, c, r, z, height / c, t);
    const double hole =
        element.inner_radius > 0.0 ? round_arc(element.inner_radius, c, r, z, height / c, t) : 0.0;
    return c / pi * (whole - hole);
}

// The foot of the point divides the plane in four: the face is the signed sum of four rectangles
// with a corner there, of sides a and b.
double corner_response(double a, double b, double c, double z, double t) {
    const double t1 = std::sqrt(a * a + z * z) / c, t2 = std::sqrt(b * b + z * z) / c;
    const double t3 = std::sqrt(a * a + b * b + z * z) / c;
    const double squared = c * c * t * t - z * z;
    const double sigma = squared <= 0 ? 0.0 : std::sqrt(squared);
    double response = std::fabs(z) / c <= t && t <= t3 ? c * 0.25 : 0.0;
    if (t1 <= t && t <= t3 && sigma >= a) {
        response += c * (-0.5 / pi) * std::acos(sigma > 0 ? a / sigma : 0.0);
    }
    if (t2 <= t && t <= t3 && sigma >= b) {
        response += c * (-0.5 / pi) * std::acos(sigma > 0 ? b / sigma : 0.0);
    }
    return response;
}

double rectangle_response(const Element& element, double c, const Triple& local, double t) {
    const double hw = element.width * 0.5, hh = element.height * 0.5;
    const double ax = std::fabs(local.x), ay = std::fabs(local.y);
    double sum = 0.0;
    for (const double a : {hw + ax, hw - ax}) {
        for (const double b : {hh + ay, hh - ay}) {
            const double sign = (a < 0 ? -1.0 : 1.0) * (b < 0 ? -1.0 : 1.0);
            sum += sign * corner_response(std::fabs(a), std::fabs(b), c, local.z, t);
        }
    }
    return sum;
}

}  // namespace

void add_response(const Scene& scene, Field& field, Trace* trace) {
    const double c = scene.speed;
    // Rectangles are the only ones that look at the amplitude.
    Scene audible = scene;
    std::erase_if(audible.elements, [](const Element& element) {
        return element.shape == Shape::rectangle && is_silent(element);
    });
    add_series(audible, true, field, trace, [&](const Element& element, const Triple& local) {
        Series series(scene.times.size());
        const Place place = place_of(local);
        const bool bowl = element.shape == Shape::bowl;
        for (std::size_t j = 0; j < scene.times.size(); ++j) {
            const double t = scene.times[j] - element.time_delay;
            double h = 0.0;
            if (element.shape == Shape::rectangle) {
                h = rectangle_response(element, c, local, t);
            } else if (!bowl) {
                h = flat_response(element, c, place.r, place.z, t);
            } else if (pole_of(element.focus, place).s < element.focus * nearest_to_focus) {
                h = focal_response(scene, element, j);
            } else {
                h = bowl_response(element, c, place, t);
            }
            series.add(j, h, std::fabs(h) + c);
        }
        return series;
    });
}

void add_surface(const Scene& scene, Field& field, Trace* trace) {
    add_series(scene, false, field, trace, [&](const Element& disc, const Triple& local) {
        Series series(scene.times.size());
        if (!reaches(disc, local)) {
            return series;
        }
        Element uniform = disc;
        uniform.apodization = 0;
        const std::vector<FaceSample> face = face_of(scene, uniform, Azimuths::all);
        const auto [r, z] = place_of(local);
        const double rho = scene.density, w = disc.waveform->width();
        const Waveform& v = *disc.waveform;
        for (std::size_t j = 0; j < scene.times.size(); ++j) {
            for (const FaceSample& sample : face) {
                const double R = distance_of<double>(sample, disc, local);
                const double weight = rho / two_pi * 2 * over_distance(sample.area, R, disc);
                const double slope =
                    v.derivative(scene.times[j] - R / scene.speed - disc.time_delay);
                series.add(j, weight * slope, std::fabs(weight * slope));
            }
            // Exactly, the jumps at the waveform's ends, which its derivative leaves out.
            const auto jump = [&](double value, double since) {
                const double h = rho * flat_response(disc, scene.speed, r, z, since);
                series.add(j, value * h, std::fabs(value * h));
            };
            const double t = scene.times[j] - disc.time_delay;
            if (disc.exact && w > 0.0) {
                jump(v.at(std::nextafter(0.0, 1.0)), t);
            }
            if (disc.exact && w > 0.0 && std::isfinite(w)) {
                jump(-v.at(std::nextafter(w, 0.0)), t - w);
            }
        }
        return series;
    });
}

std::pair<double, double> arrivals_of(const Scene& scene, const Element& element) {
    const Placement placement(element);
    double begin = std::numeric_limits<double>::max(), end = 0.0;
    for (const Triple& point : scene.points) {
        const auto [first, last] = distances_of(element, placement.local(point));
        begin = std::min(begin, first / scene.speed + element.time_delay);
        end = std::max(end, last / scene.speed + element.time_delay);
    }
    return {begin, end};
}

}  // namespace kavro_oracle
