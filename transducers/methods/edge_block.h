// What a shape tells a fast-nearfield method about a block of observation points.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/aligned_vector.h"

namespace kavro {

// Points are treated in blocks of this many lanes, whatever the width of the vectors.
inline constexpr int block_lanes = 16;

template <class T>
struct alignas(64) Lanes : std::array<T, block_lanes> {};

// Every fast-nearfield pressure has the form
//
//     p(t) = sum over i of g_i [ v(t - tau_i) - v(t - zeta) ],
//
// with i over samples of the aperture's edge, g_i a coefficient of the geometry (quadrature weight
// and rho c included, Pa s/m), tau_i the delay from the edge sample and zeta that of the direct
// wave (s). Arrays over edge samples hold entry (i, lane) at i * block_lanes + lane.
template <class Real>
struct EdgeBlock {
    // The points, in the element's own frame, in the precision of the method (m).
    Lanes<Real> x, y, z;

    int size;  // edge samples per point
    // One entry more than there are edge samples: a consumer may treat the direct wave as the last
    // one.
    AlignedVector<Real> coefficient;  // g_i
    AlignedVector<Real> delay;        // tau_i
    Lanes<Real> coefficient_sum;      // of all g_i, in the order of i
    Lanes<Real> direct_delay;         // zeta
    Lanes<Real> direct_begin;         // delay at which the direct wave's window begins
    Lanes<std::int32_t> reached;      // 0 for a point that receives nothing from the element

    explicit EdgeBlock(int edge_samples)
        : x{},
          y{},
          z{},
          size(edge_samples),
          coefficient((static_cast<std::size_t>(edge_samples) + 1) * block_lanes),
          delay(coefficient.size()),
          coefficient_sum{},
          direct_delay{},
          direct_begin{},
          reached{} {}
};

// A shape is one edge generator: from points in its own frame it fills the block. A method is a
// consumer of edge blocks. Generators are immutable and used from several threads at once.
template <class Real>
class EdgeGenerator {
public:
    virtual ~EdgeGenerator() = default;
    virtual int size() const = 0;  // edge samples per point
    virtual void sample(EdgeBlock<Real>& block) const = 0;
};

}  // namespace kavro
