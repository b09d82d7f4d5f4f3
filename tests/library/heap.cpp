// The heap of the library's tests, of which any allocation may be made to fail, and which is
// counted.
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <malloc.h>

#include "../own_heap.h"
#include "stage.h"

namespace {

std::atomic<long> until_failure = 0;
std::atomic<std::size_t> taken = 0;
std::atomic<std::size_t> most_taken = 0;

}  // namespace

void* own_heap::allocate(std::size_t size, std::size_t alignment) {
    if (until_failure > 0 && until_failure.fetch_sub(1) == 1) {
        throw std::bad_alloc();
    }
    void* memory = from_system(size, alignment);
    const std::size_t now = taken += malloc_usable_size(memory);
    for (std::size_t most = most_taken;
         most < now && !most_taken.compare_exchange_weak(most, now);) {
    }
    return memory;
}

void own_heap::release(void* memory) {
    taken -= malloc_usable_size(memory);
    std::free(memory);
}

namespace kavro_test {

HeapWatch::HeapWatch() : before_(taken) {
    most_taken = before_;
}

std::size_t HeapWatch::peak() const {
    return most_taken - before_;
}

long fail_allocation(long n) {
    return until_failure.exchange(n);
}

}  // namespace kavro_test
