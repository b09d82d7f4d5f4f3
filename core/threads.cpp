#include "core/threads.h"

#include <atomic>

#ifdef _OPENMP
#include <omp.h>
#endif

namespace kavro {
namespace {

std::atomic<int> wanted{0};

}  // namespace

int thread_count() {
#ifdef _OPENMP
    const int n = wanted;
    return n > 0 ? n : omp_get_max_threads();
#else
    return 1;
#endif
}

void set_thread_count(int n) {
    wanted = n;
}

}  // namespace kavro
