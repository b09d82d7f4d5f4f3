#include "door/bioheat.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/time_samples.h"
#include "door/checks.h"
#include "door/coordinate_grid.h"
#include "door/medium.h"
#include "door/options.h"
#include "door/time_samples.h"
#include "door/values.h"
#include "thermal/bioheat.h"

namespace kavro {
namespace {

struct Option {
    enum Place : std::size_t {
        start_temperature,
        arterial_temperature,
        wall_temperature,
        walls,
        switching,
        axisymmetric,
        threads,
        progress
    };
};

const std::vector<OptionName> option_names_{
    {"start_temperature"}, {"arterial_temperature"}, {"wall_temperature"}, {"walls"},
    {"switching"},         {"axisymmetric"},         {"threads"},          {"progress"}};

class Bioheat : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        if (arguments.size() < 4) {
            throw InputError("bioheat takes a heat rate, a grid, a medium, times, and options.");
        }
        const Options options("bioheat", option_names_, arguments, 4);
        heat_.emplace(field(arguments[0], "heat rate"));
        check_grid(arguments[1]);
        read_grid(grid_, arguments[1]);
        if (!grid_.regular) {
            throw InputError("bioheat: the grid must be a regular one.");
        }
        check_medium(arguments[2]);
        medium_ = medium_from(arguments[2]);
        read_instants(arguments[3]);
        read_options(options);
        threads = options.count(Option::threads).value_or(0);
        options.read_progress(console, Option::progress);

        const std::vector<std::int32_t> extents{grid_.nx, grid_.ny, grid_.nz,
                                                count_of(times_.size(), "times")};
        constexpr const char* what = "output values";
        const auto count = static_cast<std::size_t>(checked_product(extents, what));
        require_memory(count, sizeof(double), what);
        result_ = new_zeros(extents, false);
        temperatures_ = real_parts(result_);
    }

    TransducerStatus run() override {
        const std::span<const double> start =
            start_ ? start_->span() : std::span(&setting_.arterial_temperature, 1);
        bioheat(grid_, medium_, heat_->span(), start, times_, setting_, temperatures_);
        return status_success;
    }

    std::vector<Result*> results() override { return {result_}; }

private:
    static const Value* field(const Value* value, const char* what) {
        if (!holds_real_numbers(value)) {
            throw InputError(std::string("bioheat: the ") + what +
                             " must hold real numbers, but it " +
                             (is_complex(value) ? "holds complex ones" : described(value)) + ".");
        }
        return value;
    }

    void read_instants(const Value* value) {
        if (is_record(value)) {
            // A list's reader prints every instant.
            const console::Connection quiet(console::Port{.print = [](const char*) {}});
            check_times(value);
            TimeSamples axis;
            read_times(axis, value);
            for (int i = 0; i < axis.ntimes; ++i) {
                times_.push_back(axis.time_index_value(i));
            }
            return;
        }
        const Numbers numbers(field(value, "times"));
        times_.assign(numbers.span().begin(), numbers.span().end());
    }

    void read_options(const Options& options) {
        setting_.arterial_temperature = options.number(Option::arterial_temperature).value_or(37.0);
        setting_.wall_temperature =
            options.number(Option::wall_temperature).value_or(setting_.arterial_temperature);
        if (options.given(Option::start_temperature)) {
            start_.emplace(field(options.value(Option::start_temperature), "start temperature"));
        }
        setting_.axisymmetric = options.yes_or_no(Option::axisymmetric).value_or(false);
        if (options.given(Option::walls)) {
            read_walls(options);
        }
        if (options.given(Option::switching)) {
            read_switching(options);
        }
    }

    // One for all sides, one for each axis, or one for each side.
    void read_walls(const Options& options) {
        const auto names = texts_of(options.value(Option::walls));
        const std::string expected = std::string("'insulated' or 'fixed', or a ") +
                                     host_words.list +
                                     " of three of them (x, y, z) or six (first and last x, y, z)";
        if (!names || (names->size() != 1 && names->size() != 3 && names->size() != 6)) {
            options.refuse(Option::walls, expected);
        }
        for (std::size_t side = 0; side < 6; ++side) {
            const std::string& name = (*names)[side * names->size() / 6];
            if (!same_but_case(name, "fixed") && !same_but_case(name, "insulated")) {
                options.refuse(Option::walls, expected + ", not '" + shown(name) + "'");
            }
            setting_.walls[side] = same_but_case(name, "fixed") ? Wall::fixed : Wall::insulated;
        }
    }

    void read_switching(const Options& options) {
        const Value* value = options.value(Option::switching);
        if (!holds_real_numbers(value) || columns_of(value) != 2) {
            options.refuse(Option::switching, "n x 2 real numbers: instants (s) and factors");
        }
        const Numbers numbers(value);
        const std::size_t n = rows_of(value);
        setting_.changes.clear();
        for (std::size_t i = 0; i < n; ++i) {
            setting_.changes.push_back({numbers.span()[i], numbers.span()[n + i]});
        }
    }

    std::optional<Numbers> heat_, start_;
    CoordinateGrid grid_;
    Medium medium_;
    std::vector<double> times_;
    BioheatSetting setting_;
    Result* result_ = nullptr;
    double* temperatures_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> new_bioheat() {
    return std::make_unique<Bioheat>();
}

}  // namespace kavro
