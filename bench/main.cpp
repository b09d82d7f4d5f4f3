// Times the transient decomposition against its literal transcription. See --help.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "measure.h"

namespace {

using namespace kavro_bench;

constexpr const char* usage =
    "kavro_bench [--scenes S1,S2,...] [--threads N] [--vectors scalar|sse4|avx2|avx512]\n"
    "            [--repeat N] [--json FILE] [--no-literal]\n"
    "\n"
    "Solves each scene with the library and with the literal transcription in one run. Times are\n"
    "CPU times for one thread and wall times for more, medians over the repetitions.\n";

struct Options {
    std::vector<std::string> scenes = {"S1", "S2", "S3", "S4"};
    int threads = 1;
    int repeat = 5;
    bool literal = true;
    std::string json;
};

const char* name_of(kavro::VectorTarget target) {
    constexpr const char* names[] = {"scalar", "sse4", "avx2", "avx512"};
    return names[static_cast<int>(target)];
}

std::string processor() {
    std::ifstream table("/proc/cpuinfo");
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

Options parse(int argc, char** argv) {
    const option table[] = {
        {"scenes", required_argument, nullptr, 's'},  {"threads", required_argument, nullptr, 't'},
        {"vectors", required_argument, nullptr, 'v'}, {"repeat", required_argument, nullptr, 'r'},
        {"json", required_argument, nullptr, 'j'},    {"no-literal", no_argument, nullptr, 'n'},
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
    std::printf("%s, %d thread(s), %s vectors, medians of %d\n", processor().c_str(),
                options.threads, name_of(kavro::vector_target()), options.repeat);
    std::printf(
        "us per point and element; errors: largest, of the field's peak, against the sum "
        "without rounding\n\n");
    std::printf("%-4s %9s %9s %9s %7s %11s %11s %11s %8s %11s %7s  %s\n", "", "adding", "storing",
                "literal", "ratio", "err adding", "err literal", "double var.", "zeros", "absc./s",
                "MB", "scene");
}

void print(const Row& row) {
    const Errors errors = row.errors.value_or(Errors{});
    std::printf("%-4s %9.3f %9.3f %9.2f %7.1f %11.2e %11.2e %11.2e %8zu %11.3g %7.0f  %s\n",
                row.name.c_str(), row.product, row.storing, row.literal, row.literal / row.product,
                errors.product, errors.literal, errors.double_variant, errors.other_zeros,
                row.abscissas_per_second, row.megabytes, row.what.c_str());
    std::fflush(stdout);
}

void write_json(const std::vector<Row>& rows, const Options& options) {
    std::ofstream out(options.json);
    out << "{\"machine\": \"" << processor() << "\", \"threads\": " << options.threads
        << ", \"vectors\": \"" << name_of(kavro::vector_target()) << "\", \"scenes\": [";
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

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(argc, argv);
        kavro::set_thread_count(options.threads);
        print_heading(options);
        std::vector<Row> rows;
        for (const std::string& name : options.scenes) {
            rows.push_back(measure(name, options));
            print(rows.back());
        }
        if (!options.json.empty()) {
            write_json(rows, options);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kavro_bench: %s\n", error.what());
        return 1;
    }
}
