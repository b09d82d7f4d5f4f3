// Denormal numbers count as zero while an object of this class lives, in its own thread.
//
// An implicit step spreads a beam over the whole grid with exponentially falling values. Arithmetic
// on denormal numbers takes a hundred times as long as on others on many processors.
#pragma once

#include <xmmintrin.h>

namespace kavro {

class FlushDenormals {
public:
    FlushDenormals() : former_(_mm_getcsr()) { _mm_setcsr(former_ | results | operands); }
    ~FlushDenormals() { _mm_setcsr(former_); }
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;

private:
    static constexpr unsigned results = 0x8000;
    static constexpr unsigned operands = 0x0040;
    unsigned former_;
};

}  // namespace kavro
