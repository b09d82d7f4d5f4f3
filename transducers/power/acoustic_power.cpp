#include "transducers/power/acoustic_power.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "core/constants.h"
#include "core/interrupted.h"
#include "core/quadrature_rule.h"
#include "core/simd/vector_dispatch.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/lane_quadrature.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/power/far_pattern.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/power/acoustic_power.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Adds (re + j im) e^(j phase) in every lane.
void AddWaves(const Lanes<double>& re, const Lanes<double>& im, const Lanes<double>& phase,
              Lanes<double>& sum_re, Lanes<double>& sum_im) {
    const hn::CappedTag<double, block_lanes> d;
    for (int lane = 0; lane < block_lanes; lane += static_cast<int>(hn::Lanes(d))) {
        hn::Vec<decltype(d)> s;
        hn::Vec<decltype(d)> c;
        SinCos(d, hn::Load(d, phase.data() + lane), s, c);
        const auto a = hn::Load(d, re.data() + lane);
        const auto b = hn::Load(d, im.data() + lane);
        const auto add = [&](Lanes<double>& sum, hn::Vec<decltype(d)> term) HWY_ATTR {
            hn::Store(hn::Add(hn::Load(d, sum.data() + lane), term), d, sum.data() + lane);
        };
        add(sum_re, hn::Sub(hn::Mul(a, c), hn::Mul(b, s)));
        add(sum_im, hn::Add(hn::Mul(a, s), hn::Mul(b, c)));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {
namespace {

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector unit(const Vector& a) {
    const double length = std::sqrt(dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}

Vector difference(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector of(const CartesianCoordinate& a) {
    return {a.x, a.y, a.z};
}

// The values of an axisymmetric pattern over sin(gamma / 2), gamma the angle against the axis, in
// which they oscillate evenly: by cubics through four neighbours.
class PatternTable {
public:
    // `turns` is the largest change of phase over the face, 2 k times its reach. The steps leave
    // 1e-7 of the largest value.
    PatternTable(const FarPattern& pattern, double turns) {
        constexpr double last = 0.70710678118654752;
        const auto steps = static_cast<std::size_t>(std::ceil(last * turns / 0.04)) + 4;
        step_ = last / static_cast<double>(steps - 3);
        for (std::size_t i = 0; i <= steps; ++i) {
            const double h = (static_cast<double>(i) - 1.0) * step_;
            const double sine = 2.0 * h * std::sqrt(1.0 - h * h);
            values_.push_back(pattern.at({sine, 0.0, 1.0 - 2.0 * h * h}));
        }
    }

    std::complex<double> at(double cosine) const {
        const double place = std::sqrt(std::max(0.0, 0.5 * (1.0 - cosine))) / step_;
        const auto i = std::min(static_cast<std::size_t>(place), values_.size() - 4);
        const double t = place - static_cast<double>(i);
        const std::complex<double>* v = values_.data() + i;
        const double a = t + 1.0;
        const double b = t - 1.0;
        const double c = t - 2.0;
        return v[0] * (-t * b * c / 6.0) + v[1] * (0.5 * a * b * c) - v[2] * (0.5 * a * t * c) +
               v[3] * (a * t * b / 6.0);
    }

    static double entries(double turns) { return turns * 18.0; }

private:
    double step_ = 1.0;
    std::vector<std::complex<double>> values_;
};

struct Source {
    FarPattern pattern;
    std::vector<PatternTable> table;  // one or none
    std::complex<double> weight;
    std::array<Vector, 3> axes;  // of its frame
    Vector place;                // from the middle of all
    double reach;                // no point of the face is farther from the place

    std::complex<double> towards(const Vector& u) const {
        const double cosine = dot(axes[2], u);
        if (!(cosine >= 0.0)) {
            return 0.0;
        }
        return table.empty() ? pattern.at({dot(axes[0], u), dot(axes[1], u), cosine})
                             : table.front().at(cosine);
    }
};

// A sum over directions: circles of equal angle against an axis, which is that of all elements
// together, by Gauss's rule over their heights, and evenly spaced directions on each.
class FarSphere {
public:
    FarSphere(std::vector<Source>& sources, double wavenumber) : sources_(sources), k_(wavenumber) {
        place_axis();
        Vector middle{};
        for (const Source& source : sources) {
            for (std::size_t q = 0; q < 3; ++q) {
                middle[q] += source.place[q] / static_cast<double>(sources.size());
            }
        }
        double reach = 0.0;
        bool is_coaxial = one_sided_;
        for (Source& source : sources) {
            source.place = difference(source.place, middle);
            const Vector off = cross(axis_, source.place);
            const double beside = std::sqrt(dot(off, off));
            reach = std::max(reach, std::sqrt(dot(source.place, source.place)) + source.reach);
            breadth_ = std::max(breadth_, beside + source.reach);
            is_coaxial = is_coaxial && source.pattern.is_axisymmetric && beside * k_ < 1e-9;
        }
        // The squared field's bandwidth is that of the farthest two points.
        const double turns = 2.0 * k_ * reach;
        more_ = 16.0 + 5.0 * std::cbrt(turns);
        if (!one_sided_) {
            // For the jumps in the planes that elements send nothing behind.
            more_ = std::max(more_, 600.0 - 0.5 * turns);
        }
        const double order = (one_sided_ ? 0.36 : 0.5) * turns + more_;
        constexpr double most = 1e5;  // squared, nobody waits for
        if (!(order <= most)) {
            throw std::bad_alloc();
        }
        heights_ = gauss_rule(static_cast<int>(order))->mapped(one_sided_ ? 0.0 : -1.0, 1.0);
        if (is_coaxial) {
            breadth_ = -1.0;
        } else {
            tabulate(0.6 * order * k_ * breadth_);
        }
    }

    // The integral of |sum of the sources' waves|^2.
    double integral() const {
        std::vector<double> circles(heights_.abscissas.size());
        work_in_tiles(heights_.order(), 1, [&](Team::Member& member) {
            return [&](int first, int) {
                const auto i = static_cast<std::size_t>(first);
                circles[i] = heights_.weights[i] * mean_over(heights_.abscissas[i], member);
            };
        });
        double sum = 0.0;
        for (const double circle : circles) {
            sum += circle;
        }
        return two_pi * sum;
    }

private:
    void place_axis() {
        Vector sum{};
        for (const Source& source : sources_) {
            for (std::size_t q = 0; q < 3; ++q) {
                sum[q] += source.axes[2][q];
            }
        }
        axis_ = dot(sum, sum) > 1e-6 ? unit(sum) : sources_.front().axes[2];
        one_sided_ = std::all_of(sources_.begin(), sources_.end(), [&](const Source& source) {
            const Vector off = cross(axis_, source.axes[2]);
            return dot(off, off) < 1e-20 && dot(axis_, source.axes[2]) > 0.0;
        });
        const Vector beside =
            std::abs(axis_[0]) < 0.6 ? Vector{1.0, 0.0, 0.0} : Vector{0.0, 1.0, 0.0};
        across_ = unit(cross(axis_, beside));
        aside_ = cross(axis_, across_);
    }

    // Where there are more directions than entries of a table.
    void tabulate(double directions) {
        constexpr std::int64_t steps = 1'000'000;  // of a table, about
        InterruptCheck check;
        for (Source& source : sources_) {
            check.spend(steps);
            const double turns = 2.0 * k_ * source.reach;
            if (source.pattern.is_axisymmetric && directions > PatternTable::entries(turns)) {
                source.table.emplace_back(source.pattern, turns);
            }
        }
    }

    double mean_over(double height, Team::Member& member) const {
        constexpr std::int64_t steps = 2 * block_lanes;  // of a source
        const double radius = std::sqrt(std::max(0.0, 1.0 - height * height));
        const int count =
            breadth_ < 0.0 ? 1 : static_cast<int>(2.0 * k_ * breadth_ * radius + more_);
        double sum = 0.0;
        for (int first = 0; first < count; first += block_lanes) {
            const auto present = static_cast<std::size_t>(std::min(block_lanes, count - first));
            std::array<Vector, block_lanes> directions{};
            for (std::size_t lane = 0; lane < present; ++lane) {
                const double phi = two_pi * (first + static_cast<int>(lane)) / count;
                const double x = radius * std::cos(phi);
                const double y = radius * std::sin(phi);
                for (std::size_t q = 0; q < 3; ++q) {
                    directions[lane][q] = x * across_[q] + y * aside_[q] + height * axis_[q];
                }
            }
            Lanes<double> re{};
            Lanes<double> im{};
            for (const Source& source : sources_) {
                member.spend(steps);
                Lanes<double> own_re{};
                Lanes<double> own_im{};
                Lanes<double> phase{};
                for (std::size_t lane = 0; lane < present; ++lane) {
                    const Vector& u = directions[lane];
                    const std::complex<double> own = source.weight * source.towards(u);
                    own_re[lane] = own.real();
                    own_im[lane] = own.imag();
                    phase[lane] = k_ * dot(u, source.place);
                }
                KAVRO_KERNEL(AddWaves)(own_re, own_im, phase, re, im);
            }
            for (std::size_t lane = 0; lane < present; ++lane) {
                sum += re[lane] * re[lane] + im[lane] * im[lane];
            }
        }
        return sum / count;
    }

    std::vector<Source>& sources_;
    double k_;
    Vector axis_{}, across_{}, aside_{};
    bool one_sided_ = false;  // all elements face along the axis
    double breadth_ = 0.0;    // of all faces about the axis; negative where all turn about it
    double more_ = 0.0;
    QuadratureRule heights_;
};

TransducerStatus gather(std::span<Transducer* const> elements, std::vector<Source>& sources) {
    for (Transducer* const element : elements) {
        if (element == nullptr || element->medium == nullptr ||
            element->medium != elements.front()->medium) {
            return status_failure;
        }
        const Medium& medium = *element->medium;
        if (!(medium._f0 > 0.0 && medium._soundspeed > 0.0 && medium._rho_density > 0.0)) {
            return status_failure;
        }
        if (element->is_silent()) {
            continue;
        }
        element->InitializeRotationMatrix();
        FarPattern pattern = element->far_pattern(two_pi / wavelength_of(medium));
        if (!pattern.at) {
            return status_not_implemented;
        }
        const std::array<double, 9>& m = element->rotation_matrix;
        sources.push_back({std::move(pattern),
                           {},
                           element->complex_weight,
                           {Vector{m[0], m[1], m[2]}, {m[3], m[4], m[5]}, {m[6], m[7], m[8]}},
                           of(element->center),
                           element->distances({0.0, 0.0, 0.0}).farthest});
    }
    return status_success;
}

}  // namespace

TransducerStatus acoustic_power(std::span<Transducer* const> elements, double& power) {
    power = 0.0;
    return guarded([&] {
        std::vector<Source> sources;
        const TransducerStatus status = gather(elements, sources);
        if (status != status_success || sources.empty()) {
            return status;
        }
        const Medium& medium = *elements.front()->medium;
        const double k = two_pi / wavelength_of(medium);
        const double scale = k / two_pi;
        power = 0.5 * medium._rho_density * medium._soundspeed * scale * scale *
                FarSphere(sources, k).integral();
        return status_success;
    });
}

}  // namespace kavro
#endif  // HWY_ONCE
