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
// Coefficients, windows and spatial factors come for all points of the block at once. From there on
// there are two ways to the same bits. Where the points hear the element at about the same samples,
// the block goes row by row: lanes are points. Where the waves reach neighbours at other samples,
// every point is on its own: its changes by terms, its sums by samples.
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
    SampleWindow rows;     // those of all lanes
    const Real* spatial;   // S_k of edge sample i and lane: (k * n + i) * block_lanes + lane
    const Real* temporal;  // T_k of sample j: k * ntimes + j, and vector_slack values behind
    std::size_t ntimes;
    double amplitude;

    // Direct factors, or null: coefficient sum times spatial factor k at k * block_lanes + lane,
    // temporal factor at k * ntimes + j, vector_slack values behind, and the window of each lane.
    const Real* direct_spatial;
    const Real* direct_temporal;
    int direct_terms;
    const std::int32_t* direct_begin;
    const std::int32_t* direct_end;
    // Values to be subtracted, or null: lane * direct_stride + j - the first sample of the lane's
    // first group.
    const double* direct_values;
    std::size_t direct_stride;

    double* output;      // sample 0 of lane 0; lanes lie side by side
    std::size_t stride;  // from one sample to the next
    const Spend* spend;  // told of each group of terms
};

// Samples that go to the output together; the first one's number is a multiple of this.
inline constexpr std::size_t samples_of_group = 8;

// A set of lanes, lane l as bit l.
using LaneSet = std::uint32_t;
inline constexpr LaneSet all_lanes = (LaneSet{1} << block_lanes) - 1;

// Scratch of add_wave_block, one per thread.
template <class Real>
struct ActiveSumsScratch {
    // Running sums are integers scaled by a power of two: exact, so that their order does not
    // matter and a sum without active samples is exactly zero, and finer than the method's
    // precision.
    using Integer = std::conditional_t<std::is_same_v<Real, float>, std::int32_t, std::int64_t>;

    bool by_rows;  // the way that the block goes
    // g_i S_k: four terms of all lanes from ((k / 4) n + i) block_lanes 4 on, by rows term by term,
    // else lane by lane.
    AlignedVector<Integer> scaled;
    AlignedVector<Real> unscale;  // of term k and lane: k * block_lanes + lane
    // Changes of some A_k at the samples, of all lanes or of one; zero between uses.
    AlignedVector<Integer> changes;
    // Rows, or `stride` values of each lane from the first sample of its first group on.
    AlignedVector<Real> series;
    std::size_t stride;
};

// Terms whose sums are kept running at a time, in registers.
inline constexpr int terms_at_a_time = 8;

// First step: chooses the way and scales the edge waves of the block (its coefficients, windows,
// spatial factors and terms are read). Returns the lanes with a value that is not finite, which
// need another way.
template <class Real>
LaneSet scale_edge_waves(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch);

// Second step: adds all waves of the block into its output.
template <class Real>
void add_wave_block(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch);

// What they are made of: kernels.
LaneSet scale_block(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch);
LaneSet scale_block(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch);
void add_by_rows(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch);
void add_by_rows(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch);
void add_by_points(const WaveBlock<float>& block, ActiveSumsScratch<float>& scratch);
void add_by_points(const WaveBlock<double>& block, ActiveSumsScratch<double>& scratch);

}  // namespace kavro
