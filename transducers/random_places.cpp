#include "transducers/random_places.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <random>
#include <string>

#include "core/input_error.h"
#include "core/interrupted.h"

namespace kavro {
namespace {

constexpr int most_tries = 200'000;  // for one element

std::string shown(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

void check(bool good, const char* what, const std::string& expected, double value) {
    if (!good || std::isnan(value)) {
        throw InputError(std::string("random_array: ") + what + " must be " + expected + ", not " +
                         shown(value) + ".");
    }
}

// Only what IEEE arithmetic rounds in one way goes into a place: no sines, no library's
// distributions.
class Places {
public:
    Places(const RandomAperture& aperture, std::uint64_t seed)
        : aperture_(aperture), generator_(seed) {
        nearest_ = level(aperture.hole_radius > 0.0 ? aperture.hole_radius + aperture.element_radius
                                                    : 0.0);
        farthest_ = level(aperture.radius - aperture.element_radius);
    }

    CartesianCoordinate draw() {
        double u = 0.0, v = 0.0, share = 0.0;
        do {
            u = uniform();
            v = uniform();
            share = u * u + v * v;
        } while (!(share <= 1.0 && share > 0.0));
        const double at = nearest_ + share * (farthest_ - nearest_);
        const double R = aperture_.rad_curvature;
        const bool flat = std::isinf(R);
        const double r2 = flat ? at : at * (2.0 * R - at);
        const double scale = std::sqrt(r2 / share);
        return {u * scale, v * scale, flat ? 0.0 : at};
    }

private:
    // The area within a radius grows with its square, on a bowl with the height above the apex.
    double level(double radius) const {
        const double R = aperture_.rad_curvature;
        return std::isinf(R) ? radius * radius
                             : radius * radius / (R + std::sqrt(R * R - radius * radius));
    }

    double uniform() {  // in [-1, 1)
        return static_cast<double>(generator_() >> 11) * 0x1p-52 - 1.0;
    }

    const RandomAperture& aperture_;
    double nearest_, farthest_;
    std::mt19937_64 generator_;
};

}  // namespace

std::vector<CartesianCoordinate> random_places(int count, const RandomAperture& aperture,
                                               std::uint64_t seed) {
    const double a = aperture.element_radius;
    check(count >= 1, "the number of elements", "1 or more", count);
    check(a > 0.0, "the elements' radius", "positive (m)", a);
    check(aperture.minimum_gap >= 0.0, "the minimum gap", "zero or positive (m)",
          aperture.minimum_gap);
    check(aperture.hole_radius >= 0.0, "the hole's radius", "zero or positive (m)",
          aperture.hole_radius);
    const double least = aperture.hole_radius > 0.0 ? aperture.hole_radius + 2.0 * a : a;
    check(aperture.radius >= least && std::isfinite(aperture.radius), "the aperture's radius",
          "at least " + shown(least) + " m, so that an element fits", aperture.radius);
    check(aperture.rad_curvature >= aperture.radius, "the radius of curvature",
          "at least that of the aperture, " + shown(aperture.radius) + " m",
          aperture.rad_curvature);

    const double R = aperture.rad_curvature;
    const double level =
        std::isinf(R) ? 0.5 : 1.0 / (1.0 + std::sqrt(1.0 - std::pow(aperture.radius / R, 2)));
    const double most = std::floor(2.0 * level * std::pow(aperture.radius / a, 2));
    check(count <= most, "the number of elements",
          "at most " + shown(most) + ", which would cover the aperture", count);

    Places places(aperture, seed);
    InterruptCheck interrupts;
    const double apart = 2.0 * a + aperture.minimum_gap;
    std::vector<CartesianCoordinate> found;
    const auto fits = [&](const CartesianCoordinate& place) {
        interrupts.spend(static_cast<std::int64_t>(found.size()) + 16);
        return std::all_of(found.begin(), found.end(), [&](const CartesianCoordinate& other) {
            const double x = place.x - other.x, y = place.y - other.y, z = place.z - other.z;
            return x * x + y * y + z * z >= apart * apart;
        });
    };
    while (found.size() < static_cast<std::size_t>(count)) {
        std::optional<CartesianCoordinate> place;
        for (int i = 0; i < most_tries && !place; ++i) {
            const CartesianCoordinate drawn = places.draw();
            if (fits(drawn)) {
                place = drawn;
            }
        }
        if (!place) {
            throw InputError("random_array: only " + std::to_string(found.size()) + " of " +
                                 std::to_string(count) + " elements have found room.",
                             "Places at random cover about half of an aperture: take fewer or "
                             "smaller elements, a smaller gap or another seed.");
        }
        found.push_back(*place);
    }
    return found;
}

}  // namespace kavro
