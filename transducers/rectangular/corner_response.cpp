#include "transducers/rectangular/corner_response.h"

#include <cmath>
#include <cstddef>

#include "core/constants.h"

namespace kavro {

CornerResponse::CornerResponse(const RectangularTransducer& rectangle,
                               const CartesianCoordinate& local)
    : c_(rectangle.medium->_soundspeed),
      z_squared_(local.z * local.z),
      begin_(std::abs(local.z) / c_) {
    const auto sides = [this](double half, double offset) {
        const auto side = [this](double length) {
            return Side{std::abs(length), length < 0.0 ? -1.0 : 1.0,
                        std::sqrt(length * length + z_squared_) / c_};
        };
        return std::array{side(half + offset), side(half - offset)};
    };
    along_x_ = sides(rectangle.width * 0.5, std::abs(local.x));
    along_y_ = sides(rectangle.height * 0.5, std::abs(local.y));
    for (std::size_t k = 0; k < 4; ++k) {
        const Side& a = along_x_[k % 2];
        const Side& b = along_y_[k / 2];
        const double distance = std::sqrt(a.length * a.length + b.length * b.length + z_squared_);
        corners_[k] = {a.sign * b.sign, distance / c_};
    }
}

// What the side takes off a corner's share, or 0 where the circle has not reached it. A side of no
// length is reached by a circle of no radius, and takes all.
double CornerResponse::arc(const Side& side, double t, double sigma) const {
    if (!(side.arrival <= t && sigma >= side.length)) {
        return 0.0;
    }
    const double cosine = sigma > 0.0 ? side.length / sigma : 0.0;
    return c_ * (-0.5 / pi) * std::acos(cosine);
}

double CornerResponse::at(double t) const {
    if (!(begin_ <= t && t <= corners_[0].arrival)) {
        return 0.0;
    }
    const double squared = c_ * c_ * t * t - z_squared_;
    const double sigma = squared <= 0.0 ? 0.0 : std::sqrt(squared);
    const std::array arcs_x{arc(along_x_[0], t, sigma), arc(along_x_[1], t, sigma)};
    const std::array arcs_y{arc(along_y_[0], t, sigma), arc(along_y_[1], t, sigma)};
    double sum = 0.0;
    for (std::size_t k = 0; k < 4; ++k) {
        if (t <= corners_[k].arrival) {
            sum += corners_[k].sign * (c_ * 0.25 + arcs_x[k % 2] + arcs_y[k / 2]);
        }
    }
    return sum;
}

}  // namespace kavro
