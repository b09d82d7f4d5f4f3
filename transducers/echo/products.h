// Sums over scatterers of products of transfer functions.
#pragma once

#include <cstddef>

#include "core/aligned_vector.h"

namespace kavro::echo {

// Scatterers that are summed on their own before they join the sum.
inline constexpr std::size_t product_block = 64;

// Rows of panels (rows.h) over product_block scatterers at one frequency, four at a time: panel k
// of the real parts at re + k * product_block * panel_rows. The last one has rows of zeros.
struct Panels {
    const double* re;
    const double* im;
    std::size_t rows;
};

// Scratch of a thread.
struct ProductRoom {
    AlignedVector<double> senders, listeners;
};

// Sums of the products, entry (sender, listener) at sender * width + listener; width is that of
// padded_width(listeners).
struct Sums {
    double* re;
    double* im;
};
std::size_t padded_width(std::size_t listeners);

// Adds sum over scatterers of scale_s a_s b_s, for each row a of the senders and b of the
// listeners. A null scale is 1. Of the same panels, which make a symmetric sum, what lies below the
// diagonal is left undefined.
void add_products(const Panels& senders, const Panels& listeners, const double* scale,
                  bool is_symmetric, ProductRoom& room, const Sums& sums);

}  // namespace kavro::echo
