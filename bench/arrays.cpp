#include "arrays.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
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

// Processes that keep processors busy until this ends.
class Load {
public:
    explicit Load(int count) {
        for (int i = 0; i < count; ++i) {
            const pid_t child = fork();
            if (child == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (std::atomic<unsigned> turns{0};;) {
                    turns.fetch_add(1, std::memory_order_relaxed);
                }
            }
            if (child > 0) {
                children_.push_back(child);
            }
        }
    }
    ~Load() {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::vector<pid_t> children_;
};

// The middle one of some wall times and the least of their CPU times.
struct Turns {
    std::vector<double> walls{};
    double cpu = std::numeric_limits<double>::infinity();

    void add(const Timing& timing) {
        walls.insert(std::ranges::upper_bound(walls, timing.wall), timing.wall);
        cpu = std::min(cpu, timing.cpu);
    }
    double wall() const { return walls[walls.size() / 2]; }
};

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
    Turns one, several, alone_one, alone_several;
    const auto take_turn = [&](int n, const auto& work, Turns& turns) {
        kavro::set_thread_count(n);
        turns.add(time_work(clear, work));
    };
    for (int i = 0; i < repeat; ++i) {
        take_turn(threads, together, several);
        take_turn(1, together, one);
        take_turn(threads, one_by_one, alone_several);
        take_turn(1, one_by_one, alone_one);
    }
    std::printf("%-4s %9.1f %11.1f %7.2f %10.1f %10.1f %7.2f %11.1f %10.1f %7.2f  %s\n", name,
                one.cpu * 1e3, alone_one.cpu * 1e3, alone_one.cpu / one.cpu, one.wall() * 1e3,
                several.wall() * 1e3, one.wall() / several.wall(), alone_one.wall() * 1e3,
                alone_several.wall() * 1e3, alone_one.wall() / alone_several.wall(), method);
    std::fflush(stdout);
}

void print_both(int repeat, int threads, int ndiv) {
    print_array("R1", "fnm_tsd", repeat, threads, ndiv);
    print_array("R2", "fnm_cw", repeat, threads, ndiv);
}

}  // namespace

void print_arrays(int repeat, int threads, int ndiv) {
    std::printf("%s, %s, %s vectors, %d abscissas; ms, of %d turns\n\n", processor().c_str(),
                compiler().c_str(), vectors().c_str(), ndiv, repeat);
    std::printf("%-4s %29s %29s %30s\n", "", "CPU, 1 thread, least", "array, wall, median",
                "one by one, wall, median");
    std::printf("%-4s %9s %11s %7s %10s %5d thr. %7s %11s %5d thr. %7s\n", "", "array",
                "one by one", "ratio", "1 thread", threads, "ratio", "1 thread", threads, "ratio");
    print_both(repeat, threads, ndiv);
    std::printf("beside %d other processes at work:\n", threads);
    std::fflush(stdout);
    const Load load(threads);
    print_both(repeat, threads, ndiv);
}

}  // namespace kavro_bench
