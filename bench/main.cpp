// Times the transient decomposition against its literal transcription. See --help.
#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "arrays.h"
#include "echo.h"
#include "kzk.h"
#include "machine.h"
#include "measure.h"
#include "memory.h"
#include "scaling.h"
#include "spectral.h"
#include "tolerance.h"

namespace {

using namespace kavro_bench;

constexpr const char* usage =
    "kavro_bench [--scenes S1,S2,...] [--threads N] [--vectors scalar|sse4|avx2|avx512]\n"
    "            [--repeat N] [--json FILE] [--no-literal]\n"
    "kavro_bench --with-output [--scenes ...] [--threads N] [--vectors ...] [--repeat N]\n"
    "kavro_bench --speed-up --threads N [--scenes ...] [--vectors ...] [--repeat N]\n"
    "kavro_bench --arrays --threads N [--ndiv N] [--vectors ...] [--repeat N]\n"
    "kavro_bench --scaling [--vectors ...] [--repeat N] [--json FILE]\n"
    "kavro_bench --memory [--threads N]\n"
    "kavro_bench --tolerance [--vectors ...] [--repeat N]\n"
    "kavro_bench --kzk [--threads N] [--vectors ...] [--repeat N] [--json FILE] [--no-literal]\n"
    "kavro_bench --spectral [--threads N] [--vectors ...] [--repeat N] [--no-literal]\n"
    "kavro_bench --echo [--threads N] [--vectors ...] [--repeat N] [--no-literal]\n"
    "\n"
    "Solves each scene with the library and with the literal transcription in one run. Times are\n"
    "CPU times for one thread and wall times for more, medians over the repetitions.\n"
    "--with-output: times of a call that makes its output as well, in ms.\n"
    "--speed-up: wall time of one thread over that of N, by turns.\n"
    "--arrays: one call over an array beside a call for each element, and N threads beside one.\n"
    "--scaling: CPU time of one thread against each quantity in turn.\n"
    "--memory: what a call takes beside its output.\n"
    "--spectral: the method by frequencies: its kernel, and an array in tissue.\n"
    "--echo: echoes of scatterers, and transfer functions beside a literal loop.\n"
    "--tolerance: abscissas by tolerance beside the fixed number that keeps it.\n"
    "--kzk: both nonlinear marches and their literal transcriptions.\n";

enum class Mode {
    scenes,
    arrays,
    with_output,
    speed_up,
    scaling,
    memory,
    tolerance,
    kzk,
    spectral,
    echo
};

struct Options {
    Mode mode = Mode::scenes;
    std::vector<std::string> scenes = {"S1", "S2", "S3", "S4"};
    int threads = 1;
    int repeat = 5;
    int ndiv = 16;  // of the arrays
    bool literal = true;
    std::string json;
};

Options parse(int argc, char** argv) {
    const option table[] = {
        {"scenes", required_argument, nullptr, 's'},  {"threads", required_argument, nullptr, 't'},
        {"vectors", required_argument, nullptr, 'v'}, {"repeat", required_argument, nullptr, 'r'},
        {"json", required_argument, nullptr, 'j'},    {"no-literal", no_argument, nullptr, 'n'},
        {"with-output", no_argument, nullptr, 'o'},   {"arrays", no_argument, nullptr, 'a'},
        {"ndiv", required_argument, nullptr, 'd'},    {"scaling", no_argument, nullptr, 'c'},
        {"speed-up", no_argument, nullptr, 'u'},      {"tolerance", no_argument, nullptr, 'q'},
        {"memory", no_argument, nullptr, 'm'},        {"kzk", no_argument, nullptr, 'k'},
        {"spectral", no_argument, nullptr, 'f'},      {"echo", no_argument, nullptr, 'e'},
        {"help", no_argument, nullptr, 'h'},          {nullptr, 0, nullptr, 0}};
    Options options;
    for (int choice = 0; (choice = getopt_long(argc, argv, "", table, nullptr)) != -1;) {
        const std::string value = optarg != nullptr ? optarg : "";
        if (choice == 's') {
            options.scenes.clear();
            std::istringstream list(value);
            for (std::string name; std::getline(list, name, ',');) {
                options.scenes.push_back(name);
            }
        } else if (choice == 't') {
            options.threads = std::stoi(value);
        } else if (choice == 'v') {
            const auto target = kavro::vector_target_named(value);
            if (!target) {
                throw std::invalid_argument("no vectors called " + value);
            }
            kavro::set_vector_target(target);
        } else if (choice == 'r') {
            options.repeat = std::stoi(value);
        } else if (choice == 'j') {
            options.json = value;
        } else if (choice == 'n') {
            options.literal = false;
        } else if (choice == 'o') {
            options.mode = Mode::with_output;
        } else if (choice == 'u') {
            options.mode = Mode::speed_up;
        } else if (choice == 'd') {
            options.ndiv = std::stoi(value);
        } else if (choice == 'a') {
            options.mode = Mode::arrays;
        } else if (choice == 'c') {
            options.mode = Mode::scaling;
        } else if (choice == 'm') {
            options.mode = Mode::memory;
        } else if (choice == 'f') {
            options.mode = Mode::spectral;
        } else if (choice == 'e') {
            options.mode = Mode::echo;
        } else if (choice == 'q') {
            options.mode = Mode::tolerance;
        } else if (choice == 'k') {
            options.mode = Mode::kzk;
        } else {
            std::fputs(usage, stdout);
            std::exit(choice == 'h' ? 0 : 2);
        }
    }
    return options;
}

struct Row {
    std::string name, what;
    double product, storing, literal;  // us per point and element
    double abscissas_per_second;       // points times abscissas times elements
    double megabytes;                  // largest resident memory so far
    std::optional<Errors> errors;
};

Row measure(const std::string& name, const Options& options) {
    const std::unique_ptr<BenchScene> scene = make_scene(name);
    const auto seconds = [&](const Timing& timing) {
        return options.threads == 1 ? timing.cpu : timing.wall;
    };
    const double pairs =
        static_cast<double>(scene->grid.npoints) * static_cast<double>(scene->discs.size());
    Row row{};
    row.name = name;
    row.what = scene->what;
    const double adding = seconds(time_product(*scene, kavro::Output::accumulate, options.repeat));
    const double storing = seconds(time_product(*scene, kavro::Output::all_zero, options.repeat));
    row.product = adding / pairs * 1e6;
    row.storing = storing / pairs * 1e6;
    row.abscissas_per_second = pairs * scene->ndiv() / adding;
    row.megabytes = static_cast<double>(peak_memory()) / 1e6;
    if (options.literal) {
        row.literal = time_literal(*scene, std::max(1, options.repeat / 2)).cpu / pairs * 1e6;
        row.errors = compare(*scene);
    }
    return row;
}

void print_heading(const Options& options) {
    std::printf("%s, %s, %d thread(s), %s vectors, medians of %d\n", processor().c_str(),
                compiler().c_str(), options.threads, vectors().c_str(), options.repeat);
    std::printf(
        "us per point and element; errors: largest, of the field's peak: of the library and of\n"
        "the literal transcription against the sum without rounding, of one against the other,\n"
        "and of the variants in double; zeros: samples that are zero in one of the two only\n\n");
    std::printf("%-4s %8s %8s %8s %6s %8s %8s %8s %8s %6s %8s %6s  %s\n", "", "adding", "storing",
                "literal", "ratio", "err", "err lit.", "differ", "double", "zeros", "absc./s", "MB",
                "scene");
}

void print(const Row& row) {
    const Errors errors = row.errors.value_or(Errors{});
    std::printf("%-4s %8.3f %8.3f %8.2f %6.1f %8.1e %8.1e %8.1e %8.1e %6zu %8.2g %6.0f  %s\n",
                row.name.c_str(), row.product, row.storing, row.literal, row.literal / row.product,
                errors.product, errors.literal, errors.difference, errors.double_variant,
                errors.other_zeros, row.abscissas_per_second, row.megabytes, row.what.c_str());
    std::fflush(stdout);
}

void write_json(const std::vector<Row>& rows, const Options& options) {
    std::ofstream out(options.json);
    out << "{" << machine_as_json(options.threads) << ", \"scenes\": [";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        out << (i > 0 ? ",\n" : "\n") << "  {\"name\": \"" << row.name << "\", \"scene\": \""
            << row.what << "\", \"adding_us\": " << row.product
            << ", \"storing_us\": " << row.storing << ", \"literal_us\": " << row.literal
            << ", \"abscissas_per_second\": " << row.abscissas_per_second
            << ", \"peak_memory_mb\": " << row.megabytes;
        if (row.errors) {
            out << ", \"error\": " << row.errors->product
                << ", \"error_literal\": " << row.errors->literal
                << ", \"error_median\": " << row.errors->product_median
                << ", \"error_literal_median\": " << row.errors->literal_median
                << ", \"difference_from_literal\": " << row.errors->difference
                << ", \"double_variant\": " << row.errors->double_variant
                << ", \"other_zeros\": " << row.errors->other_zeros
                << ", \"samples\": " << row.errors->samples;
        }
        out << "}";
    }
    out << "\n]}\n";
}

void run_scenes(const Options& options) {
    print_heading(options);
    std::vector<Row> rows;
    for (const std::string& name : options.scenes) {
        rows.push_back(measure(name, options));
        print(rows.back());
    }
    if (!options.json.empty()) {
        write_json(rows, options);
    }
}

void print_with_output(const Options& options) {
    std::printf("%s, %s, %d thread(s), %s vectors\n", processor().c_str(), compiler().c_str(),
                options.threads, vectors().c_str());
    std::printf("ms of CPU, fastest and median of %d\n\n", options.repeat);
    for (const std::string& name : options.scenes) {
        const std::unique_ptr<BenchScene> scene = make_scene(name);
        const Timing there = time_product(*scene, kavro::Output::all_zero, options.repeat);
        const Timing untouched = time_with_output(*scene, OutputMaking::untouched, options.repeat);
        const Timing touched = time_with_output(*scene, OutputMaking::touched, options.repeat);
        const auto line = [&](const char* what, const Timing& timing) {
            std::printf("%-4s %9.2f %9.2f  %s\n", name.c_str(), timing.least_cpu * 1e3,
                        timing.cpu * 1e3, what);
        };
        line("into an output that is there", there);
        line("output made by calloc: memory comes as it is written", untouched);
        line("output made and filled with zeros", touched);
    }
}

// Other work on the machine takes processors away for a while; the fastest repetitions are those
// that had all they needed, and one thread and several take turns so that both meet the same.
void print_speed_up(const Options& options) {
    std::printf("%s, %s, %s vectors; ms of wall time, fastest of %d\n\n", processor().c_str(),
                compiler().c_str(), vectors().c_str(), options.repeat);
    std::printf("%-4s %10s %7d threads %8s\n", "", "1 thread", options.threads, "ratio");
    for (const std::string& name : options.scenes) {
        const std::unique_ptr<BenchScene> scene = make_scene(name);
        double one = std::numeric_limits<double>::infinity();
        double several = one;
        for (int i = 0; i < options.repeat; ++i) {
            for (const int threads : {1, options.threads}) {
                kavro::set_thread_count(threads);
                const Timing timing = time_product(*scene, kavro::Output::accumulate, 2);
                double& least = threads == 1 ? one : several;
                least = std::min(least, timing.least_wall);
            }
        }
        std::printf("%-4s %10.2f %15.2f %8.2f\n", name.c_str(), one * 1e3, several * 1e3,
                    one / several);
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        kavro::set_thread_count(options.threads);
        if (options.mode == Mode::scaling) {
            kavro::set_thread_count(1);
            const std::vector<ScalingSeries> all = measure_scaling(options.repeat);
            if (!options.json.empty()) {
                write_scaling(all, options.json);
            }
        } else if (options.mode == Mode::tolerance) {
            kavro::set_thread_count(1);
            print_tolerance(options.repeat);
        } else if (options.mode == Mode::arrays) {
            print_arrays(options.repeat, options.threads, options.ndiv);
        } else if (options.mode == Mode::kzk) {
            const std::vector<KzkRow> rows =
                measure_kzk(options.repeat, options.threads, options.literal);
            if (!options.json.empty()) {
                write_kzk(rows, options.threads, options.json);
            }
        } else if (options.mode == Mode::spectral) {
            print_spectral(options.repeat, options.threads, options.literal);
        } else if (options.mode == Mode::echo) {
            print_echo(options.repeat, options.threads, options.literal);
        } else if (options.mode == Mode::memory) {
            print_memory(options.threads);
        } else if (options.mode == Mode::speed_up) {
            print_speed_up(options);
        } else if (options.mode == Mode::with_output) {
            print_with_output(options);
        } else {
            run_scenes(options);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kavro_bench: %s\n", error.what());
        return 1;
    }
}
