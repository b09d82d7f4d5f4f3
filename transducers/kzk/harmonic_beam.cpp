#include "transducers/kzk/harmonic_beam.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/console.h"
#include "core/constants.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "core/parts.h"
#include "core/threads.h"
#include "core/zeros.h"
#include "transducers/kzk/beam_grid.h"
#include "transducers/kzk/frame.h"
#include "transducers/kzk/harmonic_diffraction.h"
#include "transducers/kzk/harmonic_kernels.h"

namespace kavro::kzk {
namespace {

constexpr double leg_angle = 0.03;    // rad
constexpr double distortion = 1.4;    // of the highest harmonic in a leg, rad
constexpr double tail_rate = 8.0;     // of what shocks take from the highest harmonics
constexpr double least_share = 1e-6;  // of the range that a leg has to be for the distortion

using Complex = std::complex<double>;

class March {
public:
    March(const Transducer& element, const HarmonicShape& shape)
        : element_(element),
          shape_(shape),
          parameters_(element.integral->kzk_parameters),
          frame_(shape.gain, shape.curvature),
          grid_(*element.coordinate_grid, shape.radius, shape.scale_length, frame_, parameters_) {
        // Harmonics that nothing feeds stay silent.
        count_ = shape.nonlinearity != 0.0 ? static_cast<std::size_t>(parameters_.harmonics) : 1;
        stride_ = (count_ + harmonic_lanes - 1) / harmonic_lanes * harmonic_lanes;
        rows_ = grid_.columns;
    }

    // What the march takes: field, source and stage, or the field alone, and each thread's scratch.
    MemoryNeed memory() const {
        const auto threads = static_cast<std::size_t>(thread_count());
        const std::size_t diffracting = std::min(threads, groups());
        const std::size_t distorting = std::min(threads, blocks());
        std::size_t of_row = 2 * stride_ + diffracting * scratch_of_diffraction;
        if (shape_.nonlinearity != 0.0) {
            of_row =
                6 * stride_ + 1 +
                std::max(diffracting * scratch_of_diffraction, distorting * 6 * stride_ / rows_);
        }
        return {rows_, (of_row + 2 * stride_ / rows_) * sizeof(double)};
    }

    // Tells where the harmonics grow without bound, if they do. Throws Interrupted.
    void run(Outcome& outcome) {
        set_up();
        std::size_t plane = 0;
        const auto& ranges = grid_.ranges;
        while (plane < ranges.size() && ranges[plane] < 0.0) {
            check_.spend(1);
            ++plane;
        }
        double range = 0.0;
        double pending = 0.0;  // distortion that the wave has still to go through
        while (plane < ranges.size()) {
            const double next = std::min(
                {frame_.leg_end(range, leg_angle), frame_.change_end(range),
                 range + static_cast<double>(parameters_.growth) * (1.0 + range) * (1.0 + range),
                 distortion_end(range), ranges[plane]});
            if (!(distortion_end(range) - range > least_share * ranges.back())) {
                tell_of_shock(range * shape_.scale_length, plane, outcome);
                break;
            }
            if (next > range) {
                const double length = (next - range) / frame_.width(0.5 * (range + next));
                distort(pending + 0.5 * length);
                pending = 0.5 * length;
                advance(range, next);
                range = next;
            }
            if (range >= ranges[plane]) {
                distort(pending);
                pending = 0.0;
                record(plane++, outcome);
            }
            console::progress(range < ranges.back() ? range / ranges.back() : 1.0);
            if (console::interrupted()) {
                throw Interrupted();
            }
        }
        if (outcome.shocked) {
            console::warn(
                "The harmonics grew without bound: the march needs a smaller growth, more "
                "harmonics or more points per radius.\n");
        }
    }

private:
    void set_up() {
        for (AlignedVector<double>* array : {&field_.re, &field_.im}) {
            assign_zeros(*array, rows_ * stride_, spend_);
        }
        if (shape_.nonlinearity != 0.0) {
            for (AlignedVector<double>* array :
                 {&stage_.re, &stage_.im, &source_.re, &source_.im}) {
                assign_zeros(*array, rows_ * stride_, spend_);
            }
        }
        assign_zeros(step_.coupling, stride_, spend_);
        for (std::size_t n = 0; n < count_; ++n) {
            check_.spend(1);
            step_.coupling[n] = static_cast<double>(n + 1) * shape_.nonlinearity * 0.5;
        }
        for (std::size_t j = 0; j < rows_; ++j) {
            check_.spend(8);
            field_.re[j * stride_] = grid_.face(j, shape_.hole);
        }
        slope_ = shape_.curvature;
    }

    // The harmonics' sum bounds the steepest wave there can be.
    double distortion_end(double range) const {
        const double rate = std::abs(shape_.nonlinearity) * static_cast<double>(count_) * peak_ /
                            frame_.width(range);
        return rate == 0.0 ? std::numeric_limits<double>::infinity() : range + distortion / rate;
    }

    static void tell_of_shock(double z, std::size_t plane, Outcome& outcome) {
        if (!outcome.shocked) {
            outcome.shocked = outcome.warned = true;
            outcome.where = {z, static_cast<int>(plane)};
        }
    }

    // Over a length in units of the width: four stages, which together are of second order and bear
    // as long a step as the classical rule of fourth order.
    void distort(double length) {
        if (shape_.nonlinearity == 0.0 || length == 0.0) {
            return;
        }
        std::vector<double> peaks;
        assign_zeros(peaks, rows_, spend_);
        in_rows([&](std::size_t first, std::size_t past, AlignedVector<double>& scratch,
                    const Spend& spend) {
            const HarmonicRows* from = &field_;
            for (const double share : {0.25, 1.0 / 3.0, 0.5, 1.0}) {
                couple_harmonics(*from, step_, count_, stride_, first, past, source_, scratch,
                                 spend);
                spend(static_cast<std::int64_t>((past - first) * stride_));
                for (std::size_t i = first * stride_; i < past * stride_; ++i) {
                    stage_.re[i] = field_.re[i] + share * length * source_.re[i];
                    stage_.im[i] = field_.im[i] + share * length * source_.im[i];
                }
                from = &stage_;
            }
            for (std::size_t j = first; j < past; ++j) {
                spend(static_cast<std::int64_t>(8 * count_));
                peaks[j] = finish_distortion(j, length);
            }
        });
        peak_ = *std::max_element(peaks.begin(), peaks.end());
    }

    // Takes over the last stage, and out of the highest third of the harmonics what a shock would
    // hand on to harmonics that are not there; left in place it would pile up without bound. The
    // rate grows with the tail itself, so that a wave without a shock keeps its harmonics. The sum
    // of the row's harmonics is returned.
    double finish_distortion(std::size_t j, double length) {
        const std::size_t row = j * stride_;
        const std::size_t tail = count_ - count_ / 3;
        double sum = 0.0;
        double tail_sum = 0.0;
        for (std::size_t n = 0; n < count_; ++n) {
            field_.re[row + n] = stage_.re[row + n];
            field_.im[row + n] = stage_.im[row + n];
            const double magnitude = std::hypot(field_.re[row + n], field_.im[row + n]);
            sum += magnitude;
            tail_sum += n < tail ? 0.0 : magnitude;
        }
        const double rate = tail_rate * std::abs(step_.coupling[count_ - 1]) * tail_sum * length;
        for (std::size_t n = tail; n < count_; ++n) {
            const double depth =
                static_cast<double>(n + 1 - tail) / static_cast<double>(count_ - tail);
            const double kept = std::exp(-rate * depth * depth);
            field_.re[row + n] *= kept;
            field_.im[row + n] *= kept;
        }
        return sum;
    }

    // Bends the front to the leg, absorbs, and diffracts.
    void advance(double range, double next) {
        const double slope = frame_.slope(range, next);
        const double bend = frame_.bend(frame_.width(range)) * (slope - slope_);
        slope_ = slope;
        const double spread = (next - range) / (frame_.width(range) * frame_.width(next));
        std::vector<double> kept;
        assign_zeros(kept, count_, spend_);
        for (std::size_t n = 0; n < count_; ++n) {
            check_.spend(8);
            kept[n] = std::exp(-std::pow(static_cast<double>(n + 1), 2) * shape_.absorption *
                               (next - range));
        }
        in_rows(
            [&](std::size_t first, std::size_t past, AlignedVector<double>&, const Spend& spend) {
                for (std::size_t j = first; j < past; ++j) {
                    spend(static_cast<std::int64_t>(16 + 4 * count_));
                    const double r = grid_.radius(j);
                    const Complex turned = std::polar(1.0, -bend * r * r);
                    Complex factor = turned * std::exp(-frame_.absorption(r, grid_.layer) * spread);
                    for (std::size_t n = 0; n < count_; ++n) {
                        const std::size_t i = j * stride_ + n;
                        const double re = field_.re[i] * kept[n];
                        const double im = field_.im[i] * kept[n];
                        field_.re[i] = re * factor.real() - im * factor.imag();
                        field_.im[i] = re * factor.imag() + im * factor.real();
                        factor = {factor.real() * turned.real() - factor.imag() * turned.imag(),
                                  factor.real() * turned.imag() + factor.imag() * turned.real()};
                    }
                }
            });
        diffract(steps(range, next));
    }

    // Lengths of the leg's diffraction steps.
    std::vector<double> steps(double range, double next) {
        const double scale = std::pow(grid_.points_per_radius, 2) / (4.0 * shape_.gain);
        const double start = frame_.width(range);
        std::vector<double> lengths;
        for (double from = range; from < next;) {
            check_.spend(16);
            const double end = frame_.step_end(from, grid_.points_per_radius, harmonic_turn);
            const double to = end > from ? std::min(end, next) : next;
            lengths.push_back(scale * (to - from) / (start + slope_ * (from - range)) /
                              (start + slope_ * (to - range)));
            from = to;
        }
        return lengths;
    }

    void diffract(const std::vector<double>& lengths) {
        const double work = static_cast<double>(rows_ * stride_ * lengths.size());
        in_parts<AlignedVector<double>>(
            static_cast<std::int64_t>(groups()), threads_for(work / 1e5),
            [&](std::int64_t group, AlignedVector<double>& scratch, const Spend& spend) {
                for (const double length : lengths) {
                    diffract_harmonics(field_, length, rows_, stride_,
                                       static_cast<std::size_t>(group) * harmonic_lanes, scratch,
                                       spend);
                }
            });
    }

    static constexpr std::size_t rows_of_block = 32;
    std::size_t blocks() const { return (rows_ + rows_of_block - 1) / rows_of_block; }
    std::size_t groups() const { return stride_ / harmonic_lanes; }

    // Threads meet after every leg, which on a busy machine may take milliseconds.
    static int threads_for(double shares) {
        return std::clamp(thread_count(), 1, static_cast<int>(std::clamp(shares, 1.0, 1024.0)));
    }

    // Blocks of rows, on all threads.
    template <class Work>
    void in_rows(Work work) {
        const auto stride = static_cast<double>(stride_);
        const int threads = threads_for(static_cast<double>(rows_) * stride * stride / 1e6);
        in_parts<AlignedVector<double>>(
            static_cast<std::int64_t>(blocks()), threads,
            [&](std::int64_t block, AlignedVector<double>& scratch, const Spend& spend) {
                const std::size_t first = static_cast<std::size_t>(block) * rows_of_block;
                work(first, std::min(first + rows_of_block, rows_), scratch, spend);
            });
    }

    void record(std::size_t plane, Outcome& outcome) {
        const double c = element_.medium->_soundspeed;
        const double width = frame_.width(grid_.ranges[plane]);
        const double scale = element_.medium->_rho_density * element_.amplitude * c / width;
        const double k = two_pi * element_.medium->_f0 / c;
        for (std::size_t m = 0; m < grid_.r.size(); ++m) {
            check_.spend(16);
            const double r = grid_.r[m];
            if (!(r <= grid_.extent)) {
                continue;
            }
            const BeamGrid::Place place = grid_.place(r / width);
            const Complex ahead =
                std::polar(1.0, -shape_.gain * slope_ * r * r / width - k * grid_.z[plane]);
            Complex turned = scale;
            for (std::size_t n = 0; n < count_; ++n) {
                check_.spend(16);
                turned *= ahead;
                Complex P = 0.0;
                for (std::size_t i = 0; i < 4; ++i) {
                    const std::size_t at = place.columns[i] * stride_ + n;
                    P += place.weights[i] * Complex(field_.re[at], -field_.im[at]);
                }
                P *= turned;
                const std::size_t to = m + grid_.r.size() * (plane + grid_.ranges.size() * n);
                element_.pressure_real[to] = P.real();
                element_.pressure_imag[to] = P.imag();
                if (!(std::isfinite(P.real()) && std::isfinite(P.imag()))) {
                    tell_of_shock(grid_.z[plane], plane, outcome);
                }
            }
        }
    }

    const Transducer& element_;
    const HarmonicShape& shape_;
    const Parameters& parameters_;
    Frame frame_;
    BeamGrid grid_;
    InterruptCheck check_;
    const Spend spend_ = [this](std::int64_t steps) {
        check_.spend(steps);
    };  // the same, handed on
    std::size_t count_, stride_, rows_;
    HarmonicRows field_, source_, stage_;
    HarmonicStep step_;  // only the coupling is read
    double slope_ = 0.0;
    double peak_ = 1.0;  // of the harmonics' sum
};

}  // namespace

TransducerStatus march_harmonic_beam(const Transducer& element, const HarmonicShape& shape,
                                     Outcome& outcome) {
    March march(element, shape);
    const MemoryNeed need = march.memory();
    if (!fits_into_memory(need.count, need.bytes)) {
        return status_out_of_memory;
    }
    march.run(outcome);
    return status_success;
}

MemoryNeed harmonic_beam_memory(const Transducer& element, const HarmonicShape& shape) {
    return March(element, shape).memory();
}

}  // namespace kavro::kzk
