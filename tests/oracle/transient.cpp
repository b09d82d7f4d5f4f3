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
void add_series(const Scene& scene, Field& field, Trace* trace, MakeSeries make) {
    for (const Element& element : scene.elements) {
        if (is_silent(element)) {
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
    add_series(scene, field, trace, [&](const Element& element, const Triple& local) {
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
