#include "transducers/shapes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "transducers/circular/circular_transducer.h"
#include "transducers/polygon/polygon_transducer.h"
#include "transducers/rectangular/rectangular_transducer.h"
#include "transducers/ring/ring_transducer.h"
#include "transducers/spherical/spherical_transducer.h"
#include "transducers/spherical_ring/spherical_ring_transducer.h"

namespace kavro {
namespace {

constexpr std::array disc_sizes{"radius"};
constexpr std::array rectangle_sizes{"width", "height"};
constexpr std::array ring_sizes{"inner_radius", "outer_radius"};
constexpr std::array shell_sizes{"radius", "rad_curvature"};
constexpr std::array shell_ring_sizes{"inner_radius", "outer_radius", "geometric_focus"};

using Sizes = std::span<const double>;
using Element = std::unique_ptr<Transducer>;

Element polygon(Sizes values) {
    const std::size_t n = values.size() / 2;
    std::vector<PolygonTransducer::Corner> corners(n);
    for (std::size_t i = 0; i < n; ++i) {
        corners[i] = {values[i], values[n + i]};
    }
    return std::make_unique<PolygonTransducer>(std::move(corners));
}

constexpr std::array table{
    Shape{"disc", "circ", disc_sizes, nullptr, CircularTransducer::offered,
          [](Sizes s) -> Element { return std::make_unique<CircularTransducer>(s[0]); }, true},
    Shape{"ring", "ring", ring_sizes, nullptr, RingTransducer::offered,
          [](Sizes s) -> Element { return std::make_unique<RingTransducer>(s[0], s[1]); }},
    Shape{"rectangle", "rect", rectangle_sizes, nullptr, RectangularTransducer::offered,
          [](Sizes s) -> Element { return std::make_unique<RectangularTransducer>(s[0], s[1]); }},
    Shape{"spherical shell", "shel", shell_sizes, nullptr, SphericalTransducer::offered,
          [](Sizes s) -> Element { return std::make_unique<SphericalTransducer>(s[0], s[1]); }},
    Shape{"spherical ring", "sph ring", shell_ring_sizes, nullptr, SphericalRingTransducer::offered,
          [](Sizes s) -> Element {
              return std::make_unique<SphericalRingTransducer>(s[0], s[1], s[2]);
          }},
    Shape{"polygon", "poly", {}, "corners", PolygonTransducer::offered, polygon},
};

}  // namespace

std::span<const Shape> shapes() {
    return table;
}

const Shape* shape_of(std::string_view name) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Shape& shape) {
        return name == shape.name || name == shape.identifier;
    });
    return found != table.end() ? &*found : nullptr;
}

}  // namespace kavro
