// A tile of neighbouring points and the decomposed waves that arrive there.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "transducers/blocks/edge_block.h"
#include "transducers/decomposition/active_sums.h"
#include "transducers/decomposition/direct_wave.h"
#include "transducers/decomposition/factors.h"
#include "transducers/decomposition/point_decomposition.h"
#include "transducers/decomposition/sample_window.h"
#include "transducers/transducer.h"

namespace kavro {

// One element, made ready for every tile; read by all threads.
template <class Real>
struct DecompositionElement {
    const Transducer* element;  // its rotation matrix is set
    std::unique_ptr<EdgeGenerator<Real>> edge;
    std::shared_ptr<const DecompositionFactors<Real>> factors;
    WindowRule rule;
    DirectWaveBy direct_wave;
};

// The series of a run of points with successive indices. A point knows nothing of the other points,
// so any division into tiles gives the same result. One per thread; reused from tile to tile.
template <class Real>
class DecompositionTile {
public:
    // Tiles of up to `width` points, a multiple of block_lanes.
    DecompositionTile(const CoordinateGrid& grid, const TimeSamples& times, int width, Spend spend);

    // Begins the tile of `count` points from `first` on. Its series start from the output's values,
    // or from zero where those are known to be.
    void begin(int first, int count, const double* output, bool output_is_zero);

    // Adds an element's waves.
    void add(const DecompositionElement<Real>& element);

    // Writes the samples that any wave touched.
    void write(double* output) const;

    // Points per tile that keep the series in a near cache.
    static int suitable_width(int ntimes);

private:
    void place(const Transducer& element, int block, EdgeBlock<Real>& edge) const;
    void add_block(const DecompositionElement<Real>& element, int block);
    void add_sampled_block(const DecompositionElement<Real>& element, int block);
    LaneSet add_vectorised(const DecompositionElement<Real>& element, int block);
    void fill_spatial_factors(const DecompositionFactors<Real>& factors, WaveBlock<Real>& wave);
    void add_point(const DecompositionElement<Real>& element, int point, int lane);
    void load_rows(SampleWindow rows);

    const CoordinateGrid& grid_;
    const TimeSamples& times_;
    int width_;
    Spend spend_;

    int first_ = 0;
    int count_ = 0;
    const double* output_ = nullptr;
    bool output_is_zero_ = false;
    std::vector<CartesianCoordinate> points_;  // of the tile, the last one repeated to fill a block
    SampleWindow rows_{0, 0};                  // samples that series_ holds
    AlignedVector<double> series_;             // sample j of the tile's point p at j * width + p

    std::unique_ptr<EdgeBlock<Real>> edge_;
    std::unique_ptr<WindowBlock> windows_;
    ActiveSumsScratch<Real> sums_;
    AlignedVector<Real> spatial_;
    DirectWave<Real> direct_wave_;
    PointDecomposition<Real> point_;
};

extern template class DecompositionTile<float>;
extern template class DecompositionTile<double>;

}  // namespace kavro
