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

    ArrayScene(kavro::OperationKind kind, int ndiv) {
        constexpr int count = 64;
        constexpr double focus = 30 * mm;
        grid.RegularCoordinateGrid(-10 * mm, 10 * mm, 0.0, 0.0, 5 * mm, 60 * mm, 20 * mm / 99, 0.0,
                                   55 * mm / 99);
        times.generatetimevectorfromminmaxdeltat(5e-8, 2e-6, 2e-6 + 799 * 5e-8);
        medium._soundspeed = 1500.0;
        medium._rho_density = 1000.0;
        medium._f0 = 3e6;
        rule.allocate_memory(ndiv);
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

void print_array(const char* name, const char* method, int repeat, int threads, int ndiv) {
    const kavro::Operation& operation = *kavro::operation_of(method);
    ArrayScene scene(operation.kind, ndiv);
    const auto clear = [&] { scene.clear(); };
    const auto together = [&] {
        require(operation.solve_array(scene.elements, kavro::Output::accumulate));
    };
    const auto one_by_one = [&] {
        for (kavro::Transducer* element : scene.elements) {
            require(((*element).*operation.solve)());
        }
    };
    const double never = std::numeric_limits<double>::infinity();
    Timing one{never, never}, several{never, never}, alone{never, never};
    const auto take_turn = [&](int n, const auto& work, Timing& least) {
        kavro::set_thread_count(n);
        const Timing timing = time_work(clear, work);
        least = {std::min(least.wall, timing.wall), std::min(least.cpu, timing.cpu)};
    };
    for (int i = 0; i < repeat; ++i) {
        take_turn(threads, together, several);
        take_turn(1, together, one);
        take_turn(1, one_by_one, alone);
    }
    std::printf("%-4s %10.1f %12.1f %8.2f %12.1f %12.1f %8.2f  %s\n", name, one.cpu * 1e3,
                alone.cpu * 1e3, alone.cpu / one.cpu, one.wall * 1e3, several.wall * 1e3,
                one.wall / several.wall, method);
    std::fflush(stdout);
}

}  // namespace

void print_arrays(int repeat, int threads, int ndiv) {
    std::printf("%s, %s, %s vectors, %d abscissas; ms, fastest of %d\n\n", processor().c_str(),
                compiler().c_str(), vectors().c_str(), ndiv, repeat);
    std::printf("%-4s %10s %12s %8s %12s %7d thr. %8s\n", "", "array CPU", "one by one", "ratio",
                "array wall", threads, "ratio");
    print_array("R1", "fnm_tsd", repeat, threads, ndiv);
    print_array("R2", "fnm_cw", repeat, threads, ndiv);
}

}  // namespace kavro_bench
