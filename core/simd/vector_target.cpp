#include "core/simd/vector_target.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace kavro {
namespace {

VectorTarget detected() {
#if defined(__GNUC__) && defined(__x86_64__)
    __builtin_cpu_init();
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512cd");
    const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    if (avx2) {
        return avx512 ? VectorTarget::avx512 : VectorTarget::avx2;
    }
    return __builtin_cpu_supports("sse4.2") ? VectorTarget::sse4 : VectorTarget::scalar;
#else
    return VectorTarget::scalar;
#endif
}

VectorTarget initial() {
    const char* wish = std::getenv("KAVRO_VECTORS");
    const auto named = wish != nullptr ? vector_target_named(wish) : std::nullopt;
    return std::min(named.value_or(best_vector_target()), best_vector_target());
}

std::atomic<VectorTarget>& current() {
    static std::atomic<VectorTarget> target(initial());
    return target;
}

}  // namespace

VectorTarget best_vector_target() {
    static const VectorTarget best = detected();
    return best;
}

VectorTarget vector_target() {
    return current().load(std::memory_order_relaxed);
}

void set_vector_target(std::optional<VectorTarget> target) {
    current() = target ? std::min(*target, best_vector_target()) : initial();
}

std::optional<VectorTarget> vector_target_named(std::string_view name) {
    if (name == "scalar") {
        return VectorTarget::scalar;
    }
    if (name == "sse4") {
        return VectorTarget::sse4;
    }
    if (name == "avx2") {
        return VectorTarget::avx2;
    }
    if (name == "avx512") {
        return VectorTarget::avx512;
    }
    return std::nullopt;
}

}  // namespace kavro
