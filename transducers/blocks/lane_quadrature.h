// Abscissas of each lane's own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/aligned_vector.h"
#include "transducers/quadrature_report.h"

namespace kavro {

// Points are treated in blocks of this many lanes, whatever the width of the vectors.
inline constexpr int block_lanes = 16;

template <class T>
struct alignas(64) Lanes : std::array<T, block_lanes> {};

// The rules that the lanes of a block take for one rim or piece of an edge.
struct RuleLanes {
    Lanes<std::int32_t> offset;  // into a ladder's tables
    Lanes<std::int32_t> count;
    Lanes<std::int32_t> start;  // the first of them in the block: a lane's samples lie side by side
};

struct LaneQuadrature {
    AlignedVector<RuleLanes> rules;  // of every rim or piece; none where all lanes share a rule
    // Where the tolerance is not reached: the estimated error, as a share of the element's field.
    Lanes<double> error;
    Lanes<Shortfall> shortfall;

    // Ready for so many rules.
    void begin(std::size_t count) {
        rules.resize(count);
        error.fill(0.0);
        shortfall.fill(Shortfall::none);
    }
};

template <class Real>
struct EdgeBlock;

// Lays the samples of each lane's chosen rules side by side, none in lanes that are not reached,
// and makes room for them and `more` of every lane.
template <class Real>
void lay_out_lanes(EdgeBlock<Real>& block, int more = 0);

// What stands behind a lane's own samples.
template <class Real>
void fill_up_lanes(EdgeBlock<Real>& block);

}  // namespace kavro
