#include "transducers/echo/rows.h"

#include <algorithm>

#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/echo/rows.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace echo {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, block_lanes>;
using Vec = hn::Vec<Tag>;

struct ComplexVec {
    Vec re, im;
};

HWY_INLINE ComplexVec Product(ComplexVec a, ComplexVec b) {
    return {hn::Sub(hn::Mul(a.re, b.re), hn::Mul(a.im, b.im)),
            hn::Add(hn::Mul(a.re, b.im), hn::Mul(a.im, b.re))};
}

HWY_INLINE ComplexVec Number(std::complex<double> a) {
    return {hn::Set(Tag(), a.real()), hn::Set(Tag(), a.imag())};
}

// e^-(a x).
HWY_INLINE ComplexVec Wave(std::complex<double> a, Vec x) {
    const Tag d;
    const auto magnitude = kavro::HWY_NAMESPACE::Exp(d, hn::Mul(hn::Set(d, -a.real()), x));
    Vec s;
    Vec c;
    kavro::HWY_NAMESPACE::SinCos(d, hn::Mul(hn::Set(d, -a.imag()), x), s, c);
    return {hn::Mul(magnitude, c), hn::Mul(magnitude, s)};
}

// 1 - x (1 - x/2 (1 - x/3)), e^-x to the third order.
HWY_INLINE ComplexVec Bend(std::complex<double> rest, Vec tau) {
    const Tag d;
    const auto one = hn::Set(d, 1.0);
    const ComplexVec x = {hn::Mul(hn::Set(d, rest.real()), tau),
                          hn::Mul(hn::Set(d, rest.imag()), tau)};
    ComplexVec sum = {one, hn::Zero(d)};
    for (const double part : {1.0 / 3.0, 1.0 / 2.0, 1.0}) {
        const ComplexVec next = Product(x, sum);
        sum = {hn::Sub(one, hn::Mul(next.re, hn::Set(d, part))),
               hn::Neg(hn::Mul(next.im, hn::Set(d, part)))};
    }
    return sum;
}

// Between the nodes, of a vector of lanes.
template <int taps, bool has_real_weights>
HWY_INLINE ComplexVec Interpolated(const NodeValues& nodes, int q, std::size_t lane) {
    const Tag d;
    const std::complex<double>* weights = nodes.layout.weights(q);
    const std::size_t begin =
        static_cast<std::size_t>(nodes.layout.first_node(q)) * block_lanes + lane;
    const double* re = nodes.re + begin;
    const double* im = nodes.im + begin;
    ComplexVec sum = {hn::Zero(d), hn::Zero(d)};
    for (int k = 0; k < taps; ++k) {
        const ComplexVec node = {hn::Load(d, re), hn::Load(d, im)};
        ComplexVec part;
        if constexpr (has_real_weights) {
            const auto weight = hn::Set(d, weights[k].real());
            part = {hn::Mul(weight, node.re), hn::Mul(weight, node.im)};
        } else {
            part = Product(Number(weights[k]), node);
        }
        sum = {hn::Add(sum.re, part.re), hn::Add(sum.im, part.im)};
        re += block_lanes;
        im += block_lanes;
    }
    return sum;
}

HWY_INLINE void Add(ComplexVec value, const Row& row, std::size_t at) {
    const Tag d;
    hn::Store(hn::Add(hn::Load(d, row.re + at), value.re), d, row.re + at);
    hn::Store(hn::Add(hn::Load(d, row.im + at), value.im), d, row.im + at);
}

template <int taps, bool has_real_weights>
void AddTransferBy(const Lines& lines, const NodeValues& nodes, int first, int last,
                   const std::complex<double>* factors, const Row& row) {
    const Tag d;
    constexpr int chains = 4;
    const Lines::Slab& slab = lines.slab_of(first);
    for (std::size_t lane = 0; lane < block_lanes; lane += hn::Lanes(d)) {
        const auto tau = hn::Load(d, nodes.middle + lane);
        // Several frequencies go side by side, each chain by its own steps.
        ComplexVec wave[chains];
        ComplexVec ratio = Number(1.0);
        if (!slab.exact) {
            const ComplexVec one = Wave(slab.rate, tau);
            wave[0] = Wave(lines.s(first) + lines.mu(first), tau);
            for (int f = 1; f < chains; ++f) {
                wave[f] = Product(wave[f - 1], one);
            }
            ratio = Product(one, one);
            ratio = Product(ratio, ratio);
        }
        for (int begin = first; begin < last; begin += chains) {
            for (int f = 0; f < chains; ++f) {
                const int q = begin + f;
                if (q >= last) {
                    break;
                }
                ComplexVec factor = wave[f];
                if (slab.exact) {
                    factor = Wave(lines.s(q) + lines.mu(q), tau);
                } else if (slab.bent) {
                    factor = Product(factor, Bend(lines.rest(q), tau));
                }
                ComplexVec value =
                    Product(factor, Interpolated<taps, has_real_weights>(nodes, q, lane));
                if (factors != nullptr) {
                    value = Product(Number(factors[q - first]), value);
                }
                Add(value, row, static_cast<std::size_t>(q - first) * block_lanes + lane);
                wave[f] = Product(wave[f], ratio);
            }
        }
    }
}

template <int taps>
void AddTransferOf(const Lines& lines, const NodeValues& nodes, int first, int last,
                   const std::complex<double>* factors, const Row& row) {
    if (nodes.layout.has_real_weights()) {
        AddTransferBy<taps, true>(lines, nodes, first, last, factors, row);
    } else {
        AddTransferBy<taps, false>(lines, nodes, first, last, factors, row);
    }
}

void AddTransfer(const Lines& lines, const NodeValues& nodes, int first, int last,
                 const std::complex<double>* factors, const Row& row) {
    switch (nodes.layout.taps()) {
        case 1:
            return AddTransferOf<1>(lines, nodes, first, last, factors, row);
        case 4:
            return AddTransferOf<4>(lines, nodes, first, last, factors, row);
        case 6:
            return AddTransferOf<6>(lines, nodes, first, last, factors, row);
        case 8:
            return AddTransferOf<8>(lines, nodes, first, last, factors, row);
        case 10:
            return AddTransferOf<10>(lines, nodes, first, last, factors, row);
        default:
            return AddTransferOf<NodeLayout::most_taps>(lines, nodes, first, last, factors, row);
    }
}

void AddWeighted(const Row& row, int count, const std::complex<double>* factors, const Row& out) {
    const Tag d;
    for (int q = 0; q < count; ++q) {
        const ComplexVec factor = Number(factors[q]);
        for (std::size_t lane = 0; lane < block_lanes; lane += hn::Lanes(d)) {
            const std::size_t at = static_cast<std::size_t>(q) * block_lanes + lane;
            const ComplexVec value = {hn::Load(d, row.re + at), hn::Load(d, row.im + at)};
            Add(Product(factor, value), out, at);
        }
    }
}

void StorePanels(const double* const rows[panel_rows], int count, const double* scale,
                 double* panel, std::size_t stride) {
    const Tag d;
    for (int q = 0; q < count; ++q, panel += stride) {
        for (std::size_t lane = 0; lane < block_lanes; lane += hn::Lanes(d)) {
            const std::size_t at = static_cast<std::size_t>(q) * block_lanes + lane;
            const auto by = scale != nullptr ? hn::Load(d, scale + lane) : hn::Set(d, 1.0);
            const auto row = [&](std::size_t r)
                                 HWY_ATTR { return hn::Mul(by, hn::Load(d, rows[r] + at)); };
            hn::StoreInterleaved4(row(0), row(1), row(2), row(3), d, panel + lane * panel_rows);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace echo
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::echo {

void add_transfer(const Lines& lines, const NodeValues& nodes, int first, int last,
                  const std::complex<double>* factors, const Row& row) {
    KAVRO_KERNEL(AddTransfer)(lines, nodes, first, last, factors, row);
}

void add_weighted(const Row& row, int count, const std::complex<double>* factors, const Row& out) {
    KAVRO_KERNEL(AddWeighted)(row, count, factors, out);
}

void store_panels(const double* const rows[panel_rows], int count, const double* scale,
                  double* panel, std::size_t stride) {
    KAVRO_KERNEL(StorePanels)(rows, count, scale, panel, stride);
}

}  // namespace kavro::echo
#endif  // HWY_ONCE
