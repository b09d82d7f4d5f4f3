#include "own_heap.h"

#include <algorithm>
#include <cstdlib>
#include <new>

void* own_heap::from_system(std::size_t size, std::size_t alignment) {
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) / alignment;
    void* memory = std::aligned_alloc(alignment, rounded * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size) {
    return own_heap::allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return own_heap::allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    own_heap::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    own_heap::release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    own_heap::release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    own_heap::release(memory);
}
