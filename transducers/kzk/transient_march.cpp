#include "transducers/kzk/transient_march.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <ranges>
#include <vector>

#include "core/console.h"
#include "core/constants.h"
#include "core/counts.h"
#include "core/flush_denormals.h"
#include "core/interrupted.h"
#include "core/team.h"
#include "core/threads.h"
#include "core/zeros.h"
#include "transducers/blocks/guarded.h"
#include "transducers/kzk/column_steps.h"
#include "transducers/kzk/pieces.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/radial_step.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/kzk/transient_beam.h"
#include "transducers/kzk/transient_output.h"
#include "transducers/kzk/transient_setting.h"

namespace kavro::kzk {
namespace {

constexpr float whole_limit = 1e9f;  // row numbers beyond this are none

// A row number as a whole number, within bounds that no row reaches.
int row_number(double value) {
    return std::abs(value) < static_cast<double>(whole_limit) ? static_cast<int>(value)
                                                              : std::numeric_limits<int>::min();
}

class March {
public:
    March(const Transducer& element, const TransientSetting& setting, TransientOutput& output)
        : element_(element),
          shape_(setting.shape),
          parameters_(setting.parameters),
          planes_(setting.planes),
          axis_(setting.axis),
          output_(output),
          columns_(setting.radii.last_column),
          radial_(columns_, parameters_.is_implicit(), shape_.coefficients_in_double, spend_),
          taus_(taus()),
          distortion_(taus_, spend_) {
        assign_zeros(grid_, taus_.size() * columns_.row(), spend_);
    }

    // What the march of a setting takes.
    static MemoryNeed memory(const TransientSetting& setting) {
        const Columns columns(setting.radii.last_column);
        const auto rows = static_cast<std::size_t>(setting.axis.steps) + 1;
        const auto threads = static_cast<std::size_t>(threads_for(columns, rows));
        const bool distorts = setting.shape.nonlinearity != 0.0f;
        const std::size_t of_row = columns.row() * sizeof(float) + sizeof(double) +
                                   Distortion::bytes_of_row + sizeof(float) * 2 +
                                   (distorts ? threads * Distortion::bytes_of_scratch_row : 0);
        return {rows + RadialStep::rows_taken, of_row};
    }

    // Tells where the wave shocks, if it does. Throws Interrupted.
    void run(Outcome& outcome) {
        set_source();
        auto total = static_cast<std::int64_t>(
            static_cast<double>(shape_.last_range / parameters_.step) + 1.0);
        float range = 0.0f;
        float to_shock = 11.0f * parameters_.step;
        bool shock = false;
        std::size_t plane = 0;
        for (std::int64_t s = 1; plane < planes_.z.size() && s <= total; ++s) {
            const bool shortened = to_shock / 2.0f < parameters_.step;
            const float step = shortened ? to_shock / 2.0f : parameters_.step;
            total += shortened ? 1 : 0;
            // Nor does a step march that is lost in the rounding of the range.
            if (shock || !(range + step > range)) {
                tell_of_shock(range, outcome);
                s = total;
            }
            if (parameters_.diffracts()) {
                diffract(step);
            }
            range += step;
            const Distortion::Result distorted = advance_columns(step);
            shock = distorted.shock;
            if (shape_.nonlinearity != 0.0f) {
                // Without a slope there is no shock ahead, whatever the sign.
                to_shock = distorted.steepest != 0.0f
                               ? 1.0f / (distorted.steepest * shape_.nonlinearity)
                               : std::numeric_limits<float>::infinity();
            }
            // A plane is recorded after the first step that ends beyond it, up to a step late:
            // deliberate.
            if (range > range_of(plane)) {
                record(plane);
                ++plane;
                s = range >= shape_.last_range ? total : s;
            }
            console::progress(
                range < shape_.last_range ? static_cast<double>(range / shape_.last_range) : 1.0);
            if (console::interrupted()) {
                throw Interrupted();
            }
        }
        outcome.where.plane = outcome.shocked ? static_cast<int>(plane) : 0;
    }

private:
    std::vector<double> taus() {
        std::vector<double> values;
        assign_zeros(values, static_cast<std::size_t>(axis_.steps) + 1, spend_);
        for (std::size_t i = 0; i < values.size(); ++i) {
            check_.spend(1);
            values[i] = element_.time_samples->tau_index_value(static_cast<int>(i));
        }
        return values;
    }

    float& at(int i, int j) {
        return grid_[static_cast<std::size_t>(i) * columns_.row() + columns_.place(j)];
    }

    float range_of(std::size_t plane) const {
        return planes_.z[plane] / shape_.rayleigh * shape_.gain;
    }

    int face_columns() const {
        return *std::ranges::partition_point(std::views::iota(0, columns_.last + 1), [this](int j) {
            return static_cast<float>(j) <= parameters_.points_per_radius;
        });
    }

    // A uniform piston, its edges included, and the rim's lead in whole rows. Samples beyond the
    // last row and before the first drop out: deliberate.
    void set_source() {
        const auto omega0 = static_cast<double>(axis_.omega0);
        const double duration = pi * 2.0 * static_cast<double>(axis_.f0) * element_.excitation->w;
        const int first = row_number(static_cast<double>(-axis_.begin / axis_.step));
        const int length = row_number(duration / static_cast<double>(axis_.step) + 1.0);
        const auto end = std::min<std::int64_t>(std::int64_t{first} + length, axis_.steps);
        const int columns = face_columns();
        for (int i = std::max(first, 0); i <= end; ++i) {
            check_.spend(steps_of_value() + columns);
            const auto value = static_cast<float>(
                element_.excitation->at(taus_[static_cast<std::size_t>(i)] / omega0));
            for (int j = 0; j < columns; ++j) {
                const float r = static_cast<float>(j) * (1.0f / parameters_.points_per_radius);
                if (r < static_cast<float>(shape_.hole)) {
                    continue;
                }
                const float lead = r * r * shape_.source_lead / axis_.step;
                if (lead < static_cast<float>(i) + 1.0f) {
                    at(i - static_cast<int>(lead), j) = value;
                }
            }
        }
    }

    // Of one value of the waveform.
    std::int64_t steps_of_value() const {
        return 16 + std::int64_t{4} * element_.excitation->n_terms;
    }

    void diffract(float step) {
        const float spacing = 1.0f / parameters_.points_per_radius;
        radial_.factor(axis_.step * step / (spacing * spacing * shape_.gain), spend_);
        radial_.apply(grid_.data(), axis_.steps, spend_);
    }

    // Absorption and distortion, which columns go through independently of each other.
    Distortion::Result advance_columns(float step) {
        const float kappa = step * shape_.absorption / (axis_.step * axis_.step);
        const Absorption absorption(kappa, parameters_.is_implicit(), axis_.steps, spend_);
        const std::vector<float> edge = outer_edge();
        const int pairs = (columns_.run + 1) / 2;
        const int threads = threads_for(columns_, taus_.size());
        const bool forward = shape_.nonlinearity > 0.0f;
        std::vector<Distortion::Result> results(static_cast<std::size_t>(columns_.run));
        Team team;
        std::atomic<int> done{0};

#pragma omp parallel num_threads(threads)
        {
            const FlushDenormals flush;
            Team::Member member(team);
            const Spend spend = [&member](std::int64_t steps) { member.spend(steps); };
            Distortion::Scratch scratch;
#pragma omp for schedule(static) nowait
            for (int pair = 0; pair < pairs; ++pair) {
                member.work([&] {
                    member.look();
                    const int first = 2 * pair;
                    const int groups = std::min(2, columns_.run - first);
                    float* columns = grid_.data() + first * Columns::lanes;
                    if (shape_.absorption != 0.0f) {
                        absorption.apply(columns, columns_.row(), groups, spend);
                        restore_outer_edge(edge, first, groups, spend);
                    }
                    for (int group = 0; group < groups && shape_.nonlinearity != 0.0f; ++group) {
                        results[static_cast<std::size_t>(first + group)] =
                            distortion_.apply(columns + group * Columns::lanes, columns_.row(),
                                              step * shape_.nonlinearity, forward, scratch, spend);
                    }
                });
                ++done;
            }
            // Columns that have come far apart may keep the others busy for long.
            member.wait([&] { return done == pairs; });
        }
        team.finish();
        Distortion::Result all;
        for (const Distortion::Result& one : results) {
            all.shock = all.shock || one.shock;
            all.steepest = forward ? std::max(all.steepest, one.steepest)
                                   : std::min(all.steepest, one.steepest);
        }
        return all;
    }

    // Threads meet after every step, which on a busy machine may take milliseconds: a share is to
    // last about half of one.
    static int threads_for(const Columns& columns, std::size_t rows) {
        constexpr std::size_t values_worth_a_thread = 400000;
        const auto pairs = static_cast<std::size_t>((columns.run + 1) / 2);
        const std::size_t most =
            std::clamp<std::size_t>(rows * columns.row() / values_worth_a_thread, 1, pairs);
        return std::clamp(thread_count(), 1, static_cast<int>(most));
    }

    // The outermost column is distorted but neither diffracts nor is absorbed: deliberate.
    std::vector<float> outer_edge() {
        std::vector<float> edge;
        if (shape_.absorption != 0.0f) {
            assign_zeros(edge, taus_.size(), spend_);
            copy_column(columns_.last, edge);
        }
        return edge;
    }

    void copy_column(int j, std::vector<float>& values) {
        const float* from = &at(0, j);
        const std::size_t row = columns_.row();
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i % rows_at_a_time == 0) {
                check_.spend(rows_at_a_time);
            }
            values[i] = from[i * row];
        }
    }

    void restore_outer_edge(const std::vector<float>& edge, int first_group, int groups,
                            const Spend& spend) {
        const int own = columns_.last % columns_.run;
        if (own >= first_group && own < first_group + groups) {
            for (int i = 0; i <= axis_.steps; ++i) {
                if (i % rows_at_a_time == 0) {
                    spend(rows_at_a_time);
                }
                at(i, columns_.last) = edge[static_cast<std::size_t>(i)];
            }
        }
    }

    // The field as it stands after the first step that ends beyond the plane.
    void record(std::size_t plane) {
        std::vector<float> waveform;
        assign_zeros(waveform, taus_.size(), spend_);
        for (std::size_t m = 0; m < planes_.r.size(); ++m) {
            check_.spend(16);
            const double place =
                static_cast<double>(planes_.r[m] * parameters_.points_per_radius) + 0.5;
            if (!(place < columns_.last + 1.0)) {
                continue;  // beyond the radial grid
            }
            const int j = static_cast<int>(place);
            copy_column(j, waveform);
            output_.store(plane, m, waveform, check_);
        }
    }

    void tell_of_shock(float range, Outcome& outcome) const {
        outcome.shocked = true;
        outcome.warned = shape_.shock_is_warning;
        outcome.where.z = static_cast<double>(range / shape_.gain * shape_.rayleigh);
        if (shape_.shock_is_warning) {
            console::warn(shape_.shock_message);
        } else {
            console::print("%s", shape_.shock_message);
        }
    }

    const Transducer& element_;
    const TransientShape& shape_;
    const Parameters& parameters_;
    const Planes& planes_;
    const RetardedTime& axis_;
    TransientOutput& output_;
    InterruptCheck check_;
    const Spend spend_ = [this](std::int64_t steps) {
        check_.spend(steps);
    };  // the same, handed on
    Columns columns_;
    RadialStep radial_;
    std::vector<double> taus_;  // rad
    Distortion distortion_;
    AlignedVector<float> grid_;
};

}  // namespace

Outcome march_transient(const Transducer& element, const TransientShape& of) {
    Outcome outcome;
    outcome.status = guarded([&] {
        const TransientSetting setting(element, of);
        const auto& [parameters, radii, planes, shape, axis] = setting;
        TransientOutput output(element, planes, axis);
        if (setting.fault(element)) {
            output.clear_all();
            return status_success;
        }
        if (element.exact()) {
            output.clear_all();
        } else if (element.time_samples->taus.size() > static_cast<std::size_t>(axis.steps)) {
            output.clear();
        } else {
            return status_failure;
        }
        if (shape.prints_nonlinearity) {
            console::print("    - Knonlinearity: %e\n", static_cast<double>(shape.nonlinearity));
        }
        if (static_cast<float>(element.amplitude) == 0.0f) {
            return status_success;  // silent all along
        }
        if (element.exact()) {
            return march_transient_beam(element, shape, outcome);
        }
        const MemoryNeed need = March::memory(setting);
        if (!fits_into_memory(need.count, need.bytes)) {
            return status_out_of_memory;
        }
        March(element, setting, output).run(outcome);
        return status_success;
    });
    return outcome;
}

MemoryNeed transient_memory(const Transducer& element, const TransientShape& shape) {
    const TransientSetting setting(element, shape);
    return element.exact() ? transient_beam_memory(element, setting.shape) : March::memory(setting);
}

}  // namespace kavro::kzk
