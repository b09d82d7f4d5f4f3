#include "arrays.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "kavro.h"
#include "machine.h"
#include "measure.h"

namespace kavro_bench {
namespace {

constexpr double mm = 1e-3;

// 64 rectangles of 0.27 x 5 mm, focused on 30 mm, over 100 x 100 points and 800 samples.
struct ArrayScene {
    kavro::CoordinateGrid grid;
    kavro::TimeSamples times;
    kavro::Medium medium;
    kavro::NumericalIntegration rule;
    kavro::HanningPulse pulse{3e6, 1.5e-6, 0.0};
    std::vector<kavro::RectangularTransducer> rectangles;
    std::vector<kavro::Transducer*> elements;
    std::vector<double> real, imaginary;

    explicit ArrayScene(kavro::OperationKind kind) {
        constexpr int count = 64;
        constexpr double focus = 30 * mm;
        grid.RegularCoordinateGrid(-10 * mm, 10 * mm, 0.0, 0.0, 5 * mm, 60 * mm, 20 * mm / 99, 0.0,
                                   55 * mm / 99);
        times.generatetimevectorfromminmaxdeltat(5e-8, 2e-6, 2e-6 + 799 * 5e-8);
        medium._soundspeed = 1500.0;
        medium._rho_density = 1000.0;
        medium._f0 = 3e6;
        rule.allocate_memory(32);
        rule.gauss_quadrature();
        const bool is_wave = kind == kavro::OperationKind::continuous_wave;
        real.resize(static_cast<std::size_t>(grid.npoints) *
                    static_cast<std::size_t>(is_wave ? 1 : times.ntimes));
        imaginary.resize(is_wave ? real.size() : 0);
        rectangles.resize(count, kavro::RectangularTransducer(0.27 * mm, 5 * mm));
        for (int i = 0; i < count; ++i) {
            kavro::RectangularTransducer& rectangle = rectangles[static_cast<std::size_t>(i)];
            const double x = (i - (count - 1) / 2.0) * 0.3 * mm;
            const double path = std::hypot(x, focus) - focus;
            rectangle.set_center(x, 0.0, 0.0);
            rectangle.set_exact(true);
            rectangle.set_phase(2 * kavro::pi * medium._f0 * path / medium._soundspeed);
            rectangle.set_time_delay((2 * mm - path) / medium._soundspeed);
            rectangle.excitation = &pulse;
            rectangle.set_global_coordinate_grid(&grid);
            rectangle.set_time_vector(&times);
            rectangle.set_medium(&medium);
            rectangle.set_integral_pointer(&rule);
            if (is_wave) {
                rectangle.set_complex_pressure_pointers(real.data(), imaginary.data());
            } else {
                rectangle.set_transient_pressure_pointer(real.data());
            }
            elements.push_back(&rectangle);
        }
    }

    void clear() {
        std::fill(real.begin(), real.end(), 0.0);
        std::fill(imaginary.begin(), imaginary.end(), 0.0);
    }
};

void require(kavro::TransducerStatus status) {
    if (status != kavro::status_success) {
        throw std::runtime_error("the library did not solve the scene");
    }
}

void print_array(const char* name, const char* method, int repeat, int threads) {
    const kavro::Operation& operation = *kavro::operation_of(method);
    ArrayScene scene(operation.kind);
    const auto together = [&] {
        require(operation.solve_array(scene.elements, kavro::Output::accumulate));
    };
    const auto one_by_one = [&] {
        for (kavro::Transducer* element : scene.elements) {
            require(((*element).*operation.solve)());
        }
    };
    double one = std::numeric_limits<double>::infinity();
    double several = one;
    double alone = one;
    for (int i = 0; i < repeat; ++i) {
        kavro::set_thread_count(threads);
        several = std::min(several, time_work([&] { scene.clear(); }, together));
        kavro::set_thread_count(1);
        one = std::min(one, time_work([&] { scene.clear(); }, together));
        alone = std::min(alone, time_work([&] { scene.clear(); }, one_by_one));
    }
    std::printf("%-4s %10.1f %12.1f %8.2f %10.1f %8.2f  %s\n", name, one * 1e3, alone * 1e3,
                alone / one, several * 1e3, one / several, method);
    std::fflush(stdout);
}

}  // namespace

void print_arrays(int repeat, int threads) {
    std::printf("%s, %s, %s vectors; ms of wall time, fastest of %d\n\n", processor().c_str(),
                compiler().c_str(), vectors().c_str(), repeat);
    std::printf("%-4s %10s %12s %8s %8d thr. %8s\n", "", "array", "one by one", "ratio", threads,
                "ratio");
    print_array("R1", "fnm_tsd", repeat, threads);
    print_array("R2", "fnm_cw", repeat, threads);
}

}  // namespace kavro_bench
