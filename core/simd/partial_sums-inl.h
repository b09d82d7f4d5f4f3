// Complex sums in four partial sums, for kernel sources.
//
// Per-target include guard, as in every header that is compiled once for each instruction set.
#if defined(KAVRO_PARTIAL_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KAVRO_PARTIAL_SUMS_INL_H
#undef KAVRO_PARTIAL_SUMS_INL_H
#else
#define KAVRO_PARTIAL_SUMS_INL_H
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// add(i, re, im) adds term i to a sum; term i < count goes to sum i mod 4, and the four are added
// as (0 + 2) + (1 + 3). Each sum waits for its own last addition only.
template <class D, class Index, class Add, class V = hn::Vec<D>>
HWY_INLINE void SumInFours(D d, Index count, const Add& add, V& re, V& im) {
    auto re0 = hn::Zero(d), re1 = re0, re2 = re0, re3 = re0;
    auto im0 = re0, im1 = re0, im2 = re0, im3 = re0;
    for (Index i = 0; i < count; i += 4) {
        add(i, re0, im0);
        if (i + 1 < count) {
            add(i + 1, re1, im1);
        }
        if (i + 2 < count) {
            add(i + 2, re2, im2);
        }
        if (i + 3 < count) {
            add(i + 3, re3, im3);
        }
    }
    re = hn::Add(hn::Add(re0, re2), hn::Add(re1, re3));
    im = hn::Add(hn::Add(im0, im2), hn::Add(im1, im3));
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
