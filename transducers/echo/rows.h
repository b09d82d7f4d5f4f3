// From transfer functions at nodes to those at all frequencies, and into panels.
#pragma once

#include <complex>
#include <cstddef>

#include "transducers/blocks/edge_block.h"
#include "transducers/echo/lines.h"

namespace kavro::echo {

// Entry (q, lane) of a row at (q - first) * block_lanes + lane.
struct Row {
    double* re;
    double* im;
};

// Of an element at a block of scatterers, see node_sums.h.
struct NodeValues {
    const NodeLayout& layout;
    const double* re;
    const double* im;
    const double* middle;
};

// Adds the transfer function at first <= q < last, all of one slab, to the row; times factors of
// first and on, if there are any.
void add_transfer(const Lines& lines, const NodeValues& nodes, int first, int last,
                  const std::complex<double>* factors, const Row& row);

// Adds the row, times factors of each frequency, to another.
void add_weighted(const Row& row, int count, const std::complex<double>* factors, const Row& out);

// Panels hold four rows side by side for the products, entry (scatterer, row) at scatterer * 4 +
// row, and that for each frequency.
inline constexpr std::size_t panel_rows = 4;

// Four rows, each times `scale` of its lane (null: 1), to panels a stride apart, the first of them
// beginning with the block's first scatterer.
void store_panels(const double* const rows[panel_rows], int count, const double* scale,
                  double* panel, std::size_t stride);

}  // namespace kavro::echo
