#include "transducers/decomposition/decomposition.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "core/counts.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/decomposition/room.h"
#include "transducers/decomposition/widened_edge.h"

namespace kavro {
namespace {

template <class Real, class Delay = Real>
class DecompositionShare : public Share {
public:
    explicit DecompositionShare(DecompositionElement<Real, Delay> element)
        : element_(std::move(element)) {}

    int tile_width() const override {
        return decomposition_tile_width(element_.element->time_samples->ntimes);
    }

    std::size_t bytes() const override {
        return static_cast<std::size_t>(element_.edge->size()) * bytes_of_sample;
    }

    void add(PointTile& tile) const override {
        tile.room<DecompositionRoom<Real, Delay>>(
                [&] { return std::make_shared<DecompositionRoom<Real, Delay>>(tile); })
            .add(element_, tile);
    }

private:
    const DecompositionElement<Real, Delay> element_;
};

class RoundedShare : public Share {
public:
    explicit RoundedShare(DecompositionElement<double> element)
        : element_(*element.element), inner_(std::move(element)) {}

    int tile_width() const override { return inner_.tile_width(); }
    std::size_t bytes() const override { return inner_.bytes(); }

    void add(PointTile& tile) const override {
        auto& apart = tile.room<PointTile>([&] {
            return std::make_shared<PointTile>(element_, tile.width(), tile.spend(), tile.tally());
        });
        apart.begin(tile.first_of(0), tile.count(), true);
        inner_.add(apart);
        const SampleWindow window = apart.loaded();
        if (window.begin >= window.end) {
            return;
        }
        tile.load_rows(window);
        const auto width = static_cast<std::size_t>(tile.width());
        for (int j = window.begin; j < window.end; ++j) {
            tile.spend_rows(j - window.begin);
            const std::size_t row = static_cast<std::size_t>(j) * width;
            for (std::size_t p = row; p < row + static_cast<std::size_t>(tile.count()); ++p) {
                tile.rows()[p] += static_cast<double>(static_cast<float>(apart.rows()[p]));
            }
        }
    }

private:
    const Transducer& element_;
    const DecompositionShare<double> inner_;
};

// Windows: rounded to the precision of the geometry, unless the shape says otherwise.
template <class Real>
WindowRule window_rule(const Transducer& element, const Departures& departures) {
    const TimeSamples& times = *element.time_samples;
    const double w = element.excitation->w;
    WindowRule rule = departures.windows_in_double
                          ? WindowRule::rounded_to<double>(times, element.time_delay, w)
                          : WindowRule::rounded_to<Real>(times, element.time_delay, w);
    rule.direct_begin_rounded_down = departures.direct_wave_begins_early;
    return rule;
}

DecompositionElement<double> in_double(const Transducer& element,
                                       std::unique_ptr<EdgeGenerator<double>> edge,
                                       Decomposition kind, const Departures& departures,
                                       SharedFactors<double>& factors) {
    return {&element, std::move(edge), factors.of(element, kind, departures.direct_argument),
            window_rule<double>(element, departures), departures.direct_wave};
}

}  // namespace

template <class Real, class Delay>
std::shared_ptr<const DecompositionFactors<Real, Delay>> SharedFactors<Real, Delay>::of(
    const Transducer& element, Decomposition kind, DirectArgument argument) {
    const ExcitationFunction& waveform = *element.excitation;
    const auto same = std::find_if(known_.begin(), known_.end(), [&](const auto& factors) {
        return factors->serves(waveform, kind, element.time_delay, argument);
    });
    if (same != known_.end()) {
        return *same;
    }
    known_.push_back(std::make_shared<DecompositionFactors<Real, Delay>>(
        waveform, kind, *element.time_samples, element.time_delay, argument));
    bytes_ += known_.back()->bytes();
    return known_.back();
}

bool is_decomposable(const Transducer& element) {
    const TimeSamples& times = *element.time_samples;
    const double latest = std::max(std::fabs(times.tmin() - element.time_delay),
                                   std::fabs(times.tmax() - element.time_delay));
    const double spread = element.face_extent() / std::fabs(element.medium->_soundspeed);
    return element.excitation->decomposition_holds(spread, latest);
}

int decomposition_tile_width(int ntimes) {
    constexpr std::size_t near_cache = std::size_t{1} << 19;
    const std::size_t fitting =
        near_cache / (sizeof(double) * static_cast<std::size_t>(ntimes + 1));
    return std::clamp(static_cast<int>(fitting) / block_lanes * block_lanes, block_lanes,
                      8 * block_lanes);
}

void require_room_for_a_tile(const TimeSamples& times) {
    const auto width = static_cast<std::size_t>(decomposition_tile_width(times.ntimes));
    if (!fits_into_memory(static_cast<std::size_t>(times.ntimes), width * sizeof(double))) {
        throw std::bad_alloc();
    }
}

std::unique_ptr<Share> decomposition_share(const Transducer& element,
                                           std::unique_ptr<EdgeGenerator<double>> edge,
                                           Decomposition kind, const Departures& departures,
                                           SharedFactors<double>& factors) {
    return std::make_unique<DecompositionShare<double>>(
        in_double(element, std::move(edge), kind, departures, factors));
}

std::unique_ptr<Share> rounded_decomposition_share(const Transducer& element,
                                                   std::unique_ptr<EdgeGenerator<double>> edge,
                                                   const Departures& departures,
                                                   SharedFactors<double>& factors) {
    return std::make_unique<RoundedShare>(
        in_double(element, std::move(edge), Decomposition::real, departures, factors));
}

std::unique_ptr<Share> single_decomposition_share(const Transducer& element,
                                                  std::unique_ptr<EdgeGenerator<float>> edge,
                                                  const Departures& departures,
                                                  SharedFactors<float>& factors,
                                                  SharedFactors<double>& wide_factors) {
    const WindowRule rule = window_rule<float>(element, departures);
    if (element.excitation->single_precision_suffices()) {
        return std::make_unique<DecompositionShare<float>>(DecompositionElement<float>{
            &element, std::move(edge),
            factors.of(element, Decomposition::real, departures.direct_argument), rule,
            departures.direct_wave});
    }
    return std::make_unique<DecompositionShare<double>>(DecompositionElement<double>{
        &element, std::make_unique<WidenedEdge>(std::move(edge)),
        wide_factors.of(element, Decomposition::real, departures.direct_argument), rule,
        departures.direct_wave});
}

std::unique_ptr<Share> exact_single_decomposition_share(const Transducer& element,
                                                        std::unique_ptr<EdgeGenerator<double>> edge,
                                                        const Departures& departures,
                                                        SharedFactors<float, double>& factors,
                                                        SharedFactors<double>& wide_factors) {
    if (!element.excitation->single_precision_suffices()) {
        return decomposition_share(element, std::move(edge), Decomposition::real, departures,
                                   wide_factors);
    }
    return std::make_unique<DecompositionShare<float, double>>(DecompositionElement<float, double>{
        &element, std::move(edge),
        factors.of(element, Decomposition::real, departures.direct_argument),
        window_rule<double>(element, departures), departures.direct_wave});
}

template class SharedFactors<float>;
template class SharedFactors<float, double>;
template class SharedFactors<double>;

}  // namespace kavro
