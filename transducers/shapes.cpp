#include "transducers/shapes.h"

#include <algorithm>
#include <array>

#include "transducers/circular/circular_transducer.h"
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

constexpr std::array table{
    Shape{"circ", "disc", disc_sizes,
          [](Sizes s) -> Element { return std::make_unique<CircularTransducer>(s[0]); }, true},
    Shape{"ring", "ring", ring_sizes,
          [](Sizes s) -> Element { return std::make_unique<RingTransducer>(s[0], s[1]); }},
    Shape{"rect", "rectangle", rectangle_sizes,
          [](Sizes s) -> Element { return std::make_unique<RectangularTransducer>(s[0], s[1]); }},
    Shape{"shel", "shell", shell_sizes,
          [](Sizes s) -> Element { return std::make_unique<SphericalTransducer>(s[0], s[1]); }},
    Shape{"sph ring", "shell ring", shell_ring_sizes,
          [](Sizes s) -> Element {
              return std::make_unique<SphericalRingTransducer>(s[0], s[1], s[2]);
          }},
};

}  // namespace

std::span<const Shape> shapes() {
    return table;
}

const Shape* shape_of(std::string_view identifier) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Shape& shape) {
        return shape.identifier == identifier;
    });
    return found != table.end() ? &*found : nullptr;
}

}  // namespace kavro
