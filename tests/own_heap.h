// A program whose heap is its own: it defines these two functions, and own_heap.cpp puts all of the
// program's `new` and `delete` on them.
#pragma once

#include <cstddef>

namespace own_heap {

void* allocate(std::size_t size, std::size_t alignment);  // throws std::bad_alloc
void release(void* memory);                               // which may be null

// For `allocate` to call: memory that std::free gives back.
void* from_system(std::size_t size, std::size_t alignment);  // throws std::bad_alloc

}  // namespace own_heap
