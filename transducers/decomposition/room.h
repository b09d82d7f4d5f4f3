// The decomposed waves of one element at a tile of points.
#pragma once

#include <memory>

#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/decomposition/active_sums.h"
#include "transducers/decomposition/direct_wave.h"
#include "transducers/decomposition/factors.h"
#include "transducers/decomposition/point_decomposition.h"
#include "transducers/decomposition/windows.h"
#include "transducers/transducer.h"

namespace kavro {

// One element, made ready for every tile; read by all threads. Real is the precision of the sums,
// Delay that of the geometry.
template <class Real, class Delay = Real>
struct DecompositionElement {
    const Transducer* element;  // its rotation matrix is set
    std::unique_ptr<EdgeGenerator<Delay>> edge;
    std::shared_ptr<const DecompositionFactors<Real, Delay>> factors;
    WindowRule rule;
    DirectWaveBy direct_wave;
};

// What a thread computes with.
template <class Real, class Delay = Real>
class DecompositionRoom {
public:
    explicit DecompositionRoom(const PointTile& tile);

    // Adds an element's waves to the rows of the tile.
    void add(const DecompositionElement<Real, Delay>& element, PointTile& tile);

private:
    void add_sampled_block(const DecompositionElement<Real, Delay>& element, PointTile& tile,
                           int block);
    LaneSet add_vectorised(const DecompositionElement<Real, Delay>& element, PointTile& tile,
                           int block);
    void fill_coefficients(WaveBlock<Real>& wave);
    void fill_spatial_factors(const DecompositionFactors<Real, Delay>& factors,
                              WaveBlock<Real>& wave);
    void add_point(const DecompositionElement<Real, Delay>& element, PointTile& tile, int block,
                   int lane);

    EdgeBlock<Delay> edge_;
    AlignedVector<Real> rounded_coefficient_;  // where the sums are less precise
    WindowBlock windows_;
    ActiveSumsScratch<Real> sums_;
    AlignedVector<Real> spatial_;
    DirectWave<Real, Delay> direct_wave_;
    PointDecomposition<Real, Delay> point_;
};

extern template class DecompositionRoom<float>;
extern template class DecompositionRoom<float, double>;
extern template class DecompositionRoom<double>;

}  // namespace kavro
