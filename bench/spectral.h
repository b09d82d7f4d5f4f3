// Measures the spectral method: its kernel beside a literal loop, and an array in tissue beside the
// same array without losses.
#pragma once

namespace kavro_bench {

void print_spectral(int repeat, int threads, bool literal);

}  // namespace kavro_bench
