// The heap of the library's tests, of which any allocation may be made to fail, and which is
// counted.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <malloc.h>

#include "stage.h"

namespace {

std::atomic<long> until_failure = 0;
std::atomic<std::size_t> taken = 0;
std::atomic<std::size_t> most_taken = 0;

void* allocate(std::size_t size, std::size_t alignment) {
    if (until_failure > 0 && until_failure.fetch_sub(1) == 1) {
        throw std::bad_alloc();
    }
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) / alignment;
    void* memory = std::aligned_alloc(alignment, rounded * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    const std::size_t now = taken += malloc_usable_size(memory);
    for (std::size_t most = most_taken;
         most < now && !most_taken.compare_exchange_weak(most, now);) {
    }
    return memory;
}

void release(void* memory) {
    taken -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
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
