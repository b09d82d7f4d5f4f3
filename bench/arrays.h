// Arrays as one call beside their elements one by one.
#pragma once

namespace kavro_bench {

// Prints, for the scenes R1 and R2 (64 rectangles), the CPU time of one call over the array and
// that of a call for each element, on one thread, and the wall times of both on one thread and on
// `threads`, of `repeat` turns in which all take their part; then the same beside as many processes
// that keep the processors busy.
void print_arrays(int repeat, int threads, int ndiv);

}  // namespace kavro_bench
