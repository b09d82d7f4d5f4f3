// Arrays as one call beside their elements one by one.
#pragma once

namespace kavro_bench {

// Prints, for the scenes R1 and R2 (64 rectangles), the time of one call over the array on one
// thread and on `threads`, and that of a call for each element: wall times, fastest of `repeat`
// turns in which all take their part.
void print_arrays(int repeat, int threads);

}  // namespace kavro_bench
