// What a figure was measured on.
#pragma once

#include <string>

namespace kavro_bench {

std::string processor();
std::string compiler();
std::string vectors();

// The three above and the number of threads, as the first members of a JSON object.
std::string machine_as_json(int threads);

}  // namespace kavro_bench
