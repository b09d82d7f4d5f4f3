// Vectors whose storage starts on a cache line, as the vector kernels like it.
#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

namespace kavro {

template <class T>
struct CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t alignment{64};

    CacheLineAllocator() = default;
    template <class U>
    CacheLineAllocator(const CacheLineAllocator<U>&) {}

    T* allocate(std::size_t n) {
        if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(::operator new(n * sizeof(T), alignment));
    }
    void deallocate(T* memory, std::size_t) { ::operator delete(memory, alignment); }

    template <class U>
    bool operator==(const CacheLineAllocator<U>&) const {
        return true;
    }
};

template <class T>
using AlignedVector = std::vector<T, CacheLineAllocator<T>>;

}  // namespace kavro
