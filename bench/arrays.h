// Arrays as one call beside their elements one by one.
#pragma once

namespace kavro_bench {

// Prints, for the scenes R1 and R2 (64 rectangles), the CPU time of one call over the array and that
// of a call for each element, on one thread, and the wall times of the array call on one thread and
// on `threads`: fastest of `repeat` turns in which all take their part.
void print_arrays(int repeat, int threads, int ndiv);

}  // namespace kavro_bench
