// Abscissas by tolerance beside a fixed number of them.
#pragma once

namespace kavro_bench {

// Prints, for four scenes, the mean number of abscissas that points choose, the fixed number that
// keeps the tolerance at all points, and the CPU time of both on one thread: fastest of `repeat`.
void print_tolerance(int repeat);

}  // namespace kavro_bench
