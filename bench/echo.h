// Measures echoes: transfer functions beside a literal loop, and whole calls.
#pragma once

namespace kavro_bench {

void print_echo(int repeat, int threads, bool literal);

}  // namespace kavro_bench
