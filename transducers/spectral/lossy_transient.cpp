#include "transducers/spectral/lossy_transient.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "transducers/blocks/point_series.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/spectral/transfer_function.h"

namespace kavro {
namespace {

// What a thread computes with.
struct Room {
    EdgeBlock<double> block;
    CombSamples samples;
    Lanes<PulseStay> stays;
    Lanes<double> nearest, farthest;
    CombPoints points;
    AlignedVector<double> bins, values;
    PointSeries series;

    explicit Room(const PointTile& tile)
        : block(0, EdgeDetail::arrivals), series(tile.times().ntimes) {}
};

class LossyTransient : public Share {
public:
    LossyTransient(const Transducer& element, std::unique_ptr<EdgeGenerator<double>> edge,
                   std::shared_ptr<const SpectralPulse> pulse)
        : element_(element),
          edge_(std::move(edge)),
          pulse_(std::move(pulse)),
          times_(*element.time_samples) {}

    int tile_width() const override { return 4 * block_lanes; }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        Room& room = tile.room<Room>([&] { return std::make_shared<Room>(tile); });
        room.block.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            const int count = tile.present(b);
            tile.place(element_, b, room.block);
            find_stays(room, count);
            if (is_nowhere(room)) {
                continue;
            }
            collect_samples(room, tile, b);
            note_misses(room, tile, b);
            room.series.begin(count, tile.spend());
            for (std::int64_t steps = 0; (steps = next_steps(room, steps)) > 0;) {
                add_stays(room, steps, tile.spend());
            }
            room.series.add_to(tile, b, element_.amplitude);
        }
    }

private:
    void find_stays(Room& room, int count) const {
        const EdgeBlock<double>& block = room.block;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const ApertureDistances reach =
                element_.distances({block.x[lane], block.y[lane], block.z[lane]});
            room.nearest[lane] = reach.nearest;
            room.farthest[lane] = reach.farthest;
            room.stays[lane] = pulse_->stay(reach.nearest, reach.farthest, element_.time_delay);
            if (lane >= static_cast<std::size_t>(count)) {
                room.stays[lane].frequencies = 0;
            }
        }
    }

    static bool is_nowhere(const Room& room) {
        return std::all_of(room.stays.begin(), room.stays.end(),
                           [](const PulseStay& stay) { return stay.frequencies == 0; });
    }

    void collect_samples(Room& room, const PointTile& tile, int b) const {
        // Long before the edge waves the damping would let a direct wave grow out of bounds.
        constexpr double leeway = 0.1;
        const double speed = element_.medium->_soundspeed;
        Lanes<double> earliest;
        Lanes<std::int32_t> is_wanted;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const double nearest = room.nearest[lane], farthest = room.farthest[lane];
            room.points.middle[lane] = 0.5 * (nearest + farthest) / speed;
            earliest[lane] = nearest / speed - leeway * pulse_->period(room.stays[lane].steps);
            is_wanted[lane] = room.stays[lane].frequencies > 0 ? 1 : 0;
        }
        gather_samples(*edge_, tile, b, room.block, room.points.middle, earliest, is_wanted,
                       room.samples);
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            if (is_wanted[lane] == 0) {
                room.stays[lane].frequencies = 0;
            }
        }
    }

    // Terms that nearly cancel to the field of a small source far away leave more of their errors.
    void note_misses(const Room& room, const PointTile& tile, int b) const {
        if (tile.tally() == nullptr || room.block.quadrature.rules.empty()) {
            return;
        }
        const double k = two_pi * reference_frequency_of(*element_.excitation, *element_.medium) /
                         element_.medium->_soundspeed;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const PulseStay& stay = room.stays[lane];
            const double gain = two_pi * room.farthest[lane] / (k * element_.face_area());
            const double error = pulse_->missed(stay, room.nearest[lane], std::fmax(gain, 1.0));
            if (error > 0.0) {
                tile.tally()->note_miss(tile.first_of(b) + static_cast<int>(lane), error,
                                        Shortfall::band);
            }
        }
    }

    // The next larger number of steps that some point has.
    static std::int64_t next_steps(const Room& room, std::int64_t than) {
        std::int64_t next = 0;
        for (const PulseStay& stay : room.stays) {
            if (stay.frequencies > 0 && stay.steps > than) {
                next = next == 0 ? stay.steps : std::min(next, stay.steps);
            }
        }
        return next;
    }

    void add_stays(Room& room, std::int64_t steps, const Spend& spend) const {
        int most = 0;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const PulseStay& stay = room.stays[lane];
            const int wanted = stay.steps == steps ? stay.frequencies : 0;
            room.points.wanted[lane] = wanted;
            room.points.lag[lane] =
                wanted > 0 ? room.points.middle[lane] + element_.time_delay - stay.begin : 0.0;
            most = std::max(most, wanted);
        }
        const std::shared_ptr<const StayComb> comb = pulse_->comb(steps, most, spend);
        const int period = pulse_->is_even() ? static_cast<int>(steps) : 0;
        const auto bins = static_cast<std::size_t>(period > 0 ? period / 2 + 1 : most);
        room.bins.assign(2 * bins * block_lanes, 0.0);
        spend(std::int64_t{block_lanes} * room.samples.count * most / 4);
        add_spectrum(comb->comb, room.samples, room.points,
                     {period, room.bins.data(), room.bins.data() + bins * block_lanes});
        if (period > 0) {
            synthesize(room, *comb, steps);
        } else {
            evaluate(room, steps, spend);
        }
    }

    // Real values of each bin and its conjugate counterpart: half of those that have one, and the
    // real part of those that are their own.
    void synthesize(Room& room, const StayComb& comb, std::int64_t steps) const {
        const auto n = static_cast<std::size_t>(steps);
        const auto bins = n / 2 + 1;
        for (std::size_t at = 0; at < bins * block_lanes; ++at) {
            const std::size_t k = at / block_lanes;
            const bool is_own = k == 0 || 2 * k == n;
            room.bins[at] *= is_own ? 1.0 : 0.5;
            room.bins[bins * block_lanes + at] *= is_own ? 0.0 : 0.5;
        }
        room.values.resize(std::max(room.values.size(), n * block_lanes));
        (*comb.transform)(room.bins.data(), room.values.data());
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const PulseStay& stay = room.stays[lane];
            if (room.points.wanted[lane] == 0.0) {
                continue;
            }
            const double first = std::max(stay.first, 0.0);
            const double last = std::min(stay.first + static_cast<double>(steps),
                                         static_cast<double>(times_.ntimes));
            const SampleWindow window{static_cast<int>(first), static_cast<int>(last)};
            double* const series = room.series.touch(static_cast<int>(lane), window);
            auto at = static_cast<std::size_t>(first - stay.first);
            for (int j = window.begin; j < window.end; ++j, ++at) {
                series[j] += comb.growth[at] * room.values[at * block_lanes + lane];
            }
        }
    }

    // Instant by instant, by Horner's scheme in the phase from one frequency to the next.
    void evaluate(Room& room, std::int64_t steps, const Spend& spend) const {
        const double T = pulse_->period(steps);
        const double* const re_parts = room.bins.data();
        const double* const im_parts = re_parts + room.bins.size() / 2;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const auto wanted = static_cast<std::size_t>(room.points.wanted[lane]);
            if (wanted == 0) {
                continue;
            }
            double* const series = room.series.touch(static_cast<int>(lane), {0, times_.ntimes});
            for (int j = 0; j < times_.ntimes; ++j) {
                const double t = times_.time_index_value(j) - room.stays[lane].begin;
                if (!(t >= 0.0 && t < T)) {
                    continue;
                }
                spend(static_cast<std::int64_t>(wanted));
                const double angle = two_pi * (t / T);
                const double c = std::cos(angle), s = std::sin(angle);
                double re = 0.0, im = 0.0;
                for (std::size_t q = wanted; q-- > 0;) {
                    const std::size_t at = q * block_lanes + lane;
                    const double next = re * c - im * s + re_parts[at];
                    im = re * s + im * c + im_parts[at];
                    re = next;
                }
                series[j] += std::exp(pulse_->damping(steps) * t) * re;
            }
        }
    }

    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<double>> edge_;
    const std::shared_ptr<const SpectralPulse> pulse_;
    const TimeSamples& times_;
};

}  // namespace

bool is_faster_by_frequencies(const Transducer& element, double tolerance, SharedPulses& pulses) {
    // Where there are as many frequencies as terms, frequencies took a third of the time and less.
    constexpr int fewest_terms = 300;
    const ExcitationFunction& waveform = *element.excitation;
    return waveform.has_complex_decomposition() && waveform.n_terms >= fewest_terms &&
           pulses.of(element, tolerance)
                   ->frequencies(element.face_extent() / element.medium->_soundspeed) <=
               waveform.n_terms;
}

std::shared_ptr<const SpectralPulse> SharedPulses::of(const Transducer& element, double tolerance) {
    const auto found = std::find_if(pulses_.begin(), pulses_.end(), [&](const auto& pulse) {
        return pulse->is_of(*element.excitation, *element.medium, *element.time_samples, tolerance);
    });
    if (found != pulses_.end()) {
        return *found;
    }
    return pulses_.emplace_back(std::make_shared<const SpectralPulse>(
        *element.excitation, *element.medium, *element.time_samples, tolerance));
}

std::unique_ptr<Share> lossy_transient_share(const Transducer& element,
                                             std::unique_ptr<EdgeGenerator<double>> edge,
                                             std::shared_ptr<const SpectralPulse> pulse) {
    return std::make_unique<LossyTransient>(element, std::move(edge), std::move(pulse));
}

}  // namespace kavro
