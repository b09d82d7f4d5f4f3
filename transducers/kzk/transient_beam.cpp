#include "transducers/kzk/transient_beam.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

#include "core/console.h"
#include "core/constants.h"
#include "core/counts.h"
#include "core/flush_denormals.h"
#include "core/interrupted.h"
#include "core/parts.h"
#include "core/threads.h"
#include "core/zeros.h"
#include "transducers/kzk/beam_time.h"
#include "transducers/kzk/column_steps.h"
#include "transducers/kzk/pieces.h"
#include "transducers/kzk/radial_step.h"

namespace kavro::kzk {
namespace {

constexpr double leg_angle = 0.2;     // rad
constexpr double shift = 0.15;        // by distortion in a step, rad
constexpr int most_parts = 256;       // of a step's distortion
constexpr double least_share = 1e-6;  // of the range that a step of distortion has to be

// The value of a series between its samples; zero beyond its ends.
double between(const std::vector<float>& series, double place) {
    const double whole = std::floor(place);
    if (!(whole >= 1.0 && whole + 2.0 < static_cast<double>(series.size()))) {
        return 0.0;
    }
    const std::array<double, 4> weights = cubic_weights(place - whole);
    const float* at = series.data() + static_cast<std::size_t>(whole) - 1;
    double sum = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        sum += weights[i] * static_cast<double>(at[i]);
    }
    return sum;
}

class March {
public:
    March(const Transducer& element, const TransientShape& shape)
        : element_(element),
          shape_(shape),
          parameters_(element.integral->kzk_parameters),
          frame_(frame_of(element, shape)),
          grid_(grid_of(element, shape)),
          axis_(beam_time(element, shape)),
          columns_(static_cast<int>(grid_.columns) - 1),
          slope_(shape.curvature) {}

    // What the march takes.
    MemoryNeed memory() const {
        const std::size_t fields = takes_two_fields() ? 2 : 1;
        const auto scratches =
            static_cast<std::size_t>(shape_.nonlinearity != 0.0f ? threads() : 0);
        const std::size_t of_row = fields * columns_.row() * sizeof(float) +
                                   Distortion::bytes_of_row + sizeof(float) +
                                   scratches * Distortion::bytes_of_scratch_row;
        return {rows() + RadialStep::rows_taken / fields + 1, of_row};
    }

    // Tells where the wave shocks, if it does. Throws Interrupted.
    void run(Outcome& outcome) {
        const FlushDenormals flush;
        set_source();
        const Distortion distortion(taus(), spend_);
        RadialStep radial(columns_, parameters_.is_implicit(), shape_.coefficients_in_double,
                          spend_);
        const std::vector<double>& ranges = grid_.ranges;
        std::size_t plane = 0;
        while (plane < ranges.size() && ranges[plane] < 0.0) {
            check_.spend(1);
            ++plane;
        }
        double range = 0.0;
        bool shock = false;
        while (plane < ranges.size()) {
            if (range >= ranges[plane]) {
                record(plane++, range);
                continue;
            }
            if (range >= leg_end_) {
                begin_leg(range);
            }
            const double end =
                std::min({frame_.step_end(range, grid_.points_per_radius, transient_turn),
                          frame_.change_end(range), range + static_cast<double>(parameters_.step),
                          distortion_end(range)});
            if (shock || !(distortion_end(range) - range > least_share * ranges.back())) {
                tell_of_shock(range, plane, outcome);
                return;
            }
            const double next = std::min({end, leg_end_, ranges[plane]});
            const double width = 0.5 * (width_at(range) + width_at(next));
            diffract(radial, range, next);
            shock =
                advance_columns(distortion, next - range,
                                (next - range) * static_cast<double>(shape_.nonlinearity) / width);
            range = next;
            console::progress(range < ranges.back() ? range / ranges.back() : 1.0);
            if (console::interrupted()) {
                throw Interrupted();
            }
        }
    }

private:
    bool takes_two_fields() const { return parameters_.diffracts() && parameters_.is_implicit(); }
    std::size_t rows() const { return static_cast<std::size_t>(axis_.steps) + 1; }

    std::vector<double> taus() {
        std::vector<double> values;
        assign_zeros(values, rows(), spend_);
        for (std::size_t i = 0; i < values.size(); ++i) {
            check_.spend(1);
            values[i] = static_cast<double>(i) * static_cast<double>(axis_.step) +
                        static_cast<double>(axis_.begin);
        }
        return values;
    }

    float& at(std::size_t i, std::size_t j) {
        return field_[i * columns_.row() + columns_.place(static_cast<int>(j))];
    }

    double width_at(double range) const {
        return parameters_.diffracts() ? leg_width_ + slope_ * (range - leg_begin_) : 1.0;
    }

    // Where the highest pressure has moved its sample by the shift of a step.
    double distortion_end(double range) const {
        const double rate = std::abs(static_cast<double>(shape_.nonlinearity)) *
                            static_cast<double>(peak_) / width_at(range);
        return rate > 0.0 ? range + shift / rate : std::numeric_limits<double>::infinity();
    }

    void set_source() {
        if (takes_two_fields()) {
            former_.reserve(rows() * columns_.row());
        }
        assign_zeros(field_, rows() * columns_.row(), spend_);
        const ExcitationFunction& drive = *element_.excitation;
        const std::int64_t steps_of_value = 16 + std::int64_t{4} * drive.n_terms;
        const std::vector<double> tau = taus();
        for (std::size_t i = 0; i < rows(); ++i) {
            check_.spend(steps_of_value);
            const double t = tau[i] / (two_pi * drive.f0);
            const double value = t >= 0.0 && t <= drive.w ? drive.at(t) : 0.0;
            for (std::size_t j = 0; value != 0.0 && grid_.face(j, 0.0) > 0.0; ++j) {
                check_.spend(8);
                at(i, j) = static_cast<float>(value * grid_.face(j, shape_.hole));
            }
        }
    }

    // Bends the front: columns move along retarded time by cubics through their samples.
    void begin_leg(double range) {
        leg_width_ = frame_.width(range);
        leg_begin_ = range;
        leg_end_ = std::min(frame_.leg_end(range, leg_angle), grid_.ranges.back());
        const double slope = frame_.slope(range, leg_end_);
        const double bend = frame_.bend(leg_width_) * (slope - slope_);
        slope_ = slope;
        if (bend == 0.0) {
            return;
        }
        std::vector<float> column;
        assign_zeros(column, rows(), spend_);
        for (std::size_t j = 1; j < grid_.columns; ++j) {
            const double ahead =
                bend * grid_.radius(j) * grid_.radius(j) / static_cast<double>(axis_.step);
            for (std::size_t i = 0; i < column.size(); ++i) {
                check_.spend(4);
                column[i] = at(i, j);
            }
            for (std::size_t i = 1; i + 1 < column.size(); ++i) {
                check_.spend(8);
                at(i, j) = static_cast<float>(between(column, static_cast<double>(i) + ahead));
            }
        }
    }

    // And takes what has come to the outer layer.
    void diffract(RadialStep& radial, double range, double next) {
        if (!parameters_.diffracts()) {
            return;
        }
        const double spread = (next - range) / (width_at(range) * width_at(next));
        const double alpha = static_cast<double>(axis_.step) * spread * grid_.points_per_radius *
                             grid_.points_per_radius / static_cast<double>(shape_.gain);
        if (parameters_.is_implicit()) {
            // Of second order, and what turns fast dies: twice the same implicit step, of the share
            // 1 - 1/sqrt 2.
            constexpr double root = std::numbers::sqrt2;
            radial.factor(static_cast<float>(alpha * (1.0 - 1.0 / root)), spend_);
            former_.clear();
            in_pieces([this](const float* from, const float* past) {
                former_.insert(former_.end(), from, past);
            });
            radial.apply(field_.data(), axis_.steps, spend_);
            in_pieces([this](float* from, const float* past) {
                const float* before = former_.data() + (from - field_.data());
                for (; from != past; ++from, ++before) {
                    *from =
                        static_cast<float>(1.0 + root) * *from - static_cast<float>(root) * *before;
                }
            });
        } else {
            radial.factor(static_cast<float>(alpha), spend_);
        }
        radial.apply(field_.data(), axis_.steps, spend_);
        std::vector<float> kept;
        assign_zeros(kept, columns_.row(), spend_);
        for (std::size_t j = 0; j < grid_.columns; ++j) {
            check_.spend(16);
            kept[columns_.place(static_cast<int>(j))] = static_cast<float>(
                std::exp(-frame_.absorption(grid_.radius(j), grid_.layer) * spread));
        }
        for (std::size_t i = 0; i < field_.size(); i += kept.size()) {
            check_.spend(static_cast<std::int64_t>(kept.size()));
            for (std::size_t p = 0; p < kept.size(); ++p) {
                field_[i + p] *= kept[p];
            }
        }
    }

    template <class Work>
    void in_pieces(Work work) {
        for (std::size_t i = 0; i < field_.size(); i += zeros_at_a_time) {
            const std::size_t count = std::min(zeros_at_a_time, field_.size() - i);
            check_.spend(static_cast<std::int64_t>(count));
            work(field_.data() + i, field_.data() + i + count);
        }
    }

    // Absorption and distortion, which columns go through independently of each other. Whether the
    // wave has overtaken itself.
    bool advance_columns(const Distortion& distortion, double step, double length) {
        if (length == 0.0 && shape_.absorption == 0.0f) {
            return false;
        }
        const double step_of_time = static_cast<double>(axis_.step);
        const Absorption absorption(
            static_cast<float>(step * static_cast<double>(shape_.absorption) /
                               (step_of_time * step_of_time)),
            true, axis_.steps, spend_);
        std::vector<Heights> heights(static_cast<std::size_t>(columns_.run));
        in_parts<Distortion::Scratch>(
            columns_.run, threads(),
            [&](std::int64_t group, Distortion::Scratch& scratch, const Spend& spend) {
                float* columns = field_.data() + group * Columns::lanes;
                if (shape_.absorption != 0.0f) {
                    absorption.apply(columns, columns_.row(), 1, spend);
                }
                heights[static_cast<std::size_t>(group)] =
                    distort(distortion, columns, static_cast<float>(length), scratch, spend);
            });
        peak_ = 0.0f;
        bool shock = false;
        for (const Heights& of : heights) {
            peak_ = std::max(peak_, of.peak);
            shock = shock || of.shock;
        }
        return shock;
    }

    struct Heights {
        float peak = 0.0f;
        float jump = 0.0f;  // from sample to sample
        bool shock = false;
    };

    // In as many parts as keep each sample from moving by more than half of the way to the next: so
    // fronts stay some samples wide, and the march goes through shocks.
    Heights distort(const Distortion& distortion, float* columns, float length,
                    Distortion::Scratch& scratch, const Spend& spend) const {
        Heights heights = heights_of(columns, spend);
        float left = length;
        for (int part = 0; left != 0.0f && !heights.shock && part < most_parts; ++part) {
            const float most = 0.5f * axis_.step / heights.jump;
            const bool is_last = std::abs(left) <= most || part + 1 == most_parts;
            const float now = is_last ? left : std::copysign(most, left);
            const bool shock =
                distortion.apply(columns, columns_.row(), now, length > 0.0f, scratch, spend).shock;
            left = is_last ? 0.0f : left - now;
            heights = heights_of(columns, spend);
            heights.shock = shock;
        }
        return heights;
    }

    Heights heights_of(const float* columns, const Spend& spend) const {
        std::array<float, Columns::lanes> peak{}, jump{};
        for (std::size_t i = 1; i < rows(); ++i) {
            if (i % rows_at_a_time == 0) {
                spend(rows_at_a_time * Columns::lanes);
            }
            const float* now = columns + i * columns_.row();
            const float* before = now - columns_.row();
            for (std::size_t lane = 0; lane < Columns::lanes; ++lane) {
                peak[lane] = std::max(peak[lane], std::abs(now[lane]));
                jump[lane] = std::max(jump[lane], std::abs(now[lane] - before[lane]));
            }
        }
        return {*std::max_element(peak.begin(), peak.end()),
                *std::max_element(jump.begin(), jump.end()), false};
    }

    // Threads meet after every step, which on a busy machine may take milliseconds.
    int threads() const {
        constexpr std::size_t values_worth_a_thread = 400000;
        const std::size_t most =
            std::clamp<std::size_t>(rows() * columns_.row() / values_worth_a_thread, 1,
                                    static_cast<std::size_t>(columns_.run));
        return std::clamp(thread_count(), 1, static_cast<int>(most));
    }

    void record(std::size_t plane, double range) {
        const TimeSamples& times = *element_.time_samples;
        const double width = plane_width(range);
        const double c = element_.medium->_soundspeed;
        const double scale = element_.medium->_rho_density * element_.amplitude * c / width;
        const double omega0 = two_pi * element_.excitation->f0;
        const std::size_t points = grid_.r.size() * grid_.z.size();
        std::vector<float> waveform;
        assign_zeros(waveform, rows(), spend_);
        for (std::size_t m = 0; m < grid_.r.size(); ++m) {
            check_.spend(16);
            const double r = grid_.r[m];
            if (!(r <= grid_.extent)) {
                continue;
            }
            const BeamGrid::Place place = grid_.place(r / width);
            for (std::size_t i = 0; i < waveform.size(); ++i) {
                check_.spend(8);
                double sum = 0.0;
                for (std::size_t k = 0; k < 4; ++k) {
                    sum += place.weights[k] * static_cast<double>(at(i, place.columns[k]));
                }
                waveform[i] = static_cast<float>(sum);
            }
            const double delay = grid_.z[plane] / c;
            const double begin = static_cast<double>(shape_.gain) * r * r * slope_ / width +
                                 static_cast<double>(axis_.begin);
            for (int n = 0; n < times.ntimes; ++n) {
                check_.spend(8);
                const double tau = omega0 * (times.time_index_value(n) - delay) - begin;
                element_.transient_pressure[m + grid_.r.size() * plane +
                                            static_cast<std::size_t>(n) * points] =
                    scale * between(waveform, tau / static_cast<double>(axis_.step));
            }
        }
    }

    double plane_width(double range) const { return range > 0.0 ? width_at(range) : 1.0; }

    void tell_of_shock(double range, std::size_t plane, Outcome& outcome) const {
        outcome.shocked = true;
        outcome.warned = shape_.shock_is_warning;
        outcome.where = {range * shape_.scale_length, static_cast<int>(plane)};
        if (shape_.shock_is_warning) {
            console::warn(shape_.shock_message);
        } else {
            console::print("%s", shape_.shock_message);
        }
    }

    const Transducer& element_;
    const TransientShape& shape_;
    const Parameters& parameters_;
    Frame frame_;
    BeamGrid grid_;
    RetardedTime axis_;
    InterruptCheck check_;
    const Spend spend_ = [this](std::int64_t steps) {
        check_.spend(steps);
    };  // the same, handed on
    Columns columns_;
    AlignedVector<float> field_, former_;
    float peak_ = 1.0f;
    double slope_, leg_width_ = 1.0, leg_begin_ = 0.0, leg_end_ = 0.0;  // of the leg
};

}  // namespace

TransducerStatus march_transient_beam(const Transducer& element, const TransientShape& shape,
                                      Outcome& outcome) {
    March march(element, shape);
    const MemoryNeed need = march.memory();
    if (!fits_into_memory(need.count, need.bytes)) {
        return status_out_of_memory;
    }
    march.run(outcome);
    return status_success;
}

MemoryNeed transient_beam_memory(const Transducer& element, const TransientShape& shape) {
    return March(element, shape).memory();
}

}  // namespace kavro::kzk
