// Which width of vector instructions the kernels use.
//
// Every kernel is written once and compiled for several instruction sets; the best one that the
// processor has is chosen at run time. Results are the same to the last bit for all of them.
#pragma once

#include <optional>
#include <string_view>

namespace kavro {

enum class VectorTarget { scalar, sse4, avx2, avx512 };

// The best target of this processor, unless set_vector_target or the environment variable
// KAVRO_VECTORS (scalar, sse4, avx2 or avx512, read once) asks for a lesser one.
VectorTarget vector_target();

// The best target of this processor.
VectorTarget best_vector_target();

// Asks for a target, for tests and benchmarks; what the processor lacks is lowered to what it has.
// No value returns to the default. Not while another thread is in a solver.
void set_vector_target(std::optional<VectorTarget> target);

std::optional<VectorTarget> vector_target_named(std::string_view name);

}  // namespace kavro
