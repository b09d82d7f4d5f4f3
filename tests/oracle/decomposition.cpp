#include "oracle/decomposition.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kavro_oracle {

Field silence(const Scene& scene) {
    return Field(scene.points.size() * scene.times.size(), 0.0);
}

Trace::Trace(const Scene& scene) : terms(silence(scene)), touched(terms.size()) {}

Window regular_window(double begin, double end, std::size_t ntimes) {
    if (std::isnan(begin) || std::isnan(end)) {
        return {};
    }
    const auto index = [ntimes](double number) {
        return static_cast<int>(std::clamp(number, 0.0, static_cast<double>(ntimes)));
    };
    return {index(begin), index(end), {}};
}

Window listed_window(const std::vector<double>& times, double delay, double begin, double end,
                     double width) {
    Window window;
    for (const double t : times) {
        window.listed.push_back((t - delay) - begin >= 0.0 && (t - delay) - end <= width ? 1 : 0);
    }
    return window;
}

namespace {

// The time axis of one element. Its start, the waveform's width and the inverse step are rounded to
// the precision of the method, but not a bowl's.
template <class Real>
class Clock {
public:
    Clock(const Scene& scene, const Element& element)
        : scene_(scene),
          element_(element),
          t0_(rounded(scene.times.front())),
          w_(rounded(element.waveform->width())),
          inv_dt_(element.shape == Shape::bowl
                      ? 1.0 / scene.deltat
                      : static_cast<double>(Real(1) / static_cast<Real>(scene.deltat))) {}

    // The first sample is rounded up, the last one down.
    Window of_edge_wave(double tau) const {
        if (scene_.deltat == 0.0) {
            return listed(tau, tau);
        }
        const double u = tau + element_.time_delay - t0_;
        return window(std::ceil(u * inv_dt_), (u + w_) * inv_dt_);
    }

    // Only a rectangle's direct wave begins with a sample rounded down.
    Window of_direct_wave(double begin, double end) const {
        if (scene_.deltat == 0.0) {
            return listed(begin, end);
        }
        const double first = (begin + element_.time_delay - t0_) * inv_dt_;
        return window(element_.shape == Shape::rectangle ? std::floor(first) : std::ceil(first),
                      (element_.time_delay + end + w_ - t0_) * inv_dt_);
    }

private:
    double rounded(double x) const {
        return element_.shape == Shape::bowl ? x : static_cast<double>(static_cast<Real>(x));
    }
    Window window(double first, double last) const {
        return regular_window(first, std::floor(last) + 1.0, scene_.times.size());
    }
    Window listed(double begin, double end) const {
        return listed_window(scene_.times, element_.time_delay, begin, end,
                             element_.waveform->width());
    }

    const Scene& scene_;
    const Element& element_;
    double t0_, w_, inv_dt_;
};

// Factor is Real, or complex in the complex form of the decomposition. Sum is the precision of the
// products and sums over terms and waves.
template <class Real, class Factor, class Sum>
class Decomposed {
public:
    Decomposed(const Scene& scene, const Element& element, DelayBy delay_by, Behind behind)
        : scene_(scene),
          element_(element),
          placement_(element),
          geometry_(geometry_of<Real>(scene, element, rule_of(scene, element), Units::times,
                                      delay_by, behind)),
          clock_(scene, element),
          K_(static_cast<std::size_t>(element.waveform->terms())),
          spatial_(K_),
          temporal_(spatial_.size() * scene.times.size() + 3) {
        element.waveform->temporal(scene.times, static_cast<Real>(element.time_delay),
                                   temporal_.data());
    }

    const std::vector<Sum>& series(std::size_t point, Trace* trace) {
        series_.assign(scene_.times.size(), Sum(0));
        const auto views = geometry_->look(placement_.local(scene_.points[point]));
        for (const View<Real>& view : views) {
            Real coefficients[2] = {0, 0};
            for (const EdgeSample<Real>& sample : view.edge) {
                const Window window = clock_.of_edge_wave(static_cast<double>(sample.delay));
                add(sample.coefficient, sample.delay, window, series_);
                note(sample.coefficient, window, point, trace);
                coefficients[sample.pole] += sample.coefficient;
            }
            for (std::size_t i = 0; i < view.direct.size(); ++i) {
                const DirectPath<Real>& path = view.direct[i];
                subtract_direct(coefficients[i] + static_cast<Real>(path.moved), path, point,
                                trace);
            }
        }
        for (Sum& value : series_) {
            value = static_cast<Sum>(static_cast<double>(value) * element_.amplitude);
        }
        return series_;
    }

private:
    void add(Real coefficient, Real tau, const Window& window, std::vector<Sum>& accumulator) {
        const std::size_t ntimes = scene_.times.size();
        element_.waveform->spatial(tau, spatial_.data());
        for_each_sample(window, [&](std::size_t j) {
            Sum sum = 0;
            for (std::size_t k = 0; k < spatial_.size(); ++k) {
                sum += product(spatial_[k], coefficient, temporal_[k * ntimes + j]);
            }
            accumulator[j] += sum;
        });
    }

    static Sum product(Real spatial, Real coefficient, Real temporal) {
        return static_cast<Sum>(spatial) * static_cast<Sum>(coefficient) *
               static_cast<Sum>(temporal);
    }
    static Sum product(Complex spatial, Real coefficient, Complex temporal) {
        return (spatial * temporal).real() * coefficient;
    }

    // A bowl's is decomposed like the edge waves, all others' is the waveform itself.
    void subtract_direct(Real coefficient, const DirectPath<Real>& path, std::size_t point,
                         Trace* trace) {
        const Window window =
            clock_.of_direct_wave(static_cast<double>(path.begin), static_cast<double>(path.end));
        if (element_.shape == Shape::bowl) {
            add(-coefficient, path.delay, window, series_);
        } else {
            for_each_sample(window, [&](std::size_t j) {
                const double v = element_.waveform->at(argument(scene_.times[j], path.delay));
                series_[j] = static_cast<Sum>(static_cast<double>(series_[j]) -
                                              v * static_cast<double>(coefficient));
            });
        }
        if (trace != nullptr) {
            element_.waveform->spatial(path.delay, spatial_.data());
            note(coefficient, window, point, trace);
        }
    }

    double argument(double t, Real zeta) const {
        return element_.shape == Shape::rectangle
                   ? (t - element_.time_delay) - static_cast<double>(zeta)
                   : static_cast<double>(static_cast<Real>(t) - zeta) - element_.time_delay;
    }

    // Of the wave whose spatial factors are at hand.
    void note(Real coefficient, const Window& window, std::size_t point, Trace* trace) {
        if (trace == nullptr) {
            return;
        }
        const double g = std::fabs(static_cast<double>(coefficient) * element_.amplitude);
        const std::size_t ntimes = scene_.times.size();
        for_each_sample(window, [&](std::size_t j) {
            const std::size_t at = point + j * scene_.points.size();
            trace->touched[at] = 1;
            for (std::size_t k = 0; k < spatial_.size(); ++k) {
                trace->terms[at] += g * static_cast<double>(std::abs(spatial_[k])) *
                                    static_cast<double>(std::abs(temporal_[k * ntimes + j]));
            }
        });
    }

    const Scene& scene_;
    const Element& element_;
    Placement placement_;
    std::unique_ptr<Geometry<Real>> geometry_;
    Clock<Real> clock_;
    std::size_t K_;
    std::vector<Factor> spatial_, temporal_;
    std::vector<Sum> series_;
};

// Adds the series of every point, of which `make` has a solver for each element.
template <class Make>
void add_elements(const Scene& scene, Field& field, Trace* trace, Make make) {
    for (const Element& element : scene.elements) {
        if (is_silent(element)) {
            continue;
        }
        auto solver = make(element);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            superpose(field, p, scene.points.size(), solver.series(p, trace));
        }
    }
}

// In single precision a bowl's points near the focus, and all points of a nearly hemispherical one,
// are computed in double and rounded.
template <class Sum>
class SingleBowl {
public:
    SingleBowl(const Scene& scene, const Element& element)
        : points_(scene.points),
          element_(element),
          single_(scene, element, DelayBy::reciprocal, Behind::skipped),
          wide_(scene, element, DelayBy::quotient, Behind::skipped) {}

    std::vector<Sum> series(std::size_t point, Trace* trace) {
        const Place place = place_of(Placement(element_).local(points_[point]));
        const bool deep = std::ranges::any_of(rims_of(element_), &Rim::nearly_hemispherical);
        if (deep || pole_of(element_.focus, place).s < element_.focus / 16.0) {
            const std::vector<double>& wide = wide_.series(point, trace);
            const std::vector<float> rounded(wide.begin(), wide.end());
            return {rounded.begin(), rounded.end()};
        }
        return single_.series(point, trace);
    }

private:
    const std::vector<Triple>& points_;
    const Element& element_;
    Decomposed<float, float, Sum> single_;
    Decomposed<double, double, double> wide_;
};

template <class Sum>
void add_in_single(const Scene& scene, DelayBy delay_by, Field& field, Trace* trace) {
    Scene bowls = scene, others = scene;
    std::erase_if(bowls.elements, [](const Element& e) { return e.shape != Shape::bowl; });
    std::erase_if(others.elements, [](const Element& e) { return e.shape == Shape::bowl; });
    add_elements(others, field, trace, [&](const Element& element) {
        return Decomposed<float, float, Sum>(scene, element, delay_by, Behind::skipped);
    });
    add_elements(bowls, field, trace,
                 [&](const Element& element) { return SingleBowl<Sum>(scene, element); });
}

}  // namespace

void add_single(const Scene& scene, DelayBy delay_by, Field& field, Trace* trace, Sums sums) {
    if (sums == Sums::rounded) {
        add_in_single<float>(scene, delay_by, field, trace);
    } else {
        add_in_single<double>(scene, delay_by, field, trace);
    }
}

void add_double(const Scene& scene, Terms terms, Field& field, Trace* trace, Behind behind) {
    const auto add = [&]<class Factor>(Factor) {
        add_elements(scene, field, trace, [&](const Element& element) {
            return Decomposed<double, Factor, double>(scene, element, DelayBy::quotient, behind);
        });
    };
    terms == Terms::real ? add(0.0) : add(Complex());
}

}  // namespace kavro_oracle
