// How the direct wave of each point of a block is subtracted.
#pragma once

#include <cstdint>
#include <vector>

#include "core/aligned_vector.h"
#include "core/time_samples.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/decomposition/active_sums.h"
#include "transducers/decomposition/factors.h"
#include "transducers/decomposition/windows.h"

namespace kavro {

// Fills what a WaveBlock knows of the direct wave; see there for the three ways. Asked for by its
// decomposition, it is the last edge sample. By value it goes through a decomposition, too, where
// that gives the same value: where there is one of the waveform's value, and
// the rounded times less the rounded axial delay are exact. One per thread; reused from block to
// block.
template <class Real, class Delay = Real>
class DirectWave {
public:
    DirectWave(const TimeSamples& times, const Spend& spend) : times_(times), spend_(spend) {}

    // Chooses the way of each lane; where the direct wave is an edge wave, it becomes the last edge
    // sample of block and windows. Sets the wave's samples and direct members.
    void prepare(const DecompositionFactors<Real, Delay>& factors, DirectWaveBy by,
                 EdgeBlock<Delay>& edge, WindowBlock& windows, WaveBlock<Real>& wave);

    // Fills the direct factors, once the wave's spatial factors are there.
    void fill_factors(const DecompositionFactors<Real, Delay>& factors,
                      const EdgeBlock<Delay>& edge, const WaveBlock<Real>& wave);

private:
    bool is_exact_difference(SampleWindow window, Delay zeta,
                             const DecompositionFactors<Real, Delay>& factors) const;
    SampleWindow inside_pulse(SampleWindow window, Delay zeta,
                              const DecompositionFactors<Real, Delay>& factors) const;
    void make_room_for_values(const WindowBlock& windows);
    void by_value(const DecompositionFactors<Real, Delay>& factors, const EdgeBlock<Delay>& edge,
                  std::int32_t first_row, std::size_t lane, SampleWindow window);
    void become_edge_sample(EdgeBlock<Delay>& edge, WindowBlock& windows) const;

    const TimeSamples& times_;
    const Spend& spend_;
    Lanes<std::int32_t> begin_{}, end_{};  // windows of the lanes that go through a decomposition
    AlignedVector<Real> spatial_;
    std::size_t stride_ = 0;  // of the values of a lane
    AlignedVector<double> values_;
    std::vector<double> instants_;
};

extern template class DirectWave<float>;
extern template class DirectWave<float, double>;
extern template class DirectWave<double>;

}  // namespace kavro
