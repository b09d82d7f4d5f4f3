// What the library takes beside its output.
#pragma once

namespace kavro_bench {

// Prints the growth of resident memory while the library solves, scene by scene, each in a process
// of its own. Not after the library has started threads.
void print_memory(int threads);

}  // namespace kavro_bench
