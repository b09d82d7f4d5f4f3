// Transient pressure by the fast nearfield method with time-space decomposition: the consumer of
// edge blocks that `fnm_tsd` and its variants share.
#pragma once

#include <functional>
#include <memory>
#include <span>

#include "transducers/blocks/edge_block.h"
#include "transducers/decomposition/factors.h"
#include "transducers/decomposition/sample_window.h"
#include "transducers/output.h"
#include "transducers/transducer.h"

namespace kavro {

template <class Real>
struct DecompositionMethod {
    Decomposition kind;
    // The edge generator of an element whose records are set.
    std::function<std::unique_ptr<EdgeGenerator<Real>>(const Transducer&)> edge_of;
    // Rounds what the windows are made of: WindowRule::rounded_to<Real> unless the geometry's
    // precision is not that of the sums.
    WindowRule (*window_rule)(const TimeSamples&, double, double) = WindowRule::rounded_to<Real>;
    DirectArgument direct_argument = DirectArgument::axial_delay_first;
    DirectWaveBy direct_wave = DirectWaveBy::value;
    // What solves an element whose waveform must not be decomposed.
    TransducerStatus (Transducer::*direct)() = &Transducer::fnm_transient;
};

// Whether the waveform of an element, whose records are set, may be decomposed at all.
bool is_decomposable(const Transducer& element);

// Adds the pressure of all elements, in order, to every point. The elements share grid, time axis
// and output. Bit for bit the result of solving them one after another, for any number of threads.
// Returns status_failure where a record is missing, status_not_implemented where the method needs a
// complex decomposition and a waveform has none (no element is solved then).
template <class Real>
TransducerStatus solve_by_decomposition(std::span<Transducer* const> elements,
                                        const DecompositionMethod<Real>& method,
                                        Output output = Output::accumulate);

// The same with the geometry in single precision, and the sums in double where a waveform's factors
// need it; windows are the same in both cases.
TransducerStatus solve_in_single_precision(std::span<Transducer* const> elements,
                                           const DecompositionMethod<float>& method,
                                           Output output = Output::accumulate);

extern template TransducerStatus solve_by_decomposition<float>(std::span<Transducer* const>,
                                                               const DecompositionMethod<float>&,
                                                               Output);
extern template TransducerStatus solve_by_decomposition<double>(std::span<Transducer* const>,
                                                                const DecompositionMethod<double>&,
                                                                Output);

}  // namespace kavro
