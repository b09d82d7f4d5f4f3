#include "transducers/echo/products.h"

#include <algorithm>

#include "core/simd/vector_dispatch.h"
#include "transducers/echo/rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/echo/products.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace echo {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, 8>;
using Vec = hn::Vec<Tag>;
constexpr std::size_t lanes = hn::MaxLanes(Tag());

// A product of complex numbers by three of real ones: with x = a.re b.re, y = a.im b.im and
// z = (a.re + a.im)(b.re + b.im) it is x - y + j (z - x - y). These three are summed.
constexpr std::size_t parts = 3;

// Lanes go over listeners; as many vectors of them as registers hold the sums of.
constexpr std::size_t vectors = HWY_TARGET <= HWY_AVX3 ? 2 : 1;
constexpr std::size_t width = vectors * lanes;

// Senders, entry (scatterer, part, row) of each panel.
void PackSenders(const Panels& senders, const double* scale, double* out) {
    const std::size_t panels = (senders.rows + panel_rows - 1) / panel_rows;
    const double* re = senders.re;
    const double* im = senders.im;
    for (std::size_t s = 0; s < panels * product_block; ++s, re += panel_rows, im += panel_rows) {
        const double by = scale != nullptr ? scale[s % product_block] : 1.0;
        for (std::size_t row = 0; row < panel_rows; ++row) {
            const double x = by * re[row];
            const double y = by * im[row];
            out[row] = x;
            out[panel_rows + row] = y;
            out[2 * panel_rows + row] = x + y;
        }
        out += parts * panel_rows;
    }
}

// Listeners from `first` on, entry (scatterer, part, lane).
void PackListeners(const Panels& listeners, std::size_t first, double* out) {
    constexpr std::size_t step = std::min(width, panel_rows);
    for (std::size_t lane = 0; lane < width; lane += step) {
        const std::size_t row = first + lane;
        const bool is_there = row < (listeners.rows + panel_rows - 1) / panel_rows * panel_rows;
        const std::size_t at = row / panel_rows * product_block * panel_rows + row % panel_rows;
        for (std::size_t s = 0; s < product_block; ++s) {
            double* const to = out + s * parts * width + lane;
            for (std::size_t i = 0; i < step; ++i) {
                const std::size_t from = at + s * panel_rows + i;
                const double x = is_there ? listeners.re[from] : 0.0;
                const double y = is_there ? listeners.im[from] : 0.0;
                to[i] = x;
                to[width + i] = y;
                to[2 * width + i] = x + y;
            }
        }
    }
}

// A panel's first `rows` with as many listeners as lanes.
template <std::size_t rows>
void AddTile(const double* a, const double* b, std::size_t stride, double* re, double* im) {
    const Tag d;
    Vec sum[rows][vectors][parts];
    for (std::size_t r = 0; r < rows; ++r) {
        for (std::size_t v = 0; v < vectors; ++v) {
            for (std::size_t p = 0; p < parts; ++p) {
                sum[r][v][p] = hn::Zero(d);
            }
        }
    }
    for (std::size_t s = 0; s < product_block; ++s) {
        for (std::size_t p = 0; p < parts; ++p) {
            for (std::size_t v = 0; v < vectors; ++v) {
                const auto listener = hn::Load(d, b + p * width + v * lanes);
                for (std::size_t r = 0; r < rows; ++r) {
                    const auto sender = hn::Set(d, a[p * panel_rows + r]);
                    sum[r][v][p] = hn::Add(sum[r][v][p], hn::Mul(sender, listener));
                }
            }
        }
        a += parts * panel_rows;
        b += parts * width;
    }
    for (std::size_t r = 0; r < rows; ++r) {
        for (std::size_t v = 0; v < vectors; ++v) {
            const std::size_t at = r * stride + v * lanes;
            const auto x = sum[r][v][0];
            const auto y = sum[r][v][1];
            const auto z = hn::Sub(hn::Sub(sum[r][v][2], x), y);
            hn::Store(hn::Add(hn::Load(d, re + at), hn::Sub(x, y)), d, re + at);
            hn::Store(hn::Add(hn::Load(d, im + at), z), d, im + at);
        }
    }
}

void AddProducts(const Panels& senders, const Panels& listeners, const double* scale,
                 bool is_symmetric, ProductRoom& room, const Sums& sums) {
    const std::size_t panels = (senders.rows + panel_rows - 1) / panel_rows;
    room.senders.resize(panels * product_block * panel_rows * parts);
    room.listeners.resize(product_block * width * parts);
    PackSenders(senders, scale, room.senders.data());
    const std::size_t stride = padded_width(listeners.rows);
    for (std::size_t first = 0; first < listeners.rows; first += width) {
        PackListeners(listeners, first, room.listeners.data());
        // Above the diagonal and about it.
        const std::size_t beyond =
            is_symmetric ? std::min(senders.rows, first + width) : senders.rows;
        for (std::size_t row = 0; row < beyond; row += panel_rows) {
            const double* a = room.senders.data() + row * product_block * parts;
            const double* b = room.listeners.data();
            double* re = sums.re + row * stride + first;
            double* im = sums.im + row * stride + first;
            switch (std::min(senders.rows - row, panel_rows)) {
                case 1:
                    AddTile<1>(a, b, stride, re, im);
                    break;
                case 2:
                    AddTile<2>(a, b, stride, re, im);
                    break;
                case 3:
                    AddTile<3>(a, b, stride, re, im);
                    break;
                default:
                    AddTile<4>(a, b, stride, re, im);
            }
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace echo
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::echo {

std::size_t padded_width(std::size_t listeners) {
    constexpr std::size_t widest = 16;
    return (listeners + widest - 1) / widest * widest;
}

void add_products(const Panels& senders, const Panels& listeners, const double* scale,
                  bool is_symmetric, ProductRoom& room, const Sums& sums) {
    KAVRO_KERNEL(AddProducts)(senders, listeners, scale, is_symmetric, room, sums);
}

}  // namespace kavro::echo
#endif  // HWY_ONCE
