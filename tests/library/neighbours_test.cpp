// A point's bits do not know in which company it is solved, though the way to them does.
#include <cstddef>
#include <vector>

#include "literal.h"
#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;

TEST(Neighbours, ChangeNoBitOfAPoint) {
    constexpr std::size_t block = 16;
    std::vector<CartesianCoordinate> apart;
    for (std::size_t i = 0; i < block; ++i) {
        apart.emplace_back(1e-3, 2e-4, 4e-3 + 5e-3 * static_cast<double>(i));
    }
    const std::vector<CartesianCoordinate> together(block, apart[3]);
    const auto check = [&](Tank tank, const char* method) {
        tank.set_axis(5e-8, 0, 1200);
        const auto field_of = [&](const std::vector<CartesianCoordinate>& points, std::size_t i) {
            tank.set_points(points);
            return at_point(measured(tank, method), i, points.size());
        };
        const Values alone = field_of({apart[3]}, 0);
        EXPECT_GT(peak_of(alone), 0.0);
        EXPECT_TRUE(same_bits(field_of(apart, 3), alone));
        EXPECT_TRUE(same_bits(field_of(together, 7), alone));
    };
    for_every_vector_target([&] {
        for (const Waveform& waveform : exact_waveforms()) {
            for (const Source& source : {Source{.shape = "circ", .sizes = {1e-3}},
                                         Source{.shape = "rect", .sizes = {0.6e-3, 3e-3}}}) {
                SCOPED_TRACE(source.shape);
                Tank tank = tank_of(source);
                tank.waveform = waveform;
                check(tank, "fnm_tsd");
                if (source.shape == "circ") {
                    check(tank, "fnm_tsd_low_precision");
                }
            }
        }
    });
}

}  // namespace
}  // namespace kavro_test
