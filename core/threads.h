// How many threads the solvers use.
#pragma once

namespace kavro {

// Threads that the next solver call uses: what set_thread_count asked for, else OpenMP's default
// (OMP_NUM_THREADS, or one per processor), but no more than thread_limit. 1 where the library was
// built without OpenMP.
int thread_count();

// Asks for n threads; 0 or less returns to the default. Results do not depend on it.
void set_thread_count(int n);

// What thread_count would be without the limit.
int threads_asked_for();

// Four for each processor: more gain nothing, and OpenMP ends the process where it lacks the memory
// for another one.
int thread_limit();

}  // namespace kavro
