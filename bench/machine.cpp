#include "machine.h"

#include <fstream>

#include "kavro.h"

namespace kavro_bench {

std::string processor() {
    std::ifstream table("/proc/cpuinfo");
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

std::string compiler() {
#if defined(__clang__)
    return __VERSION__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "unknown compiler";
#endif
}

std::string vectors() {
    constexpr const char* names[] = {"scalar", "sse4", "avx2", "avx512"};
    return names[static_cast<int>(kavro::vector_target())];
}

std::string machine_as_json(int threads) {
    return "\"machine\": \"" + processor() + "\", \"compiler\": \"" + compiler() +
           "\", \"threads\": " + std::to_string(threads) + ", \"vectors\": \"" + vectors() + "\"";
}

}  // namespace kavro_bench
