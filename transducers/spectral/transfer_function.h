// Sums over edge samples at all frequencies of a comb.
#pragma once

#include <cstdint>

#include "core/aligned_vector.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/spectral/comb.h"

namespace kavro {

// Sample i of a point has the coefficient g_i and its delay from the middle one, tau_i - tau; entry
// (i, lane) at i * block_lanes + lane.
struct CombSamples {
    int count = 0;
    AlignedVector<double> coefficient, delay;
    AlignedVector<double> state;  // scratch
};

// Takes the samples of all passes of a generator at block b of the tile, in times, the direct wave
// of each pass behind its own. Lanes that `is_wanted` (not 0) leaves out, and then those that no
// pass reaches, have nothing; the latter are left out in turn. A direct wave that comes before
// `earliest` is none: beside the face its coefficient is 0 but for errors of quadrature, which the
// edge waves cancel only where they arrive with it.
void gather_samples(const EdgeGenerator<double>& edge, const PointTile& tile, int b,
                    EdgeBlock<double>& block, const Lanes<double>& middle,
                    const Lanes<double>& earliest, Lanes<std::int32_t>& is_wanted,
                    CombSamples& samples);

struct CombPoints {
    Lanes<double> middle{};  // tau
    Lanes<double> lag{};     // of the middle one from when time is counted
    Lanes<double> wanted{};  // frequencies, 0 for a lane without a point
};

// Where frequency q goes: into bin q, or with `period` > 0 to where a transform of that length has
// it, bins 0 ... period / 2, folded as sampling folds it.
struct CombBins {
    int period;
    double* re;  // entry (bin, lane) at bin * block_lanes + lane
    double* im;
};

// Adds, for every frequency below those wanted at a point,
//
//     P_q = factor_q e^(-s_q lag - mu_q tau) * sum over i of g_i e^(-(s_q + mu_q)(tau_i - tau))
//
// to the bins.
void add_spectrum(const Comb& comb, CombSamples& samples, const CombPoints& points,
                  const CombBins& bins);

}  // namespace kavro
