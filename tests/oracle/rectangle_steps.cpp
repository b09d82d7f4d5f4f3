#include "oracle/rectangle_steps.h"

namespace kavro_oracle {
namespace {

Disc disc_at(const Rectangle& rectangle) {
    Disc disc;
    disc.center = rectangle.center;
    disc.euler = rectangle.euler;
    return disc;
}

}  // namespace

Placement::Placement(const Rectangle& rectangle)
    : disc_(disc_at(rectangle)), rotation_(rotation_of(disc_)) {}

double farthest_distance(double hw, double hh, const Triple& local) {
    const double dx = std::fabs(local.x) + hw;
    const double dy = std::fabs(local.y) + hh;
    return std::sqrt(dy * dy + local.z * local.z + dx * dx);
}

ComplexField complex_silence(const RectangleScene& scene) {
    return {std::vector<Complex>(scene.points.size()),
            std::vector<double>(scene.points.size(), 0.0)};
}

Field silence(const RectangleScene& scene) {
    return Field(scene.points.size() * scene.times.size(), 0.0);
}

}  // namespace kavro_oracle
