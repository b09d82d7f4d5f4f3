// From the sum over all scatterers to echoes, and all at once.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/constants.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "excitation/discrete_spectrum.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/echo/plan.h"

namespace kavro {
namespace {

using Complex = std::complex<double>;

void check_total(std::size_t has, std::size_t needs) {
    if (has != needs) {
        throw InputError("The sum of all chunks must have " + std::to_string(needs) +
                         " numbers, not " + std::to_string(has) + ".");
    }
}

// Over time, from the spectra of the receivers in an event.
class Synthesis {
public:
    Synthesis(const echo::Plan& plan) : plan_(plan), frame_(*plan.frame), times_(*plan.times) {
        const auto Q = plan.frequencies();
        shift_.resize(Q);
        origin_ = frame_.is_even ? times_.time_index_value(0) +
                                       static_cast<double>(frame_.first) * times_.deltat()
                                 : frame_.begin;
        for (std::size_t q = 0; q < Q; ++q) {
            shift_[q] = std::exp(plan.lines.s(static_cast<int>(q)) * origin_) *
                        ((q == 0 ? 1.0 : 2.0) / frame_.period);
        }
        if (frame_.is_even) {
            const auto n = static_cast<std::size_t>(frame_.length);
            require_memory(n, 2 * block_lanes * sizeof(double), "samples of a period");
            transform_ = std::make_unique<InverseTransform>(static_cast<int>(n), block_lanes);
            growth_.resize(n);
            for (std::size_t i = 0; i < n; ++i) {
                growth_[i] = std::exp(frame_.damping * (static_cast<double>(i) * times_.deltat()));
            }
        }
    }

    // Spectra, receivers x frequencies, and `out`, ntimes x receivers, zeros so far.
    void write(const std::vector<Complex>& spectra, double* out, Team::Member& member) {
        const std::size_t receivers = plan_.receivers();
        for (std::size_t m = 0; m < receivers; m += block_lanes) {
            const std::size_t count = std::min<std::size_t>(block_lanes, receivers - m);
            member.spend(static_cast<std::int64_t>(count * plan_.frequencies() * 16));
            if (frame_.is_even) {
                transform(spectra, m, count, out + m * ntimes());
            } else {
                for (std::size_t lane = m; lane < m + count; ++lane) {
                    evaluate(spectra, lane, out + lane * ntimes(), member);
                }
            }
        }
    }

private:
    std::size_t ntimes() const { return static_cast<std::size_t>(times_.ntimes); }

    bool is_inside(double t) const { return t >= frame_.begin && t <= frame_.end; }

    // Bins hold what sampling folds into them: half of those that have a counterpart, and the real
    // part of those that are their own.
    void transform(const std::vector<Complex>& spectra, std::size_t m, std::size_t count,
                   double* out) {
        const auto n = static_cast<std::size_t>(frame_.length);
        const std::size_t bins = n / 2 + 1;
        bins_.assign(2 * bins * block_lanes, 0.0);
        values_.resize(n * block_lanes);
        double* const re = bins_.data();
        double* const im = re + bins * block_lanes;
        for (std::size_t q = 0; q < shift_.size(); ++q) {
            const std::size_t folded = q % n;
            const bool is_mirrored = folded > n / 2;
            const std::size_t k = is_mirrored ? n - folded : folded;
            const bool is_own = k == 0 || 2 * k == n;
            const double part = is_own ? 1.0 : 0.5;
            const double imaginary_part = is_own ? 0.0 : is_mirrored ? -0.5 : 0.5;
            for (std::size_t lane = 0; lane < count; ++lane) {
                const Complex value = product(spectra[q * plan_.receivers() + m + lane], shift_[q]);
                re[k * block_lanes + lane] += part * value.real();
                im[k * block_lanes + lane] += imaginary_part * value.imag();
            }
        }
        (*transform_)(bins_.data(), values_.data());
        const std::int64_t last =
            std::min<std::int64_t>(times_.ntimes, frame_.first + frame_.length);
        for (std::int64_t t = frame_.first; t < last; ++t) {
            if (!is_inside(times_.time_index_value(static_cast<int>(t)))) {
                continue;
            }
            const auto at = static_cast<std::size_t>(t - frame_.first);
            for (std::size_t lane = 0; lane < count; ++lane) {
                out[lane * ntimes() + static_cast<std::size_t>(t)] =
                    growth_[at] * values_[at * block_lanes + lane];
            }
        }
    }

    // Instant by instant, by Horner's scheme in the phase from one frequency to the next.
    void evaluate(const std::vector<Complex>& spectra, std::size_t m, double* out,
                  Team::Member& member) const {
        for (std::size_t i = 0; i < ntimes(); ++i) {
            const double t = times_.time_index_value(static_cast<int>(i));
            if (!is_inside(t)) {
                continue;
            }
            member.spend(static_cast<std::int64_t>(shift_.size()));
            const Complex turn = std::polar(1.0, two_pi * ((t - origin_) / frame_.period));
            Complex sum = 0.0;
            for (std::size_t q = shift_.size(); q-- > 0;) {
                sum = product(sum, turn) + product(spectra[q * plan_.receivers() + m], shift_[q]);
            }
            out[i] = std::exp(frame_.damping * (t - origin_)) * sum.real();
        }
    }

    // Without the care for infinities that the operator takes.
    static Complex product(Complex a, Complex b) {
        return {a.real() * b.real() - a.imag() * b.imag(),
                a.real() * b.imag() + a.imag() * b.real()};
    }

    const echo::Plan& plan_;
    const echo::TimeFrame& frame_;
    const TimeSamples& times_;
    double origin_ = 0.0;
    std::vector<Complex> shift_;
    std::vector<double> growth_;
    std::shared_ptr<const InverseTransform> transform_;
    AlignedVector<double> bins_, values_;
};

// Shares of a whole call that its extents and its sums have been done at.
constexpr double extents_done = 0.02;
constexpr double sums_done = 0.98;

EchoExtent extent_of(const EchoScene& scene, std::span<const Scatterer> scatterers) {
    const console::ProgressPart part(0.0, extents_done);
    return echo_extent(scene, scatterers);
}

// The sum of all chunks.
std::vector<Complex> total_of(const EchoPlan& plan, std::span<const Scatterer> scatterers) {
    const console::ProgressPart whole(extents_done, sums_done);
    std::vector<Complex> total(plan.sum_size()), sum(total.size());
    const auto all = static_cast<double>(scatterers.size());
    for (std::size_t first = 0; first < scatterers.size(); first += echo_chunk) {
        const std::size_t count = std::min(echo_chunk, scatterers.size() - first);
        const console::ProgressPart part(static_cast<double>(first) / all,
                                         static_cast<double>(first + count) / all);
        plan.sum_chunk(scatterers.subspan(first, count), sum);
        for (std::size_t i = 0; i < total.size(); ++i) {
            total[i] += sum[i];
        }
    }
    return total;
}

void tell(const EchoPlan& plan, std::size_t scatterers, EchoReport* report) {
    if (report != nullptr) {
        *report = plan.report();
        report->scatterers = static_cast<std::int64_t>(scatterers);
    }
}

}  // namespace

void echo::Plan::write_event(std::span<const Complex> total, std::size_t event,
                             Complex* out) const {
    const std::size_t M = receivers();
    for (std::size_t q = 0; q < frequencies(); ++q, out += M) {
        const Complex* const rows = total.data() + q * wiring.rows() * M;
        if (!wiring.has_pairs) {
            std::copy(rows + event * M, rows + (event + 1) * M, out);
        } else {
            std::fill(out, out + M, 0.0);
            for (std::size_t c = 0; c < wiring.senders.size(); ++c) {
                const Complex w = wiring.weight(event, c, lines.s(static_cast<int>(q)));
                const Complex* const row = rows + c * M;
                for (std::size_t m = 0; w != 0.0 && m < M; ++m) {
                    out[m] += Complex(w.real() * row[m].real() - w.imag() * row[m].imag(),
                                      w.real() * row[m].imag() + w.imag() * row[m].real());
                }
            }
        }
        for (std::size_t m = 0; m < M; ++m) {
            out[m] = wiring.areas[m] > 0.0 ? out[m] * (factor[q] / wiring.areas[m]) : 0.0;
        }
    }
}

void EchoPlan::signals(std::span<const Complex> total, double* out) const {
    check_total(total.size(), sum_size());
    if (parts_->times == nullptr) {
        throw InputError("A plan at frequencies has no signals over time.");
    }
    const std::size_t size = receivers() * static_cast<std::size_t>(parts_->times->ntimes);
    std::fill(out, out + events() * size, 0.0);
    if (parts_->frequencies() == 0) {
        return;
    }
    const Synthesis synthesis(*parts_);
    work_in_tiles(static_cast<int>(events()), 1, [&](Team::Member& member) {
        return [&, own = synthesis,
                spectra = std::vector<Complex>(parts_->frequencies() * receivers())](int event,
                                                                                     int) mutable {
            const auto j = static_cast<std::size_t>(event);
            member.spend(static_cast<std::int64_t>(spectra.size()));
            parts_->write_event(total, j, spectra.data());
            own.write(spectra, out + j * size, member);
        };
    });
}

void EchoPlan::spectrum(std::span<const Complex> total, Complex* out) const {
    check_total(total.size(), sum_size());
    const std::size_t Q = parts_->frequencies();
    std::vector<Complex> spectra(Q * receivers());
    for (std::size_t j = 0; j < events(); ++j) {
        parts_->write_event(total, j, spectra.data());
        for (std::size_t q = 0; q < Q; ++q) {
            std::copy_n(spectra.data() + q * receivers(), receivers(),
                        out + receivers() * (j + events() * q));
        }
    }
}

std::vector<double> pulse_echo(const EchoScene& scene, const EchoSignal& signal,
                               std::span<const Scatterer> scatterers, EchoReport* report) {
    const EchoPlan plan(scene, signal, extent_of(scene, scatterers));
    tell(plan, scatterers.size(), report);
    const std::size_t size =
        static_cast<std::size_t>(signal.times.ntimes) * plan.receivers() * plan.events();
    require_memory(size, sizeof(double), "samples of echoes");
    std::vector<double> out(size);
    const std::vector<Complex> total = total_of(plan, scatterers);
    const console::ProgressPart part(sums_done, 1.0);
    plan.signals(total, out.data());
    return out;
}

std::vector<Complex> pulse_echo(const EchoScene& scene, std::span<const double> frequencies,
                                std::span<const Scatterer> scatterers, EchoReport* report) {
    const EchoPlan plan(scene, frequencies, extent_of(scene, scatterers));
    tell(plan, scatterers.size(), report);
    std::vector<Complex> out(frequencies.size() * plan.receivers() * plan.events());
    plan.spectrum(total_of(plan, scatterers), out.data());
    return out;
}

}  // namespace kavro
