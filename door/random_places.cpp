#include "door/random_places.h"

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "core/input_error.h"
#include "door/options.h"
#include "door/values.h"
#include "transducers/random_places.h"

namespace kavro {
namespace {

struct Option {
    enum Place : std::size_t { rad_curvature, minimum_gap, hole_radius, seed };
};

const std::vector<OptionName> names{{"rad_curvature"}, {"minimum_gap"}, {"hole_radius"}, {"seed"}};

class RandomPlaces : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole&) override {
        if (arguments.size() < 3) {
            throw InputError(
                "random_array takes a number of elements, the radius of the aperture, that of an "
                "element, and options.");
        }
        const Options options("random_array", names, arguments, 3);
        const std::optional<int> count = count_from(arguments[0]);
        if (!count) {
            throw InputError("random_array: the number of elements must be a whole number.");
        }
        RandomAperture aperture;
        aperture.radius = length(arguments[1], "the aperture's radius");
        aperture.element_radius = length(arguments[2], "the elements' radius");
        // Infinite, a bowl is flat.
        aperture.rad_curvature =
            options.given(Option::rad_curvature)
                ? length(options.value(Option::rad_curvature), "the radius of curvature")
                : std::numeric_limits<double>::infinity();
        aperture.minimum_gap = options.number(Option::minimum_gap).value_or(0.0);
        aperture.hole_radius = options.number(Option::hole_radius).value_or(0.0);
        const double seed = options.number(Option::seed).value_or(0.0);
        constexpr double most = 9007199254740992.0;  // 2^53
        if (!(seed >= 0.0 && seed < most &&
              seed == static_cast<double>(static_cast<std::uint64_t>(seed)))) {
            options.refuse(Option::seed, "a whole number, 0 or more");
        }
        const auto places = random_places(*count, aperture, static_cast<std::uint64_t>(seed));
        result_ = new_zeros(std::array{*count, 3}, false);
        double* to = real_parts(result_);
        for (std::size_t i = 0; i < places.size(); ++i) {
            to[i] = places[i].x;
            to[i + places.size()] = places[i].y;
            to[i + 2 * places.size()] = places[i].z;
        }
    }

    std::vector<Result*> results() override { return {result_}; }

private:
    static double length(const Value* value, const char* what) {
        const std::optional<double> number = single_number(value);
        if (!number) {
            throw InputError(std::string("random_array: ") + what +
                             " must be one real number (m).");
        }
        return *number;
    }

    Result* result_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> new_random_places() {
    return std::make_unique<RandomPlaces>();
}

}  // namespace kavro
