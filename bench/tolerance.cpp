#include "tolerance.h"

#include <algorithm>
#include <cmath>
#include <complex>
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
constexpr int fine = 400;  // abscissas of the field that errors are measured from

struct ToleranceScene {
    const char* name;
    std::vector<std::unique_ptr<kavro::Transducer>> elements;
    kavro::CoordinateGrid grid;
    double frequency;
    kavro::Medium medium{};
    kavro::TimeSamples times{};
    std::unique_ptr<kavro::HanningPulse> pulse{};
    std::vector<double> real{}, imaginary{};

    std::size_t npoints() const { return static_cast<std::size_t>(grid.npoints); }

    void finish() {
        constexpr double cycles = 3.0;
        medium._soundspeed = 1500.0;
        medium._rho_density = 1000.0;
        const auto last = grid.spatial_index_value(grid.npoints - 1);
        const double latest = 1.2 * std::hypot(last.x, last.z) / medium._soundspeed;
        times.generatetimevectorfromminmaxdeltat(0.07 / frequency, 0.0,
                                                 latest + 2.0 * cycles / frequency);
        pulse = std::make_unique<kavro::HanningPulse>(frequency, cycles / frequency, 0.0);
        pulse->set_exact(true);
    }

    // Makes the output of a method one of zeros.
    void clear(const char* method) {
        const bool is_wave =
            kavro::operation_of(method)->kind == kavro::OperationKind::continuous_wave;
        real.assign(npoints() * static_cast<std::size_t>(is_wave ? 1 : times.ntimes), 0.0);
        imaginary.assign(is_wave ? npoints() : 0, 0.0);
    }

    // Some of the elements by a rule, or by a tolerance where there is no rule.
    void solve(const char* method, std::vector<kavro::Transducer*> some, int ndiv, double tolerance,
               double ratio, kavro::QuadratureReport* report = nullptr) {
        clear(method);
        add(method, some, ndiv, tolerance, ratio, report);
    }

    // The same into an output of zeros.
    void add(const char* method, std::vector<kavro::Transducer*> some, int ndiv, double tolerance,
             double ratio, kavro::QuadratureReport* report = nullptr) {
        const kavro::Operation& operation = *kavro::operation_of(method);
        const bool is_wave = operation.kind == kavro::OperationKind::continuous_wave;
        kavro::NumericalIntegration rule;
        rule.allocate_memory(std::max(ndiv, 1));
        medium._f0 = ratio * frequency;
        for (kavro::Transducer* element : some) {
            element->set_exact(true);
            element->set_amplitude(1.0);
            element->excitation = pulse.get();
            element->set_global_coordinate_grid(&grid);
            element->set_time_vector(&times);
            element->set_medium(&medium);
            element->set_integral_pointer(ndiv > 0 ? &rule : nullptr);
            element->set_tolerance(ndiv > 0 ? 0.0 : tolerance);
            if (is_wave) {
                element->set_complex_pressure_pointers(real.data(), imaginary.data());
            } else {
                element->set_transient_pressure_pointer(real.data());
            }
        }
        if (operation.solve_array(some, kavro::Output::all_zero, report) != kavro::status_success) {
            throw std::runtime_error("the library did not solve the scene");
        }
    }

    std::vector<kavro::Transducer*> all() const {
        std::vector<kavro::Transducer*> pointers;
        for (const auto& element : elements) {
            pointers.push_back(element.get());
        }
        return pointers;
    }
};

// What an element's field may err by, for a tolerance of 1.
std::vector<double> magnitudes(ToleranceScene& scene, const char* method,
                               kavro::Transducer* element) {
    std::vector<double> sizes(scene.npoints());
    if (kavro::operation_of(method)->kind == kavro::OperationKind::transient) {
        scene.solve(method, {element}, fine, 0.0, 1.0);
        for (std::size_t i = 0; i < scene.real.size(); ++i) {
            double& size = sizes[i % sizes.size()];
            size = std::max(size, std::abs(scene.real[i]));
        }
        return sizes;
    }
    constexpr int frequencies = 9;
    for (int i = 0; i < frequencies; ++i) {
        scene.solve(method, {element}, fine, 0.0, 0.8 + 0.4 * (i + 0.5) / frequencies);
        for (std::size_t p = 0; p < sizes.size(); ++p) {
            sizes[p] += std::norm(std::complex(scene.real[p], scene.imaginary[p])) / frequencies;
        }
    }
    for (double& size : sizes) {
        size = std::sqrt(size);
    }
    return sizes;
}

// The smallest number that keeps the tolerance at all points of the first and a middle element.
int fixed_number(ToleranceScene& scene, const char* method, double tolerance) {
    int needed = 2;
    for (const std::size_t which : {std::size_t{0}, scene.elements.size() / 2}) {
        kavro::Transducer* const element = scene.elements[which].get();
        const std::vector<double> sizes = magnitudes(scene, method, element);
        scene.solve(method, {element}, fine, 0.0, 1.0);
        const std::vector<double> real = scene.real;
        const std::vector<double> imaginary = scene.imaginary;
        const auto is_kept = [&](int ndiv) {
            scene.solve(method, {element}, ndiv, 0.0, 1.0);
            for (std::size_t i = 0; i < real.size(); ++i) {
                const double other = imaginary.empty() ? 0.0 : scene.imaginary[i] - imaginary[i];
                if (std::hypot(scene.real[i] - real[i], other) >
                    tolerance * sizes[i % sizes.size()]) {
                    return false;
                }
            }
            return true;
        };
        while (needed < fine && !is_kept(needed)) {
            needed += std::max(1, needed / 16);
        }
    }
    return needed;
}

// The largest error of the method by tolerance, over a few elements, as a share of each one's
// field.
double error_of(ToleranceScene& scene, const char* method, const char* reference,
                double tolerance) {
    double worst = 0.0;
    for (const std::size_t which : {std::size_t{0}, scene.elements.size() / 2}) {
        kavro::Transducer* const element = scene.elements[which].get();
        const std::vector<double> sizes = magnitudes(scene, reference, element);
        scene.solve(reference, {element}, fine, 0.0, 1.0);
        const std::vector<double> real = scene.real;
        const std::vector<double> imaginary = scene.imaginary;
        scene.solve(method, {element}, 0, tolerance, 1.0);
        for (std::size_t i = 0; i < real.size(); ++i) {
            const double other = imaginary.empty() ? 0.0 : scene.imaginary[i] - imaginary[i];
            const double size = sizes[i % sizes.size()];
            if (size > 0.0) {
                worst = std::max(worst, std::hypot(scene.real[i] - real[i], other) / size);
            }
        }
    }
    return worst;
}

// A method by tolerance beside its double-precision form by the fixed number that keeps it.
void print_line(ToleranceScene& scene, const char* method, const char* by_rule, double tolerance,
                int repeat) {
    const int ndiv = fixed_number(scene, by_rule, tolerance);
    const std::vector<kavro::Transducer*> all = scene.all();
    kavro::QuadratureReport report;
    double by_tolerance = std::numeric_limits<double>::infinity();
    double by_number = by_tolerance;
    for (int i = 0; i < repeat; ++i) {
        const auto seconds = [&](const char* which, int n) {
            return time_work([&] { scene.clear(which); },
                             [&] { scene.add(which, all, n, tolerance, 1.0, &report); })
                .cpu;
        };
        by_number = std::min(by_number, seconds(by_rule, ndiv));
        by_tolerance = std::min(by_tolerance, seconds(method, 0));
    }
    const double pairs = static_cast<double>(scene.npoints() * all.size());
    const double error = error_of(scene, method, by_rule, tolerance);
    std::printf("%-33s %-21s %7.0e %8.0e %7.1f %5d %6d %10.1f %10.1f %7.2f\n", scene.name, method,
                tolerance, error, report.mean, report.most, ndiv, by_tolerance / pairs * 1e9,
                by_number / pairs * 1e9, by_number / by_tolerance);
    std::fflush(stdout);
}

std::vector<ToleranceScene> scenes() {
    std::vector<ToleranceScene> all(4);
    const auto row = [](ToleranceScene& scene, const auto& make) {
        for (int i = 0; i < 64; ++i) {
            scene.elements.push_back(make());
            scene.elements.back()->set_center((i - 31.5) * 0.3 * mm, 0.0, 0.0);
        }
        scene.grid.RegularCoordinateGrid(-10 * mm, 10 * mm, 0, 0, 1 * mm, 40 * mm, 0.5 * mm, 0,
                                         1 * mm);
    };
    all[0].name = "64 discs of 0.13 mm, 3 MHz";
    all[0].frequency = 3e6;
    row(all[0], [] { return std::make_unique<kavro::CircularTransducer>(0.13 * mm); });
    all[1].name = "64 rectangles 0.27 x 5 mm, 5 MHz";
    all[1].frequency = 5e6;
    row(all[1], [] { return std::make_unique<kavro::RectangularTransducer>(0.27 * mm, 5 * mm); });
    all[2].name = "disc of 5 mm, 1 MHz";
    all[2].frequency = 1e6;
    all[2].elements.push_back(std::make_unique<kavro::CircularTransducer>(5 * mm));
    all[2].grid.RegularCoordinateGrid(-15 * mm, 15 * mm, 0, 0, 1 * mm, 60 * mm, 0.25 * mm, 0,
                                      0.5 * mm);
    all[3].name = "bowl 32/63 mm, 1.1 MHz";
    all[3].frequency = 1.1e6;
    all[3].elements.push_back(std::make_unique<kavro::SphericalTransducer>(32 * mm, 63 * mm));
    all[3].grid.RegularCoordinateGrid(-10 * mm, 10 * mm, 0, 0, 43 * mm, 83 * mm, 0.25 * mm, 0,
                                      0.5 * mm);
    for (ToleranceScene& scene : all) {
        scene.finish();
    }
    return all;
}

}  // namespace

void print_tolerance(int repeat) {
    std::printf("%s, %s, %s vectors, 1 thread; ns of CPU per point and element, fastest of %d\n\n",
                processor().c_str(), compiler().c_str(), vectors().c_str(), repeat);
    std::printf("%-33s %-21s %7s %8s %7s %5s %6s %10s %10s %7s\n", "", "", "toler.", "error",
                "mean n", "most", "fixed", "by toler.", "by fixed", "ratio");
    for (ToleranceScene& scene : scenes()) {
        for (const double tolerance : {1e-3, 1e-4, 1e-6}) {
            print_line(scene, "fnm_cw", "fnm_cw", tolerance, repeat);
        }
        print_line(scene, "fnm_tsd", "fnm_tsd", 1e-3, repeat);
        print_line(scene, "fnm_tsd_low_precision", "fnm_tsd", 1e-3, repeat);
    }
}

}  // namespace kavro_bench
