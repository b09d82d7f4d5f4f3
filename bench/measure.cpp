#include "measure.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "oracle/decomposition.h"

namespace kavro_bench {
namespace {

double cpu_seconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double wall_seconds() {
    using Clock = std::chrono::steady_clock;
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// `prepare` is not timed.
template <class Prepare, class Work>
Timing time_of(int repetitions, Prepare prepare, Work work) {
    std::vector<double> wall, cpu;
    for (int i = 0; i < repetitions; ++i) {
        prepare();
        const double wall_start = wall_seconds();
        const double cpu_start = cpu_seconds();
        work();
        cpu.push_back(cpu_seconds() - cpu_start);
        wall.push_back(wall_seconds() - wall_start);
    }
    return {median(wall), median(cpu), *std::min_element(wall.begin(), wall.end()),
            *std::min_element(cpu.begin(), cpu.end())};
}

void solve(std::span<kavro::Transducer* const> elements, kavro::Output output) {
    if (kavro::fnm_tsd_sse(elements, output) != kavro::status_success) {
        throw std::runtime_error("the library did not solve the scene");
    }
}

// The literal part of the scene, solved by the library.
template <class Solve>
std::vector<double> product_field(BenchScene& scene, Solve solve_elements) {
    const kavro_oracle::Scene& literal = scene.literal;
    const std::size_t n = literal.points.size();
    std::vector<double> columns(3 * n);
    for (std::size_t i = 0; i < n; ++i) {
        columns[i] = literal.points[i].x;
        columns[n + i] = literal.points[i].y;
        columns[2 * n + i] = literal.points[i].z;
    }
    kavro::CoordinateGrid grid;
    grid.CoordinateGridVector(columns.data(), static_cast<int>(n));
    std::vector<double> field(n * literal.times.size());
    for (kavro::Transducer* element : scene.elements) {
        element->set_global_coordinate_grid(&grid);
        element->set_transient_pressure_pointer(field.data());
    }
    solve_elements(std::span(scene.elements).first(literal.elements.size()));
    for (kavro::Transducer* element : scene.elements) {
        element->set_global_coordinate_grid(&scene.grid);
        element->set_transient_pressure_pointer(nullptr);
    }
    return field;
}

struct Distance {
    double largest;  // of the reference's peak
    double median;   // over the points, of each point's peak
};

Distance distance(const std::vector<double>& field, const std::vector<double>& reference,
                  std::size_t points) {
    std::vector<double> per_point;
    double field_peak = 0.0;
    double largest = 0.0;
    for (std::size_t p = 0; p < points; ++p) {
        double peak = 0.0;
        double difference = 0.0;
        for (std::size_t i = p; i < reference.size(); i += points) {
            peak = std::max(peak, std::abs(reference[i]));
            difference = std::max(difference, std::abs(field[i] - reference[i]));
        }
        field_peak = std::max(field_peak, peak);
        largest = std::max(largest, difference);
        if (peak > 0.0) {
            per_point.push_back(difference / peak);
        }
    }
    return {largest / field_peak, median(per_point)};
}

}  // namespace

Timing time_work(const std::function<void()>& prepare, const std::function<void()>& work) {
    return time_of(1, prepare, work);
}

Timing time_product(BenchScene& scene, kavro::Output output, int repetitions) {
    std::vector<double> field(scene.output_values());
    for (kavro::Transducer* element : scene.elements) {
        element->set_transient_pressure_pointer(field.data());
    }
    return time_of(
        repetitions, [&] { std::fill(field.begin(), field.end(), 0.0); },
        [&] { solve(scene.elements, output); });
}

Timing time_with_output(BenchScene& scene, OutputMaking making, int repetitions) {
    struct Free {
        void operator()(double* memory) const { std::free(memory); }
    };
    const std::size_t n = scene.output_values();
    std::unique_ptr<double[], Free> untouched;
    std::vector<double> touched;
    return time_of(
        repetitions,
        [&] {
            untouched.reset();
            touched = std::vector<double>();
        },
        [&] {
            double* field = nullptr;
            if (making == OutputMaking::touched) {
                touched.resize(n);
                field = touched.data();
            } else {
                untouched.reset(static_cast<double*>(std::calloc(n, sizeof(double))));
                field = untouched.get();
            }
            if (field == nullptr) {
                throw std::bad_alloc();
            }
            for (kavro::Transducer* element : scene.elements) {
                element->set_transient_pressure_pointer(field);
            }
            solve(scene.elements, kavro::Output::all_zero);
        });
}

Timing time_literal(const BenchScene& scene, int repetitions) {
    kavro_oracle::Field field = kavro_oracle::silence(scene.literal);
    Timing timing = time_of(
        repetitions, [&] { std::fill(field.begin(), field.end(), 0.0); },
        [&] { kavro_oracle::add_single(scene.literal, kavro_oracle::DelayBy::quotient, field); });
    const double points =
        static_cast<double>(scene.grid.npoints) / static_cast<double>(scene.literal.points.size());
    const double discs = static_cast<double>(scene.discs.size()) /
                         static_cast<double>(scene.literal.elements.size());
    timing.wall *= points * discs;
    timing.cpu *= points * discs;
    return timing;
}

Errors compare(BenchScene& scene) {
    using kavro_oracle::Field;
    const kavro_oracle::Scene& scenery = scene.literal;
    Field literal = kavro_oracle::silence(scenery);
    Field unrounded = kavro_oracle::silence(scenery);
    Field literal_double = kavro_oracle::silence(scenery);
    kavro_oracle::add_single(scenery, kavro_oracle::DelayBy::quotient, literal);
    kavro_oracle::add_single(scenery, kavro_oracle::DelayBy::quotient, unrounded, nullptr,
                             kavro_oracle::Sums::unrounded);
    kavro_oracle::add_double(scenery, kavro_oracle::Terms::real, literal_double);
    const std::vector<double> product =
        product_field(scene, [](auto elements) { solve(elements, kavro::Output::accumulate); });
    const std::vector<double> product_double = product_field(scene, [](auto elements) {
        for (kavro::Transducer* element : elements) {
            element->fnm_tsd();
        }
    });

    const std::size_t points = scenery.points.size();
    Errors errors;
    const Distance of_literal = distance(literal, unrounded, points);
    const Distance of_product = distance(product, unrounded, points);
    errors.literal = of_literal.largest;
    errors.literal_median = of_literal.median;
    errors.product = of_product.largest;
    errors.product_median = of_product.median;
    errors.difference = distance(product, literal, points).largest;
    errors.double_variant = distance(product_double, literal_double, points).largest;
    errors.samples = literal.size();
    for (std::size_t i = 0; i < literal.size(); ++i) {
        errors.other_zeros += (literal[i] == 0.0) != (product[i] == 0.0) ? 1 : 0;
    }
    return errors;
}

std::size_t peak_memory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace kavro_bench
