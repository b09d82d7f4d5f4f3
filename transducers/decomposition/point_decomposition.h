// One point's decomposed waves by the scalar operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/interrupted.h"
#include "core/time_samples.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/decomposition/factors.h"
#include "transducers/decomposition/windows.h"

namespace kavro {

// What the vector kernels leave out: explicit lists of times, values that are not finite, very long
// windows. Slow and plain; the windows are the same.
template <class Real, class Delay = Real>
class PointDecomposition {
public:
    PointDecomposition(const TimeSamples& times, const Spend& spend)
        : times_(times), spend_(spend) {}

    // The series of a lane of the block: ntimes values, valid until the next call.
    const std::vector<Real>& series(const DecompositionFactors<Real, Delay>& factors,
                                    const WindowRule& rule, DirectWaveBy by,
                                    const EdgeBlock<Delay>& edge, int lane, double amplitude);

private:
    void spend(std::int64_t steps);
    SampleWindow window(const WindowRule& rule, double begin, double end,
                        bool begin_rounded_down) const;
    bool belongs(int j, Delay begin, Delay end) const;
    void add_wave(Real coefficient, Delay tau, SampleWindow samples, Delay begin, Delay end);
    void add_edge_waves(const WindowRule& rule, const EdgeBlock<Delay>& edge, std::size_t lane);
    void add_direct_wave(const WindowRule& rule, const EdgeBlock<Delay>& edge, std::size_t lane);
    void subtract_direct_wave(const WindowRule& rule, const EdgeBlock<Delay>& edge,
                              std::size_t lane);

    const TimeSamples& times_;
    const Spend& spend_;
    std::int64_t steps_ = 0;  // not yet told of
    const DecompositionFactors<Real, Delay>* factors_ = nullptr;
    std::vector<Real> spatial_;
    std::vector<Real> series_;
};

extern template class PointDecomposition<float>;
extern template class PointDecomposition<float, double>;
extern template class PointDecomposition<double>;

}  // namespace kavro
