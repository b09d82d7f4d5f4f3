// The solution methods, and sets of them.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace kavro {

// Those of continuous waves come first, up to rayleigh_cw_sse.
enum class Method {
    farfield_cw,
    fnm_cw,
    fnm_cw_apodized,
    fnm_cw_single,
    fnm_cw_sse,
    fnm_cw_sse2,
    radiator_cw,
    rayleigh_cw,
    rayleigh_cw_apodized,
    rayleigh_cw_sse,
    impulse_begin_and_end_times,
    impulse_response,
    fnm_transient,
    fnm_transient_behind_source,
    fnm_spectral,
    fnm_fdtsd,
    fnm_tsd,
    fnm_tsd_behind_source,
    fnm_tsd_low_precision,
    fnm_tsd_sse,
    rayleigh_transient,
    kzk_transient,
    kzk_cw,
    farfield_cw_lossless,
};

constexpr bool is_continuous_wave(Method method) {
    return method <= Method::rayleigh_cw_sse || method == Method::farfield_cw_lossless;
}

// Whether it computes in single precision, at least its sums.
constexpr bool is_single(Method method) {
    return method == Method::fnm_cw_single || method == Method::fnm_cw_sse ||
           method == Method::fnm_cw_sse2 || method == Method::fnm_tsd_sse ||
           method == Method::fnm_tsd_low_precision;
}

// Whether a tolerance may stand for the rule, see Transducer::set_tolerance.
constexpr bool takes_tolerance(Method method) {
    switch (method) {
        case Method::fnm_cw:
        case Method::fnm_transient:
        case Method::fnm_transient_behind_source:
        case Method::fnm_spectral:
        case Method::fnm_fdtsd:
        case Method::fnm_tsd:
        case Method::fnm_tsd_behind_source:
            return true;
        default:
            return is_single(method);
    }
}

// The methods that a shape offers.
class MethodSet {
public:
    constexpr MethodSet() = default;
    constexpr MethodSet(std::initializer_list<Method> methods) {
        for (const Method method : methods) {
            bits_ |= bit(method);
        }
    }

    constexpr bool contains(Method method) const { return (bits_ & bit(method)) != 0; }

private:
    static constexpr std::uint32_t bit(Method method) {
        return std::uint32_t{1} << static_cast<unsigned>(method);
    }

    std::uint32_t bits_ = 0;
};

}  // namespace kavro
