// Every operation of every shape with whatever numbers there are: moderate ones, and absurd ones in
// some places. A case is an array of one or two elements and all that they read, made from a seed
// and the number of the case.
//
//     kavro_fuzz [--seed S] [--cases N] [--seconds T] [--case K]
//
// runs N cases, or as many as fit into T seconds, or the one case K. What must hold:
// - a status comes back, soon after the console port asks to stop, and nothing is thrown;
// - nothing is written beside the output, nor into it where the status says so;
// - values are finite where all numbers were moderate;
// - three threads, elements one by one, and the points in two parts change no bit.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "kavro.h"

// A sanitizer's finding ends as an abort, of which we hear.
extern "C" const char* __asan_default_options() {
    return "abort_on_error=1";
}
extern "C" const char* __ubsan_default_options() {
    return "abort_on_error=1:print_stacktrace=1";
}

// ---- memory, of which there is little: absurd sizes end as they do on a small machine

namespace {

constexpr std::size_t all_memory = std::size_t{256} << 20;
std::atomic<std::size_t> taken = 0;

void* take(std::size_t size, std::size_t alignment) {
    if (size > all_memory - std::min(taken.load(), all_memory)) {
        throw std::bad_alloc();
    }
    void* memory = std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    taken += malloc_usable_size(memory);
    return memory;
}

void give(void* memory) {
    taken -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return take(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return take(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    give(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    give(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    give(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    give(memory);
}

namespace {

using kavro::Operation;
using kavro::OperationKind;
using kavro::TransducerStatus;
using Values = std::vector<double>;

// ---- numbers

class Dice {
public:
    Dice(std::uint64_t seed, std::uint64_t number)
        : state_(seed * 0x9e3779b97f4a7c15 + number * 0xd1b54a32d192ed03 + 1) {}

    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    bool once_in(int n) { return below(n) == 0; }
    template <class T>
    T one_of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<int>(values.size()))];
    }
    double between(double low, double high) {
        return low + (high - low) * static_cast<double>(next() >> 11) * 0x1p-53;
    }

    // How absurd the case is: one number in so many, none for 0.
    int absurdity = 0;
    bool moderate = true;

    // A number of the range, or an absurd one.
    double number(double low, double high) {
        if (absurdity == 0 || !once_in(absurdity)) {
            return between(low, high);
        }
        moderate = false;
        const double usual = between(low, high);
        return one_of({0.0, -0.0, -usual, std::nan(""), HUGE_VAL, -HUGE_VAL, 5e-324, 1e-310, 1e300,
                       -1e300, 1e-30, 1e30, usual * 1e6, usual * 1e-6, 2147483647.0});
    }
    int count(int low, int high) {
        if (absurdity == 0 || !once_in(absurdity)) {
            return low + below(high - low + 1);
        }
        moderate = false;
        return one_of({0, -1, 1, 2, 3, 1000, 100000, 1 << 24, INT32_MAX, INT32_MIN});
    }

private:
    std::uint64_t state_;
};

// ---- a case

constexpr double untouched = 1.25e-77;  // around the outputs
constexpr std::size_t margin = 64;

struct Case {
    const Operation* operation;
    std::vector<std::unique_ptr<kavro::Transducer>> elements;
    kavro::CoordinateGrid grid;
    kavro::Medium medium;
    kavro::TimeSamples times;
    kavro::NumericalIntegration rule;
    std::unique_ptr<kavro::ExcitationFunction> waveform;
    std::string text;
    std::size_t values = 0;  // of the output
    bool moderate = true;
    bool is_wave = false;

    Case(std::uint64_t seed, std::uint64_t number) : Case(Dice(seed, number)) {}

    // Whether points depend on each other: in a march; where a reference radiator leaves the rule
    // of the last point to the next element; where zeros of a neighbour are multiplied by infinity.
    bool hangs_together() const {
        const double impedance = medium._rho_density * medium._soundspeed;
        const bool is_endless = std::any_of(elements.begin(), elements.end(), [&](const auto& e) {
            return !std::isfinite(e->amplitude * impedance);
        });
        return operation->kind >= OperationKind::arrival_times || is_endless ||
               (operation->method == kavro::Method::radiator_cw && !exact_ && elements.size() > 1);
    }

private:
    explicit Case(Dice dice);
    void make_elements(Dice& dice);
    void make_points(Dice& dice, const Values& sizes);
    void make_times(Dice& dice);
    void make_waveform(Dice& dice);
    void make_rule(Dice& dice);
    void forget_a_record(Dice& dice);

    bool exact_ = false;
};

const kavro::Shape& any_shape(Dice& dice, const Operation& operation) {
    for (;;) {
        const auto shapes = kavro::shapes();
        const kavro::Shape& shape =
            shapes[static_cast<std::size_t>(dice.below(static_cast<int>(shapes.size())))];
        if (kavro::implements(operation, shape) || dice.once_in(50)) {
            return shape;
        }
    }
}

Case::Case(Dice dice) {
    const auto all = kavro::operations();
    operation = &all[static_cast<std::size_t>(dice.below(static_cast<int>(all.size())))];
    is_wave = operation->kind == OperationKind::continuous_wave ||
              operation->kind == OperationKind::kzk_cw;
    dice.absurdity = dice.one_of({0, 60, 20, 6});
    exact_ = dice.once_in(2);
    text = std::string(operation->name) + (exact_ ? ", exact" : ", reference");
    medium._f0 = dice.number(0.2e6, 3e6);
    medium._soundspeed = dice.number(1000, 2000);
    medium._rho_density = dice.number(800, 1200);
    medium._dBcmMHz = dice.once_in(3) ? 0.0 : dice.number(0, 1);
    medium._beta = dice.number(0, 6);
    make_times(dice);
    make_waveform(dice);
    make_rule(dice);
    make_elements(dice);
    if (operation->kind == OperationKind::kzk_transient && !dice.once_in(20)) {
        set_kzk_tau_axis(times, *waveform, medium, grid);
    }
    const auto layers = operation->kind == OperationKind::kzk_cw ? rule.kzk_parameters.harmonics
                        : is_wave                                ? 1
                                                                 : times.ntimes;
    if (operation->kind != OperationKind::arrival_times) {
        values = static_cast<std::size_t>(grid.npoints) *
                 static_cast<std::size_t>(std::max(layers, 0)) * (is_wave ? 2 : 1);
    }
    if (dice.once_in(40)) {
        forget_a_record(dice);
    }
    moderate = dice.moderate;
}

void Case::make_elements(Dice& dice) {
    const int count = dice.once_in(3) ? 2 : 1;
    for (int i = 0; i < count; ++i) {
        const kavro::Shape& shape = any_shape(dice, *operation);
        text += std::string(", ") + shape.name;
        Values sizes;
        for (const char* name : shape.sizes) {
            const bool is_long = std::strstr(name, "curv") || std::strstr(name, "focus");
            sizes.push_back(is_long ? dice.number(4e-3, 30e-3) : dice.number(0.5e-3, 4e-3));
        }
        if (shape.sizes.size() > 1 && dice.once_in(10)) {
            sizes[1] = sizes[0];  // hemispheres, squares, rings of no width
        }
        if (shape.corners != nullptr) {
            const int n = 3 + dice.below(4);
            const double turn = dice.between(0, 6);
            for (int k = 0; k < 2 * n; ++k) {
                sizes.push_back(dice.number(3e-3, 3e-3) *
                                std::sin(turn + 6.283185307179586 * (k % n) / n +
                                         (k < n ? 1.5707963267948966 : 0.0)));
            }
        }
        for (const double size : sizes) {
            text += " " + std::to_string(size);
        }
        if (i == 0) {
            make_points(dice, sizes);
        }
        elements.push_back(shape.make(sizes));
        kavro::Transducer& element = *elements.back();
        if (operation->kind < OperationKind::kzk_transient && dice.once_in(2)) {
            element.set_center(dice.number(-3e-3, 3e-3), dice.number(-3e-3, 3e-3),
                               dice.number(-3e-3, 3e-3));
            element.set_euler(dice.number(-3, 3), dice.number(-3, 3), dice.number(-3, 3));
        }
        element.set_amplitude(dice.once_in(10) ? 0.0 : dice.number(-2, 2));
        element.set_phase(dice.number(-3, 3));
        element.set_time_delay(dice.once_in(2) ? 0.0 : dice.number(-2e-6, 5e-6));
        element.set_piston_apodization_index(dice.count(0, 5));
        element.set_exact(exact_);
        element.coordinate_grid = &grid;
        element.medium = &medium;
        element.integral = &rule;
        element.time_samples = &times;
        element.excitation = waveform.get();
    }
}

// On the axis, the rim, the edges and the focus as well, and in the plane of the face.
void Case::make_points(Dice& dice, const Values& sizes) {
    if (operation->kind >= OperationKind::kzk_transient) {
        const double dx = dice.number(0.2e-3, 2e-3);
        const double dz = dice.number(1e-3, 8e-3);
        const double zmin = dice.once_in(8) ? -5e-3 : dice.number(0, 5e-3);
        grid.RegularCoordinateGrid(0, dice.below(5) * dx, 0, 0, zmin, zmin + dice.below(4) * dz, dx,
                                   0, dz);
        return;
    }
    const int n = dice.once_in(20) ? 0 : 1 + dice.below(40);
    Values columns;
    for (int i = 0; i < 3 * n; ++i) {
        const double size =
            sizes[static_cast<std::size_t>(dice.below(static_cast<int>(sizes.size())))];
        columns.push_back(dice.once_in(3) ? dice.one_of({0.0, size, size / 2, -size, -size / 2})
                                          : dice.number(i < 2 * n ? -8e-3 : -1e-3, 12e-3));
    }
    grid.CoordinateGridVector(columns.data(), n);
}

void Case::make_times(Dice& dice) {
    const double step = dice.number(20e-9, 200e-9);
    const double first = dice.once_in(2) ? 0.0 : dice.number(-3e-6, 10e-6);
    const bool march = operation->kind == OperationKind::kzk_transient;
    const int count = dice.once_in(10) ? 1 : 1 + dice.below(march ? 600 : 200);
    if (march || !dice.once_in(6)) {
        times.generatetimevectorfromminmaxdeltat(step, first, first + (count - 1) * step);
        return;
    }
    Values list;
    for (int i = 0; i < count; ++i) {
        list.push_back(dice.number(0, 20e-6));
    }
    times.vectoroftimevalues(list.data(), count);
}

void Case::make_waveform(Dice& dice) {
    const double f0 = dice.number(0.2e6, 3e6);
    const double w = dice.number(0.2e-6, 5e-6);
    switch (dice.below(4)) {
        case 0:
            waveform = std::make_unique<kavro::ToneBurst>(f0, w, 0.0);
            break;
        case 1:
            waveform = std::make_unique<kavro::HanningPulse>(f0, w, 0.0);
            break;
        case 2:
            waveform = std::make_unique<kavro::TCubedPulse>(f0, w, dice.number(0, 2e6));
            break;
        default: {
            Values signal;
            for (int i = dice.below(40); i >= 0; --i) {
                signal.push_back(dice.number(-1, 1));
            }
            const double ts = dice.number(20e-9, 200e-9);
            waveform = std::make_unique<kavro::ExcitationFunction>(
                signal, ts, dice.once_in(2) ? static_cast<double>(signal.size()) * ts : w,
                dice.one_of({0.0, 0.0, 0.05, -30.0, 2.0}));
            waveform->f0 = f0;
        }
    }
    text += std::string(", waveform ") + typeid(*waveform).name();
    waveform->set_exact(dice.once_in(10) ? !exact_ : exact_);
}

void Case::make_rule(Dice& dice) {
    const std::int64_t multiple = operation->ndiv_multiple;
    const std::int64_t order = multiple * dice.count(1, static_cast<int>(48 / multiple));
    rule.allocate_memory(
        static_cast<int>(std::clamp<std::int64_t>(order, -1, std::numeric_limits<int>::max())));
    if (!dice.once_in(20)) {
        rule.gauss_quadrature();
    }
    const auto single = [&](double low, double high) {
        return static_cast<float>(dice.number(low, high));
    };
    if (operation->kind == OperationKind::kzk_cw) {
        rule.cw_set_kzk_parameters(single(1, 5), single(3, 40), single(1e-3, 0.1),
                                   dice.count(1, 12), dice.below(2));
    } else {
        rule.set_kzk_parameters(single(1, 5), single(3, 40), single(3e-3, 0.2),
                                static_cast<float>(dice.below(2)),
                                static_cast<float>(dice.below(2)));
    }
}

void Case::forget_a_record(Dice& dice) {
    kavro::Transducer& element = *elements.back();
    switch (dice.below(5)) {
        case 0:
            element.coordinate_grid = nullptr;
            break;
        case 1:
            element.medium = nullptr;
            break;
        case 2:
            element.integral = nullptr;
            break;
        case 3:
            element.time_samples = nullptr;
            break;
        default:
            element.excitation = nullptr;
    }
    text += ", without a record";
}

// ---- runs

// What a case reads, where it is run by itself.
void show(const Case& made) {
    std::printf("%s\nf0 %g c %g rho %g dB %g beta %g\n", made.text.c_str(), made.medium._f0,
                made.medium._soundspeed, made.medium._rho_density, made.medium._dBcmMHz,
                made.medium._beta);
    std::printf("waveform f0 %g w %g B %g, %d terms; %d times, step %g, %g to %g; %d abscissas\n",
                made.waveform->f0, made.waveform->w, made.waveform->B, made.waveform->n_terms,
                made.times.ntimes, made.times.deltat(), made.times.tmin(), made.times.tmax(),
                made.rule.npoints);
    for (const auto& element : made.elements) {
        std::printf("center %g %g %g euler %g %g %g amplitude %g phase %g delay %g\n",
                    element->center.x, element->center.y, element->center.z, element->euler.x,
                    element->euler.y, element->euler.z, element->amplitude, element->phase,
                    element->time_delay);
    }
    for (int i = 0; i < made.grid.npoints; ++i) {
        const kavro::CartesianCoordinate point = made.grid.spatial_index_value(i);
        std::printf("point %d: %.17g %.17g %.17g\n", i, point.x, point.y, point.z);
    }
}

constexpr double most_seconds = 0.5;  // then it is asked to stop
constexpr double slack = KAVRO_SANITIZED ? 6.0 : 1.5;

// Asks to stop after a while of processor time, and says nothing.
class Deadline {
public:
    double elapsed() const { return static_cast<double>(std::clock() - begin_) / CLOCKS_PER_SEC; }

private:
    std::clock_t begin_ = std::clock();
    kavro::console::Connection connection_{
        {.print = [](const char*) {},
         .warn = [](const char*) {},
         .progress = {},
         .interrupted = [this] { return elapsed() > most_seconds; }}};
};

struct Run {
    TransducerStatus status = kavro::status_success;
    Values output;
    std::string fault;
};

// Solves points first ... first + count - 1 of a case that it makes anew, as solvers may write into
// records.
Run run(std::uint64_t seed, std::uint64_t number, bool one_by_one, int first, int count) {
    const Deadline deadline;
    Case made(seed, number);
    Run result;
    if (first > 0 || count < made.grid.npoints) {
        Values columns;
        for (const Values* all : {&made.grid.xcoords, &made.grid.ycoords, &made.grid.zcoords}) {
            columns.insert(columns.end(), all->begin() + first, all->begin() + first + count);
        }
        made.values = made.values / static_cast<std::size_t>(made.grid.npoints) *
                      static_cast<std::size_t>(count);
        made.grid.CoordinateGridVector(columns.data(), count);
    }
    Values room(made.values + 2 * margin, untouched);
    double* const output = room.data() + margin;
    std::fill_n(output, made.values, 0.5);
    std::vector<kavro::Transducer*> elements;
    for (const auto& element : made.elements) {
        elements.push_back(element.get());
        if (made.is_wave) {
            element->set_complex_pressure_pointers(output, output + made.values / 2);
        } else {
            element->set_transient_pressure_pointer(output);
        }
    }
    try {
        if (one_by_one) {
            for (std::size_t i = 0; i < elements.size() && result.status == 0; ++i) {
                result.status = (elements[i]->*made.operation->solve)();
            }
        } else {
            result.status = made.operation->solve_array(elements, kavro::Output::accumulate);
        }
    } catch (const std::exception& error) {
        result.fault = std::string("threw: ") + error.what();
    }
    if (deadline.elapsed() > most_seconds + slack) {
        result.fault = "took " + std::to_string(deadline.elapsed()) + " s";
    }
    if (result.status < 0 || result.status > kavro::status_interrupted) {
        result.fault = "answered " + std::to_string(result.status);
    }
    const auto is_untouched = [](double value) { return value == untouched; };
    if (!std::all_of(room.begin(), room.begin() + margin, is_untouched) ||
        !std::all_of(room.end() - margin, room.end(), is_untouched)) {
        result.fault = "wrote beside the output";
    }
    result.output.assign(output, output + made.values);
    for (const auto& element : made.elements) {
        if (made.operation->kind == OperationKind::arrival_times) {
            result.output.push_back(element->impulse_begin_time);
            result.output.push_back(element->impulse_end_time);
        }
    }
    const bool answers_early =
        result.status == kavro::status_not_implemented || result.status == kavro::status_failure;
    if (answers_early && made.elements.size() == 1 &&
        std::any_of(output, output + made.values, [](double value) { return value != 0.5; })) {
        result.fault = "wrote into the output of what it does not solve";
    }
    return result;
}

// Whether its output is incomplete, of which nothing is said.
bool ended_early(const Run& run) {
    return run.status == kavro::status_interrupted || run.status == kavro::status_out_of_memory;
}

// How another run differs; empty where it does not.
std::string difference(const Run& plain, const Run& other, const Values& output) {
    if (other.status != plain.status) {
        return ": status " + std::to_string(other.status) + " instead of " +
               std::to_string(plain.status);
    }
    for (std::size_t i = 0; i < output.size(); ++i) {
        const bool are_no_numbers = std::isnan(output[i]) && std::isnan(plain.output[i]);
        if (!are_no_numbers && std::bit_cast<std::uint64_t>(output[i]) !=
                                   std::bit_cast<std::uint64_t>(plain.output[i])) {
            char text[100];
            std::snprintf(text, sizeof text, ": value %zu is %.17g instead of %.17g", i, output[i],
                          plain.output[i]);
            return text;
        }
    }
    return "";
}

// The outputs of two parts of the points as one.
Values joined(const Values& a, const Values& b, std::size_t first, std::size_t second) {
    Values all;
    for (std::size_t layer = 0; first > 0 && layer < a.size() / first; ++layer) {
        all.insert(all.end(), a.begin() + static_cast<std::ptrdiff_t>(layer * first),
                   a.begin() + static_cast<std::ptrdiff_t>((layer + 1) * first));
        all.insert(all.end(), b.begin() + static_cast<std::ptrdiff_t>(layer * second),
                   b.begin() + static_cast<std::ptrdiff_t>((layer + 1) * second));
    }
    return all;
}

// What does not hold in a case; empty where all does, and where the records refuse its numbers.
std::string fault_of(std::uint64_t seed, std::uint64_t number, bool alone, std::string& text) {
    bool moderate = false;
    int npoints = 0;
    bool hangs_together = false;
    try {
        const Deadline deadline;
        const Case made(seed, number);
        text = made.text;
        if (alone) {
            show(made);
        }
        moderate = made.moderate;
        npoints = made.grid.npoints;
        hangs_together = made.hangs_together();
        if (made.values > all_memory / sizeof(double) / 8) {
            return "";
        }
    } catch (const kavro::InputError&) {
        return "";
    } catch (const kavro::Interrupted&) {
        return "";
    } catch (const std::bad_alloc&) {
        return "";
    }
    kavro::set_thread_count(1);
    const Run plain = run(seed, number, false, 0, npoints);
    if (!plain.fault.empty() || ended_early(plain)) {
        return plain.fault;
    }
    if (moderate && plain.status == kavro::status_success &&
        !std::all_of(plain.output.begin(), plain.output.end(),
                     [](double value) { return std::isfinite(value); })) {
        return "is not finite";
    }
    kavro::set_thread_count(3);
    const Run threads = run(seed, number, true, 0, npoints);
    if (!threads.fault.empty() || ended_early(threads)) {
        return threads.fault;
    }
    if (const std::string how = difference(plain, threads, threads.output); !how.empty()) {
        return "changes with threads, or with elements one by one" + how;
    }
    if (npoints < 2 || hangs_together || plain.status != kavro::status_success) {
        return "";
    }
    const int half = 1 + npoints / 3;
    const Run one = run(seed, number, false, 0, half);
    const Run other = run(seed, number, false, half, npoints - half);
    const bool cut = ended_early(one) || ended_early(other);
    const std::string how =
        cut ? ""
            : difference(plain, one,
                         joined(one.output, other.output, static_cast<std::size_t>(half),
                                static_cast<std::size_t>(npoints - half)));
    if (!how.empty()) {
        return "changes with the points in two parts" + how;
    }
    return one.fault + other.fault;
}

// ---- the program

char current[80];  // for the last words of a crash

void on_signal(int signal) {
    const auto written = write(STDERR_FILENO, current, std::strlen(current));
    static_cast<void>(written);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t seed = 1;
    std::uint64_t first = 0;
    std::uint64_t cases = 1000;
    double seconds = std::numeric_limits<double>::infinity();
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        const char* value = argv[i + 1];
        if (option == "--seed") {
            seed = std::strtoull(value, nullptr, 10);
        } else if (option == "--cases") {
            cases = std::strtoull(value, nullptr, 10);
        } else if (option == "--seconds") {
            seconds = std::strtod(value, nullptr);
            cases = std::numeric_limits<std::uint64_t>::max();
        } else if (option == "--case") {
            first = std::strtoull(value, nullptr, 10);
            cases = 1;
        }
    }
    std::signal(SIGABRT, on_signal);
    std::signal(SIGALRM, on_signal);
    if (!KAVRO_SANITIZED) {
        std::signal(SIGSEGV, on_signal);
    }
    const std::time_t begin = std::time(nullptr);
    int faults = 0;
    std::uint64_t done = 0;
    for (; done < cases && std::difftime(std::time(nullptr), begin) < seconds; ++done) {
        const auto number = static_cast<unsigned long long>(first + done);
        std::snprintf(current, sizeof current, "\n--seed %llu --case %llu: ended here\n",
                      static_cast<unsigned long long>(seed), number);
        alarm(300);  // a case that hangs
        std::string text;
        const std::string fault = fault_of(seed, number, cases == 1, text);
        if (!fault.empty()) {
            ++faults;
            std::printf("--seed %llu --case %llu: %s (%s)\n", static_cast<unsigned long long>(seed),
                        number, fault.c_str(), text.c_str());
            std::fflush(stdout);
        }
    }
    std::printf("seed %llu: %llu cases, %d faults\n", static_cast<unsigned long long>(seed),
                static_cast<unsigned long long>(done), faults);
    return faults == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
