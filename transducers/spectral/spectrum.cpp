#include "transducers/spectral/spectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "transducers/array.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/spectral/transfer_function.h"

namespace kavro {
namespace {

struct Room {
    EdgeBlock<double> block{0, EdgeDetail::arrivals};
    CombSamples samples;
    CombPoints points;
    AlignedVector<double> re, im;
};

class Spectrum : public Share {
public:
    Spectrum(const Transducer& element, std::unique_ptr<EdgeGenerator<double>> edge,
             const Band& band, double default_reference, double tolerance)
        : element_(element),
          edge_(std::move(edge)),
          first_layer_(band.layer),
          frequencies_(band.frequencies.size()),
          tolerance_(tolerance) {
        const PowerLaw law(*element.medium, default_reference);
        const std::span<const double> frequencies = band.frequencies;
        if (band.is_even && frequencies.size() > 1) {
            const double step =
                (frequencies.back() - frequencies[0]) / static_cast<double>(frequencies.size() - 1);
            append(law, frequencies[0], step, static_cast<int>(frequencies.size()));
        } else {
            for (const double frequency : frequencies) {
                append(law, frequency, 0.0, 1);
            }
        }
    }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(edge_->size()) * bytes_of_sample +
               frequencies_ * 3 * sizeof(std::complex<double>);
    }

    void add(PointTile& tile) const override {
        Room& room = tile.room<Room>([] { return std::make_shared<Room>(); });
        room.block.resize(edge_->size());
        for (int b = 0; b < tile.blocks(); ++b) {
            tile.place(element_, b, room.block);
            place(room, tile, b);
            std::size_t layer = first_layer_;
            for (const Part& part : parts_) {
                tile.spend()(std::int64_t{block_lanes} * room.samples.count * part.count / 4);
                add_part(room, part, tile, b, layer);
                layer += static_cast<std::size_t>(part.count);
            }
        }
    }

private:
    struct Part {
        Comb comb;
        int count;
    };

    void append(const PowerLaw& law, double frequency, double step, int count) {
        const double speed = element_.medium->_soundspeed;
        const double spread = 0.5 * element_.face_extent() / speed;
        Comb comb(law, speed, {0.0, two_pi * frequency}, two_pi * step, count, spread, tolerance_);
        for (int q = 0; q < comb.size(); ++q) {
            const auto k = static_cast<std::size_t>(q);
            const std::complex<double> s = comb.s(q);
            comb.factor[k] = s == 0.0 ? 0.0 : element_.complex_weight * (s / (s + comb.mu[k]));
        }
        parts_.push_back({std::move(comb), count});
    }

    void place(Room& room, const PointTile& tile, int b) const {
        const EdgeBlock<double>& block = room.block;
        const double speed = element_.medium->_soundspeed;
        Lanes<double> earliest;
        earliest.fill(-std::numeric_limits<double>::infinity());
        Lanes<std::int32_t> is_wanted{};
        for (std::size_t lane = 0; lane < static_cast<std::size_t>(tile.present(b)); ++lane) {
            const ApertureDistances reach =
                element_.distances({block.x[lane], block.y[lane], block.z[lane]});
            const double middle = 0.5 * (reach.nearest + reach.farthest) / speed;
            is_wanted[lane] = std::isfinite(middle) ? 1 : 0;
            room.points.middle[lane] = is_wanted[lane] != 0 ? middle : 0.0;
        }
        gather_samples(*edge_, tile, b, room.block, room.points.middle, earliest, is_wanted,
                       room.samples);
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            room.points.lag[lane] =
                is_wanted[lane] != 0 ? room.points.middle[lane] + element_.time_delay : 0.0;
            room.points.wanted[lane] = is_wanted[lane];
        }
    }

    void add_part(Room& room, const Part& part, PointTile& tile, int b, std::size_t layer) const {
        const auto n = static_cast<std::size_t>(part.count);
        for (double& wanted : room.points.wanted) {
            wanted = wanted > 0.0 ? part.count : 0;
        }
        room.re.assign(n * block_lanes, 0.0);
        room.im.assign(n * block_lanes, 0.0);
        add_spectrum(part.comb, room.samples, room.points, {0, room.re.data(), room.im.data()});
        for (std::size_t f = 0; f < n; ++f) {
            for (int lane = 0; lane < tile.present(b); ++lane) {
                const std::size_t at = f * block_lanes + static_cast<std::size_t>(lane);
                if (room.points.wanted[static_cast<std::size_t>(lane)] > 0.0) {
                    tile.add(b, lane, {room.re[at], room.im[at]}, layer + f);
                }
            }
        }
    }

    const Transducer& element_;
    const std::unique_ptr<EdgeGenerator<double>> edge_;
    const std::size_t first_layer_;
    const std::size_t frequencies_;
    const double tolerance_;
    std::vector<Part> parts_;
};

}  // namespace

bool are_equally_spaced(std::span<const double> frequencies) {
    const std::size_t n = frequencies.size();
    if (n < 2) {
        return false;
    }
    const double step = (frequencies[n - 1] - frequencies[0]) / static_cast<double>(n - 1);
    for (std::size_t f = 0; f < n; ++f) {
        const double expected = frequencies[0] + static_cast<double>(f) * step;
        if (!(std::fabs(frequencies[f] - expected) <= 1e-14 * frequencies[n - 1])) {
            return false;
        }
    }
    return step > 0.0;
}

std::vector<Band> bands_of(std::span<const double> frequencies) {
    constexpr std::size_t fewest = 64;  // for fewer, other abscissas would not pay
    constexpr std::size_t most = 4096;
    const bool is_even = are_equally_spaced(frequencies);
    std::vector<Band> bands;
    for (std::size_t end = frequencies.size(); end > 0;) {
        std::size_t begin = end > most ? end - most : 0;
        if (is_even && end > fewest) {
            const auto octave = std::lower_bound(frequencies.begin(), frequencies.begin() + end,
                                                 0.5 * frequencies[end - 1]);
            begin = std::max(begin, static_cast<std::size_t>(octave - frequencies.begin()));
        }
        bands.push_back({frequencies.subspan(begin, end - begin), begin, is_even});
        end = begin;
    }
    return bands;
}

std::unique_ptr<Share> spectrum_share(const Transducer& element,
                                      std::unique_ptr<EdgeGenerator<double>> edge, const Band& band,
                                      double default_reference, double tolerance) {
    return std::make_unique<Spectrum>(element, std::move(edge), band, default_reference, tolerance);
}

}  // namespace kavro
