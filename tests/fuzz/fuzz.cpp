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
#include <limits>
#include <new>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

#include "../own_heap.h"
#include "case.h"
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

}  // namespace

void* own_heap::allocate(std::size_t size, std::size_t alignment) {
    if (size > all_memory - std::min(taken.load(), all_memory)) {
        throw std::bad_alloc();
    }
    void* memory = from_system(size, alignment);
    taken += malloc_usable_size(memory);
    return memory;
}

void own_heap::release(void* memory) {
    taken -= malloc_usable_size(memory);
    std::free(memory);
}

namespace {

using fuzz::Case;
using fuzz::Values;
using kavro::OperationKind;
using kavro::TransducerStatus;

constexpr double untouched = 1.25e-77;  // around the outputs
constexpr std::size_t margin = 64;

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
