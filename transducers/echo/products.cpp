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
    const hn::CappedTag<double, panel_rows> d;
    const std::size_t panels = (senders.rows + panel_rows - 1) / panel_rows;
    for (std::size_t s = 0; s < panels * product_block; ++s) {
        const auto by = hn::Set(d, scale != nullptr ? scale[s % product_block] : 1.0);
        for (std::size_t row = 0; row < panel_rows; row += hn::Lanes(d)) {
            const auto x = hn::Mul(by, hn::Load(d, senders.re + s * panel_rows + row));
            const auto y = hn::Mul(by, hn::Load(d, senders.im + s * panel_rows + row));
            double* const to = out + s * parts * panel_rows + row;
            hn::Store(x, d, to);
            hn::Store(y, d, to + panel_rows);
            hn::Store(hn::Add(x, y), d, to + 2 * panel_rows);
        }
    }
}

// Listeners from `first` on, entry (scatterer, part, lane).
void PackListeners(const Panels& listeners, std::size_t first, double* out) {
    constexpr std::size_t step = std::min(width, panel_rows);
    const hn::CappedTag<double, step> d;
    const std::size_t present = (listeners.rows + panel_rows - 1) / panel_rows * panel_rows;
    for (std::size_t lane = 0; lane < width; lane += step) {
        const std::size_t row = first + lane;
        if (row >= present) {
            for (std::size_t s = 0; s < parts * product_block; ++s) {
                hn::Store(hn::Zero(d), d, out + s * width + lane);
            }
            continue;
        }
        const std::size_t at = row / panel_rows * product_block * panel_rows + row % panel_rows;
        for (std::size_t s = 0; s < product_block; ++s) {
            double* const to = out + s * parts * width + lane;
            const auto x = hn::Load(d, listeners.re + at + s * panel_rows);
            const auto y = hn::Load(d, listeners.im + at + s * panel_rows);
            hn::Store(x, d, to);
            hn::Store(y, d, to + width);
            hn::Store(hn::Add(x, y), d, to + 2 * width);
        }
    }
}

// Few senders, one panel of them at most: as they stand, some panels of listeners at a time.
template <std::size_t rows>
void AddFew(const Panels& senders, const Panels& listeners, const Sums& sums, std::size_t stride) {
    const hn::CappedTag<double, panel_rows> d;
    using Few = hn::Vec<decltype(d)>;
    constexpr std::size_t step = hn::MaxLanes(d);
    const std::size_t panels = (listeners.rows + panel_rows - 1) / panel_rows;
    for (std::size_t panel = 0; panel < panels; ++panel) {
        for (std::size_t lane = 0; lane < panel_rows; lane += step) {
            const double* re = listeners.re + panel * product_block * panel_rows + lane;
            const double* im = listeners.im + panel * product_block * panel_rows + lane;
            Few sum_re[rows][2], sum_im[rows][2];
            for (std::size_t r = 0; r < rows; ++r) {
                sum_re[r][0] = sum_re[r][1] = sum_im[r][0] = sum_im[r][1] = hn::Zero(d);
            }
            for (std::size_t s = 0; s < product_block * panel_rows; s += panel_rows) {
                const auto x = hn::Load(d, re + s);
                const auto y = hn::Load(d, im + s);
                for (std::size_t r = 0; r < rows; ++r) {
                    const auto a = hn::Set(d, senders.re[s + r]);
                    const auto b = hn::Set(d, senders.im[s + r]);
                    sum_re[r][0] = hn::Add(sum_re[r][0], hn::Mul(a, x));
                    sum_re[r][1] = hn::Add(sum_re[r][1], hn::Mul(b, y));
                    sum_im[r][0] = hn::Add(sum_im[r][0], hn::Mul(a, y));
                    sum_im[r][1] = hn::Add(sum_im[r][1], hn::Mul(b, x));
                }
            }
            for (std::size_t r = 0; r < rows; ++r) {
                double* const to_re = sums.re + r * stride + panel * panel_rows + lane;
                double* const to_im = sums.im + r * stride + panel * panel_rows + lane;
                hn::Store(hn::Add(hn::Load(d, to_re), hn::Sub(sum_re[r][0], sum_re[r][1])), d,
                          to_re);
                hn::Store(hn::Add(hn::Load(d, to_im), hn::Add(sum_im[r][0], sum_im[r][1])), d,
                          to_im);
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
    const std::size_t stride = padded_width(listeners.rows);
    if (!is_symmetric && senders.rows <= 2) {
        (senders.rows == 1 ? AddFew<1> : AddFew<2>)(senders, listeners, sums, stride);
        return;
    }
    const std::size_t panels = (senders.rows + panel_rows - 1) / panel_rows;
    room.senders.resize(panels * product_block * panel_rows * parts);
    room.listeners.resize(product_block * width * parts);
    PackSenders(senders, scale, room.senders.data());
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
