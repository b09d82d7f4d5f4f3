// The sums over the edge samples that are active at each time sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/aligned_vector.h"
#include "core/interrupted.h"
#include "transducers/decomposition/windows.h"

namespace kavro {

// One element's waves at one block of points, and where they go. With K terms, n edge samples:
//
//     p(j) = amplitude * ( sum over k of A_k(j) T_k(j)  -  direct wave(j) ),
//     A_k(j) = sum over the edge samples active at sample j of g_i S_k(tau_i).
//
// The sums A_k change only where a window begins or ends, so they are kept running instead of being
// formed anew at every sample: n K + W K operations instead of n W K for windows of W samples.
//
// The direct wave is subtracted in one of three ways, per lane. First, as a last edge sample of
// coefficient -(coefficient sum), where its waveform has the same spatial factors: the two waves
// nearly cancel far from a small element, and so they do so exactly. Its temporal factors differ a
// little, by the rounding of the sample times; that difference goes with the direct factors below.
// Second, through a decomposition of its own (direct factors). Third, by value.
template <class Real>
struct WaveBlock {
    int terms;                // K
    int samples;              // n, the direct wave included where it is the last edge sample
    const Real* coefficient;  // g_i of edge sample i and lane: i * block_lanes + lane
    const WindowBlock* windows;
    const Real* spatial;   // S_k of edge sample i and lane: (k * n + i) * block_lanes + lane
    const Real* temporal;  // T_k of sample j: j * K + k
    double amplitude;

    // Direct factors, or null: coefficient sum times spatial factor k at k * block_lanes + lane,
    // temporal factor at j * direct_terms + k, and the window of each lane.
    const Real* direct_spatial;
    const Real* direct_temporal;
    int direct_terms;
    const std::int32_t* direct_begin;
    const std::int32_t* direct_end;
    // Values to be subtracted, or null: (j - windows->rows.begin) * block_lanes + lane.
    const double* direct_values;

    double* output;      // sample 0 of lane 0
    std::size_t stride;  // from one sample to the next
    const Spend* spend;  // told of each group of terms
};

// Samples that the sums are swept at a time at the least: enough to pay for the start of a sweep,
// few enough that the changes ahead stay in the nearest cache.
inline constexpr std::int32_t sweep_chunk = 32;

// Terms whose sums are kept running at a time, in registers.
inline constexpr int most_terms_at_a_time = 8;

// Scratch of add_wave_block, one per thread.
template <class Real>
struct ActiveSumsScratch {
    // Running sums are integers scaled by a power of two: exact, so that their order does not
    // matter and a sum without active samples is exactly zero, and finer than the method's
    // precision.
    using Integer = std::conditional_t<std::is_same_v<Real, float>, std::int32_t, std::int64_t>;

    AlignedVector<Integer> scaled;   // g_i S_k
    AlignedVector<Real> unscale;     // of term k
    AlignedVector<Integer> sums;     // A_k
    AlignedVector<Integer> changes;  // of A_k at the samples ahead, a ring of rows
    AlignedVector<Real> partial;     // series values of the terms so far, (sample, lane)
    std::int32_t ring_rows = 0;      // a power of two
    // Edge samples by the first sample at which a window of theirs begins (ends).
    AlignedVector<std::int32_t> begin_order, end_order;
};

// A set of lanes, lane l as bit l.
using LaneSet = std::uint32_t;
inline constexpr LaneSet all_lanes = (LaneSet{1} << block_lanes) - 1;

// First step: scales the edge waves of the block (its coefficients, windows, spatial factors and
// terms are read). Returns the lanes that need another way, and that the second step leaves out:
// those with a value that is not finite, or all where the windows spread over more samples than the
// scratch may hold; the second step must not follow then.
LaneSet scale_edge_waves(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch);
LaneSet scale_edge_waves(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch);

// Second step: adds all waves of the block into its output.
void add_wave_block(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch);
void add_wave_block(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch);

}  // namespace kavro
