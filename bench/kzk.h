// The nonlinear marches against their literal transcriptions.
#pragma once

#include <string>
#include <vector>

namespace kavro_bench {

struct KzkRow {
    std::string name, what;
    double product = 0.0;  // s, one march; CPU time for one thread, else wall time
    double literal = 0.0;
    double difference = 0.0;  // product from literal, of the field's peak
};

// Both marches of a disc on 2000 samples of retarded time and 400 radii, 30 harmonics. Prints as
// it goes; `repeat` times each, medians.
std::vector<KzkRow> measure_kzk(int repeat, int threads, bool with_literal);

void write_kzk(const std::vector<KzkRow>& rows, int threads, const std::string& file);

}  // namespace kavro_bench
