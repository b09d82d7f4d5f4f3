#include "scaling.h"

#include <cmath>
#include <cstdio>
#include <fstream>

#include "machine.h"
#include "measure.h"
#include "scenes.h"

namespace kavro_bench {
namespace {

struct Sweep {
    const char* quantity;
    std::vector<int> values;
    void (*set)(ScalingScene& scene, int value);
    double (*get)(const BenchScene& scene);
};

const Sweep sweeps[] = {
    {"points",
     {6, 12, 24, 48, 96, 192},
     [](ScalingScene& scene, int side) { scene.side = side; },
     [](const BenchScene& scene) { return static_cast<double>(scene.grid.npoints); }},
    {"samples",
     {4, 8, 16, 32, 64, 128, 256},
     [](ScalingScene& scene, int rate) { scene.rate = rate * 1e6; },
     [](const BenchScene& scene) { return static_cast<double>(scene.times.ntimes); }},
    {"abscissas",
     {4, 8, 16, 32, 64, 128, 256, 512, 1024},
     [](ScalingScene& scene, int ndiv) { scene.ndiv = ndiv; },
     [](const BenchScene& scene) { return static_cast<double>(scene.ndiv()); }},
    {"elements",
     {1, 2, 4, 8, 16, 32, 64, 128, 256},
     [](ScalingScene& scene, int count) { scene.elements = count; },
     [](const BenchScene& scene) { return static_cast<double>(scene.elements.size()); }},
    {"terms",
     {1, 2, 4, 8, 16, 32, 64, 128, 256},
     [](ScalingScene& scene, int count) { scene.frequencies = count; },
     [](const BenchScene& scene) {
         return static_cast<double>(scene.waveforms.front()->number_of_tsd_terms());
     }},
};

}  // namespace

std::vector<ScalingSeries> measure_scaling(int repetitions) {
    const ScalingScene base;
    std::printf("# %s, %s, %s vectors, one thread, medians of %d\n", processor().c_str(),
                compiler().c_str(), vectors().c_str(), repetitions);
    std::printf("# One quantity at a time of: %d discs, Hanning, %d x %d points, %d samples at\n",
                base.elements, base.side, base.side,
                static_cast<int>(std::lround(base.duration * base.rate)) + 1);
    std::printf("# %g MHz, %d abscissas; terms: of a sampled waveform, exact.\n", base.rate / 1e6,
                base.ndiv);
    std::vector<ScalingSeries> all;
    for (const Sweep& sweep : sweeps) {
        std::printf("\n\n\"%s\"\n# CPU s, slope in the log-log picture since the last\n",
                    sweep.quantity);
        ScalingSeries series{sweep.quantity, {}};
        for (const int value : sweep.values) {
            ScalingScene design = base;
            sweep.set(design, value);
            const std::unique_ptr<BenchScene> scene = make_scaling_scene(design);
            const ScalingPoint point{
                sweep.get(*scene), time_product(*scene, kavro::Output::all_zero, repetitions).cpu};
            std::printf("%8g %12.6f", point.quantity, point.seconds);
            if (!series.points.empty()) {
                const ScalingPoint& last = series.points.back();
                std::printf(" %7.2f", std::log(point.seconds / last.seconds) /
                                          std::log(point.quantity / last.quantity));
            }
            std::printf("\n");
            std::fflush(stdout);
            series.points.push_back(point);
        }
        all.push_back(series);
    }
    return all;
}

void write_scaling(const std::vector<ScalingSeries>& all, const std::string& file) {
    std::ofstream out(file);
    out << "{" << machine_as_json(1) << ", \"scaling\": {";
    for (const ScalingSeries& series : all) {
        out << (&series != &all.front() ? ",\n" : "\n") << "  \"" << series.quantity << "\": [";
        for (const ScalingPoint& point : series.points) {
            out << (&point != &series.points.front() ? ", " : "") << "[" << point.quantity << ", "
                << point.seconds << "]";
        }
        out << "]";
    }
    out << "\n}}\n";
}

}  // namespace kavro_bench
