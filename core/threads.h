// How many threads the solvers use.
#pragma once

namespace kavro {

// Threads that the next solver call uses: what set_thread_count asked for, else OpenMP's default
// (OMP_NUM_THREADS, or one per processor). 1 where the library was built without OpenMP.
int thread_count();

// Asks for n threads; 0 or less returns to the default. Results do not depend on it.
void set_thread_count(int n);

}  // namespace kavro
