// Transient pressure by the fast nearfield method with time-space decomposition: the consumer of
// edge blocks that `fnm_tsd` and its variants share.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "transducers/blocks/share.h"
#include "transducers/decomposition/factors.h"
#include "transducers/departures.h"
#include "transducers/transducer.h"

namespace kavro {

// Temporal factors of the elements that are solved together, shared where waveform, delay and kind
// agree.
template <class Real, class Delay = Real>
class SharedFactors {
public:
    std::shared_ptr<const DecompositionFactors<Real, Delay>> of(const Transducer& element,
                                                                Decomposition kind,
                                                                DirectArgument argument);

    // Memory that all of them take.
    std::size_t bytes() const { return bytes_; }

private:
    std::vector<std::shared_ptr<const DecompositionFactors<Real, Delay>>> known_;
    std::size_t bytes_ = 0;
};

extern template class SharedFactors<float>;
extern template class SharedFactors<float, double>;
extern template class SharedFactors<double>;

// Whether the waveform of an element, whose records are set, may be decomposed at all; if not, it
// is evaluated directly.
bool is_decomposable(const Transducer& element);

// Points per tile that keep the rows of so many samples in a near cache.
int decomposition_tile_width(int ntimes);

// Throws std::bad_alloc where not even one tile's rows fit into the memory: to be asked before the
// factors are made.
void require_room_for_a_tile(const TimeSamples& times);

// In double precision throughout, its windows by the shape's departures.
std::unique_ptr<Share> decomposition_share(const Transducer& element,
                                           std::unique_ptr<EdgeGenerator<double>> edge,
                                           Decomposition kind, const Departures& departures,
                                           SharedFactors<double>& factors);

// The geometry in single precision. Where the waveform's factors need it, the sums are in double;
// windows are the same in both cases.
std::unique_ptr<Share> single_decomposition_share(const Transducer& element,
                                                  std::unique_ptr<EdgeGenerator<float>> edge,
                                                  const Departures& departures,
                                                  SharedFactors<float>& factors,
                                                  SharedFactors<double>& wide_factors);

// The same of an exact element: geometry, windows and times in double, coefficients, factors and
// sums in single precision where they suffice.
std::unique_ptr<Share> exact_single_decomposition_share(const Transducer& element,
                                                        std::unique_ptr<EdgeGenerator<double>> edge,
                                                        const Departures& departures,
                                                        SharedFactors<float, double>& factors,
                                                        SharedFactors<double>& wide_factors);

// In double precision, each point's series rounded to single precision at the end.
std::unique_ptr<Share> rounded_decomposition_share(const Transducer& element,
                                                   std::unique_ptr<EdgeGenerator<double>> edge,
                                                   const Departures& departures,
                                                   SharedFactors<double>& factors);

}  // namespace kavro
