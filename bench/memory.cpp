#include "memory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include "measure.h"
#include "scenes.h"

namespace kavro_bench {
namespace {

struct Case {
    const char* what;
    void (*set)(ScalingScene& scene);
};

const Case cases[] = {
    {"1 element, 2,000 samples", [](ScalingScene& scene) { scene.elements = 1; }},
    {"10,000 elements, 2,000 samples, all delays differ",
     [](ScalingScene& scene) { scene.elements = 10000; }},
    {"the same, one delay",
     [](ScalingScene& scene) {
         scene.elements = 10000;
         scene.focused = false;
     }},
    {"1 element, 20,000 samples",
     [](ScalingScene& scene) {
         scene.elements = 1;
         scene.rate *= 10;
     }},
    {"1 element, 200,000 samples",
     [](ScalingScene& scene) {
         scene.elements = 1;
         scene.rate *= 100;
     }},
    {"1 element, 130 terms",
     [](ScalingScene& scene) {
         scene.elements = 1;
         scene.frequencies = 65;
     }},
    {"1 element, 1,024 abscissas, 130 terms",
     [](ScalingScene& scene) {
         scene.elements = 1;
         scene.ndiv = 1024;
         scene.frequencies = 65;
     }},
};

// Resident memory now, bytes.
std::size_t resident() {
    std::ifstream table("/proc/self/status");
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stoul(line.substr(6)) * 1024;
        }
    }
    throw std::runtime_error("the system does not tell the resident memory");
}

void print_case(const Case& c) {
    ScalingScene design;
    design.side = 8;
    design.duration = 1999.0 / 32e6;
    c.set(design);
    const std::unique_ptr<BenchScene> scene = make_scaling_scene(design);
    std::vector<double> field(scene->output_values());
    for (kavro::Transducer* element : scene->elements) {
        element->set_transient_pressure_pointer(field.data());
    }
    const std::size_t before = resident();
    if (kavro::fnm_tsd_sse(scene->elements, kavro::Output::accumulate) != kavro::status_success) {
        throw std::runtime_error("the library did not solve the scene");
    }
    constexpr double mib = 1024.0 * 1024.0;
    const std::size_t factors =
        scene->elements.size() * static_cast<std::size_t>(scene->times.ntimes) *
        static_cast<std::size_t>(scene->waveforms.front()->number_of_tsd_terms()) * sizeof(float);
    std::printf("%8.1f %10.1f %10.1f %12.1f  %s\n", static_cast<double>(before) / mib,
                static_cast<double>(field.size() * sizeof(double)) / mib,
                static_cast<double>(peak_memory() - before) / mib,
                static_cast<double>(factors) / mib, c.what);
}

}  // namespace

void print_memory(int threads) {
    std::printf(
        "%d thread(s), 8 x 8 points; MiB of resident memory: before the call (output, "
        "elements\nand program), the output's share of that, what the call adds at its "
        "peak, and what one\ntable of temporal factors for each element would take\n\n",
        threads);
    std::printf("%8s %10s %10s %12s\n", "before", "output", "call adds", "all tables");
    std::fflush(stdout);
    for (const Case& c : cases) {
        const pid_t child = fork();
        if (child == 0) {
            try {
                print_case(c);
                std::fflush(stdout);
                _exit(0);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "kavro_bench: %s\n", error.what());
                _exit(1);
            }
        }
        int status = 1;
        if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
            throw std::runtime_error("the scene '" + std::string(c.what) + "' failed");
        }
    }
}

}  // namespace kavro_bench
