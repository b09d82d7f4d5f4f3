#include "transducers/kzk/harmonic_march.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/flush_denormals.h"
#include "core/interrupted.h"
#include "core/team.h"
#include "core/threads.h"
#include "core/zeros.h"
#include "transducers/blocks/guarded.h"
#include "transducers/kzk/harmonic_beam.h"
#include "transducers/kzk/harmonic_kernels.h"
#include "transducers/kzk/marching.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/radial_grid.h"

namespace kavro::kzk {
namespace {

constexpr int first_stage_steps = 20;
constexpr double least_growth = 1.0 / 16777216.0;  // below, there is no end of steps

struct Setting {
    const Parameters& parameters;
    RadialGrid radii;
    Planes planes;

    Setting(const Transducer& element, const HarmonicShape& shape)
        : parameters(element.integral->kzk_parameters),
          radii(parameters),
          planes(*element.coordinate_grid, shape.radius, element.exact()) {}

    double growth() const { return static_cast<double>(parameters.growth); }

    // The radial spacing is not quite the one by which the planes' points are placed: deliberate.
    double spacing() const {
        return static_cast<double>(static_cast<int>(radii.extent)) / (radii.last_column + 1);
    }

    std::optional<Fault> fault(const Transducer& element, const HarmonicShape& shape) const;
};

class March {
public:
    March(const Transducer& element, const HarmonicShape& shape, const Setting& setting)
        : element_(element), shape_(shape), setting_(setting) {
        ranges_.reserve(setting.planes.z.size());
        for (const float z : setting.planes.z) {
            check_.spend(1);
            ranges_.push_back(static_cast<double>(shape.range_of(z)));
        }
        columns_ = static_cast<std::size_t>(setting.radii.last_column) + 1;
        // Harmonics that nothing feeds stay silent.
        count_ = shape.nonlinearity != 0.0 ? setting.parameters.harmonics : 1;
        stride_ = harmonic_stride(static_cast<std::size_t>(count_));
    }

    // What the march takes: field and source, and the field as it begins or each thread's scratch.
    MemoryNeed memory() const {
        const auto harmonics = static_cast<std::size_t>(count_);
        const auto threads = static_cast<std::size_t>(threads_to_use());
        const std::size_t scratch = threads * std::max(scratch_of_column, 6 * stride_ / columns_);
        const std::size_t of_column = 4 * stride_ + 2 + std::max(2 * harmonics, scratch);
        return {columns_, (of_column + (4 * stride_ + 3 * harmonics) / columns_) * sizeof(double)};
    }

    // Tells where the harmonics grow without bound, if they do. Throws Interrupted.
    void run(Outcome& outcome) {
        set_up();
        plane_ = first_plane_ahead(ranges_, check_);
        const double R = static_cast<double>(setting_.radii.extent);
        double range = 0.0;
        for (std::int64_t s = 0; plane_ < ranges_.size(); ++s) {
            const bool implicit = s < first_stage_steps;
            // 3947.84... = 400 pi^2
            const double length =
                implicit ? (2.0 * R) * (2.0 * R) * 0.01 / (std::abs(delta_[0]) * 3947.841760435735)
                         : setting_.growth() * (1.0 + range) * (1.0 + range);
            const double next = std::min({range + length, ranges_[plane_], ranges_.back()});
            if (!(range + length > range) || !(next >= range)) {
                break;  // lost in the rounding of the range
            }
            set_step(implicit, range, next);
            advance();
            range = next;
            if (range >= ranges_[plane_]) {
                record(plane_);
                ++plane_;
            }
            tell_of_progress(range / ranges_.back());
        }
        if (unbounded_) {
            outcome.shocked = outcome.warned = true;
            outcome.where = *unbounded_;
            warn_of_growth_without_bound();
        }
    }

private:
    void set_up() {
        const auto harmonics = static_cast<std::size_t>(count_);
        for (AlignedVector<double>* array : {&field_.re, &field_.im, &source_.re, &source_.im}) {
            assign_zeros(*array, columns_ * stride_, spend_);
        }
        for (AlignedVector<double>* array :
             {&step_.diagonal, &step_.kept, &step_.twist, &step_.coupling}) {
            assign_zeros(*array, stride_, spend_);
        }
        assign_zeros(alpha_, harmonics, spend_);
        assign_zeros(delta_, harmonics, spend_);
        std::vector<double> initial;
        assign_zeros(initial, 2 * columns_ * harmonics, spend_);
        shape_.initial(static_cast<int>(setting_.radii.extent), initial.data(),
                       setting_.radii.last_column, count_);
        assign_zeros(radius_.below, columns_, spend_);
        assign_zeros(radius_.above, columns_, spend_);
        for (std::size_t j = 0; j < columns_; ++j) {
            for (std::size_t n = 0; n < harmonics; ++n) {
                check_.spend(2);
                field_.re[j * stride_ + n] = initial[n * columns_ + j];
                field_.im[j * stride_ + n] = initial[(harmonics + n) * columns_ + j];
            }
            if (j > 0) {
                radius_.below[j] = 1.0 - 0.5 / static_cast<double>(j);
                radius_.above[j] = 1.0 + 0.5 / static_cast<double>(j);
            }
        }
        shape_.coefficients(0.0, 0.0, alpha_.data(), delta_.data(), count_);
        former_alpha_ = alpha_;
    }

    // Coefficients of the step's end (backward Euler) or of its middle.
    void set_step(bool implicit, double range, double next) {
        const double h = next - range;
        shape_.coefficients(next, implicit ? next : range + h / 2.0, alpha_.data(), delta_.data(),
                            count_);
        const double spacing = setting_.spacing();
        const double spreading = shape_.spreading(next);
        step_.implicit = implicit;
        step_.length = h;
        for (std::size_t n = 0; n < alpha_.size(); ++n) {
            check_.spend(4);
            const double share = implicit ? alpha_[n] * h : alpha_[n] * h / 2.0;
            const double weight = implicit ? 2.0 * delta_[n] : delta_[n];
            step_.diagonal[n] = 1.0 + share;
            step_.kept[n] = 1.0 - former_alpha_[n] * h / 2.0;
            step_.twist[n] = weight * h / (spacing * spacing);
            step_.coupling[n] = static_cast<double>(n + 1) * shape_.nonlinearity * 0.5 / spreading;
        }
        std::fill(step_.diagonal.begin() + static_cast<std::ptrdiff_t>(alpha_.size()),
                  step_.diagonal.end(), 1.0);
        former_alpha_ = alpha_;
    }

    void advance() {
        constexpr std::size_t rows_at_a_time = 32;
        const auto blocks =
            static_cast<std::int64_t>((columns_ + rows_at_a_time - 1) / rows_at_a_time);
        constexpr std::size_t lanes_at_a_time = 2 * harmonic_lanes;
        const auto groups =
            static_cast<std::int64_t>((stride_ + lanes_at_a_time - 1) / lanes_at_a_time);
        const int threads = threads_to_use();
        Team team;

#pragma omp parallel num_threads(threads)
        {
            const FlushDenormals flush;
            Team::Member member(team);
            const Spend spend = [&member](std::int64_t steps) { member.spend(steps); };
            AlignedVector<double> scratch;
            member.work(
                [&] { scratch.reserve(std::max(6 * stride_, scratch_of_column * columns_)); });
#pragma omp barrier
#pragma omp for schedule(static)
            for (std::int64_t block = 0; block < blocks; ++block) {
                member.work([&] {
                    const std::size_t first = static_cast<std::size_t>(block) * rows_at_a_time;
                    if (shape_.nonlinearity != 0.0) {
                        couple_harmonics(field_, step_, alpha_.size(), stride_, first,
                                         std::min(first + rows_at_a_time, columns_), source_,
                                         scratch, spend);
                    }
                });
            }
#pragma omp for schedule(static)
            for (std::int64_t group = 0; group < groups; ++group) {
                member.work([&] {
                    member.look();
                    const std::size_t first = static_cast<std::size_t>(group) * lanes_at_a_time;
                    advance_harmonics(field_, source_, step_, radius_, stride_, first,
                                      std::min(lanes_at_a_time, stride_ - first), scratch, spend);
                });
            }
        }
        team.finish();
    }

    // Threads meet twice in every step, which on a busy machine may take milliseconds: a share is
    // to last about half of one.
    int threads_to_use() const {
        constexpr double products_worth_a_thread = 4e6;
        const double each = static_cast<double>(stride_) * static_cast<double>(stride_ + 32);
        const double threads = each * static_cast<double>(columns_) / products_worth_a_thread;
        return std::clamp(thread_count(), 1, static_cast<int>(std::clamp(threads, 1.0, 1024.0)));
    }

    void record(std::size_t plane) {
        const double c = element_.medium->_soundspeed;
        const double scale = element_.medium->_rho_density *
                             static_cast<double>(static_cast<float>(element_.amplitude)) * c;
        const double spreading = shape_.spreading(ranges_[plane]);
        const std::vector<float>& r = setting_.planes.r;
        for (std::size_t m = 0; m < r.size(); ++m) {
            check_.spend(8);
            const double place =
                static_cast<double>(r[m] * setting_.radii.points_per_radius) / spreading + 0.5;
            if (!(place < setting_.radii.last_column + 1.0)) {
                continue;  // beyond the radial grid
            }
            const std::size_t row = static_cast<std::size_t>(place) * stride_;
            for (std::size_t n = 0; n < alpha_.size(); ++n) {
                check_.spend(8);
                const std::size_t to = m + r.size() * (plane + ranges_.size() * n);
                element_.pressure_real[to] = field_.re[row + n] * scale / spreading;
                element_.pressure_imag[to] = field_.im[row + n] * scale / spreading;
                if (!unbounded_ && !(std::isfinite(element_.pressure_real[to]) &&
                                     std::isfinite(element_.pressure_imag[to]))) {
                    unbounded_ = {static_cast<double>(setting_.planes.z[plane]),
                                  static_cast<int>(plane)};
                }
            }
        }
    }

    static constexpr std::size_t scratch_of_column = 4 * harmonic_lanes;

    const Transducer& element_;
    const HarmonicShape& shape_;
    const Setting& setting_;
    InterruptCheck check_;
    const Spend spend_ = spend_of(check_);
    int count_;
    std::size_t columns_, stride_;
    std::vector<double> ranges_;               // of the planes
    std::size_t plane_ = 0;                    // the next to record
    std::optional<Outcome::Place> unbounded_;  // where a pressure was not finite first
    HarmonicRows field_, source_;
    HarmonicStep step_;
    HarmonicRadius radius_;
    std::vector<double> alpha_, former_alpha_, delta_;
};

bool is_range(float range) {
    return std::isfinite(range);
}

std::optional<Fault> Setting::fault(const Transducer& element, const HarmonicShape& shape) const {
    if (auto fault = radii.fault()) {
        return fault;
    }
    if (!(growth() > least_growth && std::isfinite(growth()))) {
        return Fault{Input::growth, "more than 6e-8", growth()};
    }
    const bool scaled = shape.range_of(1.0f) > 0.0f && is_range(shape.range_of(1.0f)) &&
                        shape.gain > 0.0 && std::isfinite(shape.gain);
    const auto scale_length =
        shape.gain > 0.0 ? static_cast<double>(1.0f / shape.range_of(1.0f)) : shape.gain;
    if (auto fault = scale_fault(element, shape.radius, element.medium->_f0, scale_length, scaled,
                                 shape.absorption, shape.nonlinearity)) {
        return fault;
    }
    if (!is_range(shape.range_of(planes.z.front())) || !is_range(shape.range_of(planes.z.back()))) {
        return Fault{Input::planes, "at finite distances", element.coordinate_grid->zmax};
    }
    return std::nullopt;
}

}  // namespace

float angular_frequency(const Medium& medium) {
    return static_cast<float>(medium._f0) * 6.2831855f;
}

std::optional<Fault> harmonic_fault(const Transducer& element, const HarmonicShape& shape) {
    return Setting(element, shape).fault(element, shape);
}

MemoryNeed harmonic_memory(const Transducer& element, const HarmonicShape& shape) {
    return element.exact() ? harmonic_beam_memory(element, shape)
                           : March(element, shape, Setting(element, shape)).memory();
}

Outcome march_harmonics(const Transducer& element, const HarmonicShape& shape) {
    Outcome outcome;
    outcome.status = guarded([&] {
        const int harmonics = element.integral->kzk_parameters.harmonics;
        if (harmonics < 1) {
            return status_success;
        }
        const Setting setting(element, shape);
        const std::size_t values =
            setting.planes.r.size() * setting.planes.z.size() * static_cast<std::size_t>(harmonics);
        InterruptCheck check;
        const Spend spend = spend_of(check);
        fill_zeros(element.pressure_real, values, spend);
        fill_zeros(element.pressure_imag, values, spend);
        if (setting.fault(element, shape) || static_cast<float>(element.amplitude) == 0.0f) {
            return status_success;
        }
        if (element.exact()) {
            return march_harmonic_beam(element, shape, outcome);
        }
        return run_within_memory(March(element, shape, setting), outcome);
    });
    return outcome;
}

}  // namespace kavro::kzk
