// How the library's CPU time grows with each of the quantities that make a scene.
#pragma once

#include <string>
#include <vector>

namespace kavro_bench {

struct ScalingPoint {
    double quantity;
    double seconds;  // CPU time of one solution, one thread
};

struct ScalingSeries {
    std::string quantity;
    std::vector<ScalingPoint> points;
};

// Varies one quantity at a time of one scene; prints each point as it is measured, in a form that
// gnuplot reads: a block for each quantity.
std::vector<ScalingSeries> measure_scaling(int repetitions);

void write_scaling(const std::vector<ScalingSeries>& all, const std::string& file);

}  // namespace kavro_bench
