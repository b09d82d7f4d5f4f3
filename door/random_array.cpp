#include "door/random_array.h"

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "core/counts.h"
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

class RandomArray : public Command {
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
            throw InputError("The number of elements must be a whole number.");
        }
        // As many as the hosts' other makers of arrays make: what their records take fits into 2
        // GB.
        constexpr int most_elements = 4'000'000;
        if (*count > most_elements) {
            throw InputError("The number of elements must be at most " +
                             std::to_string(most_elements) + ", but it is " +
                             std::to_string(*count) + ".");
        }
        count_ = *count;
        aperture_.radius = length(arguments[1], "aperture's radius");
        aperture_.element_radius = length(arguments[2], "elements' radius");
        // Infinite, a bowl is flat.
        aperture_.rad_curvature =
            options.given(Option::rad_curvature)
                ? length(options.value(Option::rad_curvature), "radius of curvature")
                : std::numeric_limits<double>::infinity();
        aperture_.minimum_gap = options.number(Option::minimum_gap).value_or(0.0);
        aperture_.hole_radius = options.number(Option::hole_radius).value_or(0.0);
        const double seed = options.number(Option::seed).value_or(0.0);
        constexpr double most = 9007199254740992.0;  // 2^53
        if (!(seed >= 0.0 && seed < most &&
              seed == static_cast<double>(static_cast<std::uint64_t>(seed)))) {
            options.refuse(Option::seed, "a whole number, 0 or more");
        }
        seed_ = static_cast<std::uint64_t>(seed);
        const std::array<std::int32_t, 2> extents{count_, 3};
        constexpr const char* what = "output values";
        const auto values = static_cast<std::size_t>(checked_product(extents, what));
        require_memory(values, 2 * sizeof(double), what);
        result_ = new_zeros(extents, false);
        centers_ = real_parts(result_);
    }

    TransducerStatus run() override {
        const auto places = random_places(count_, aperture_, seed_);
        for (std::size_t i = 0; i < places.size(); ++i) {
            centers_[i] = places[i].x;
            centers_[i + places.size()] = places[i].y;
            centers_[i + 2 * places.size()] = places[i].z;
        }
        return status_success;
    }

    std::vector<Result*> results() override { return {result_}; }

private:
    static double length(const Value* value, const char* what) {
        const std::optional<double> number = single_number(value);
        if (!number) {
            throw InputError(std::string("The ") + what + " must be one real number (m).");
        }
        return *number;
    }

    int count_ = 0;
    RandomAperture aperture_;
    std::uint64_t seed_ = 0;
    Result* result_ = nullptr;
    double* centers_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> new_random_array() {
    return std::make_unique<RandomArray>();
}

}  // namespace kavro
