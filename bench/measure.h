// What the benchmark measures of a scene.
#pragma once

#include <cstddef>
#include <functional>

#include "scenes.h"

namespace kavro_bench {

struct Timing {
    double wall = 0.0;        // s, median over the repetitions
    double cpu = 0.0;         // s, of all threads
    double least_wall = 0.0;  // of the fastest repetition
    double least_cpu = 0.0;
};

struct Errors {
    double literal = 0.0;         // largest difference of the literal field from the sum without
    double product = 0.0;         // rounding of the sums, and of the product's, of the field's peak
    double literal_median = 0.0;  // the same point by point, of each point's peak; the median
    double product_median = 0.0;
    double difference = 0.0;      // product from literal, of the field's peak
    double double_variant = 0.0;  // product's double variant from the literal one, of the peak
    std::size_t other_zeros = 0;  // samples that are zero in one of the two only
    std::size_t samples = 0;      // samples compared
};

// The time of some work; `prepare` is not timed.
Timing time_work(const std::function<void()>& prepare, const std::function<void()>& work);

// The library's array call over the whole scene; the output is in memory before the clock starts.
Timing time_product(BenchScene& scene, kavro::Output output, int repetitions);

enum class OutputMaking { untouched, touched };

// The same, with the making of the output in the time: by calloc, or filled with zeros.
Timing time_with_output(BenchScene& scene, OutputMaking making, int repetitions);

// The literal transcription over its part of the scene, scaled to the whole.
Timing time_literal(const BenchScene& scene, int repetitions);

Errors compare(BenchScene& scene);

// Largest resident memory of the process so far, bytes.
std::size_t peak_memory();

}  // namespace kavro_bench
