#include "core/threads.h"

#include <algorithm>
#include <atomic>

#ifdef _OPENMP
#include <omp.h>
#endif

namespace kavro {
namespace {

std::atomic<int> wanted{0};

}  // namespace

int thread_count() {
    return std::min(threads_asked_for(), thread_limit());
}

int threads_asked_for() {
#ifdef _OPENMP
    const int n = wanted;
    return n > 0 ? n : omp_get_max_threads();
#else
    return 1;
#endif
}

int thread_limit() {
#ifdef _OPENMP
    return 4 * omp_get_num_procs();
#else
    return 1;
#endif
}

void set_thread_count(int n) {
    wanted = n;
}

}  // namespace kavro
