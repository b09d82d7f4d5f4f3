// How values of a series reach the output, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_SERIES_OUTPUT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_SERIES_OUTPUT_INL_H
#undef KAVRO_SERIES_OUTPUT_INL_H
#else
#define KAVRO_SERIES_OUTPUT_INL_H
#endif

#include <type_traits>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Values of the method's precision, Real, in double, D.
template <class Real, class D>
struct SeriesOutput {
    using V = hn::Vec<D>;

    static HWY_INLINE V Wide(const Real* values) {
        if constexpr (std::is_same_v<Real, float>) {
            return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<float, D>(), values));
        } else {
            return hn::LoadU(D(), values);
        }
    }

    static HWY_INLINE V Rounded(V value) {
        if constexpr (std::is_same_v<Real, float>) {
            return hn::PromoteTo(D(), hn::DemoteTo(hn::Rebind<float, D>(), value));
        } else {
            return value;
        }
    }

    // Adds amplitude times value, rounded as in the method's precision.
    static HWY_INLINE void Add(V value, V amplitude, double* output) {
        const auto p = Rounded(hn::Mul(value, amplitude));
        hn::StoreU(hn::Add(hn::LoadU(D(), output), p), D(), output);
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif
