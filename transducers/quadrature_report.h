// What a tolerance made of the quadrature of a call, and of its frequencies.
#pragma once

#include <cstdint>

namespace kavro {

// Why a tolerance is not reached.
enum class Shortfall : std::uint8_t {
    none,
    jump,  // the waveform begins or ends with a jump: the error falls with 1/n only
    kink,  // or with a jump of a derivative
    edge,  // the point lies next to an edge, or the element is thousands of wavelengths wide
    band,  // by frequencies: losses leave too much beyond the highest of them
};

// A sentence for people; empty for none.
const char* text_of(Shortfall shortfall);

// Of all elements of a call that were asked for a tolerance. The same for any number of threads.
struct QuadratureReport {
    // Abscissas of a disc's or bowl's rim, or of a piece of an edge: over all of them, all points
    // and elements.
    std::int32_t fewest = 0;
    double mean = 0.0;
    std::int32_t most = 0;

    // Points that an element with a tolerance reaches, and those of them where an element does
    // not keep it. Elements of one grid count a point once.
    std::int64_t points = 0;
    std::int64_t unreached = 0;
    // Where it is missed most: the point's index in its grid (-1 for nowhere), the estimated error
    // there as a share of the element's field, at most 1, and why.
    std::int32_t worst_point = -1;
    double worst_error = 0.0;
    Shortfall reason = Shortfall::none;
};

}  // namespace kavro
