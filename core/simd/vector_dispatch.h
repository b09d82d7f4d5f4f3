// Run-time choice among the compiled versions of a kernel. For kernel sources only, after
// hwy/foreach_target.h.
#pragma once

// The library brings its own choice of target, so it needs no more of Highway than its headers. A
// build for checks may leave out more targets, to compile faster; the next lesser one does instead.
#ifndef KAVRO_LEFT_OUT_TARGETS
#define KAVRO_LEFT_OUT_TARGETS 0
#endif
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL | (KAVRO_LEFT_OUT_TARGETS))

#include "core/simd/vector_target.h"

namespace kavro {

template <class Function>
struct KernelVersions {
    Function* scalar;
    Function* sse4;
    Function* avx2;
    Function* avx512;

    Function* chosen() const {
        const VectorTarget target = vector_target();
        if (target == VectorTarget::avx512 && avx512 != nullptr) {
            return avx512;
        }
        if (target >= VectorTarget::avx2 && avx2 != nullptr) {
            return avx2;
        }
        if (target >= VectorTarget::sse4 && sse4 != nullptr) {
            return sse4;
        }
        return scalar;
    }
};

}  // namespace kavro

// The version of `kernel` (a function in HWY_NAMESPACE of the enclosing namespace) to call.
#define KAVRO_KERNEL(kernel)                                                                \
    (::kavro::KernelVersions<std::remove_pointer_t<decltype(HWY_CHOOSE_FALLBACK(kernel))>>{ \
        HWY_CHOOSE_FALLBACK(kernel), HWY_CHOOSE_SSE4(kernel), HWY_CHOOSE_AVX2(kernel),      \
        HWY_CHOOSE_AVX3(kernel)}                                                            \
         .chosen())
