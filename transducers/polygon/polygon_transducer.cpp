#include "transducers/polygon/polygon_transducer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "core/console.h"
#include "core/constants.h"
#include "core/input_error.h"
#include "transducers/polygon/polygon_edge.h"
#include "transducers/polygon/straight_edges.h"

namespace kavro {
namespace {

using Corner = PolygonTransducer::Corner;

double cross(const Corner& a, const Corner& b) {
    return a.x * b.y - a.y * b.x;
}

Corner difference(const Corner& a, const Corner& b) {
    return {a.x - b.x, a.y - b.y};
}

Corner side(const std::vector<Corner>& corners, std::size_t k) {
    return difference(corners[(k + 1) % corners.size()], corners[k % corners.size()]);
}

// Twice the area, positive for counter-clockwise corners.
double double_area(const std::vector<Corner>& corners) {
    double sum = 0.0;
    for (std::size_t k = 2; k < corners.size(); ++k) {
        sum += cross(difference(corners[k - 1], corners[0]), difference(corners[k], corners[0]));
    }
    return sum;
}

// Whether counter-clockwise corners turn left (or go straight on) everywhere, once around in all.
bool is_convex(const std::vector<Corner>& corners) {
    double turned = 0.0;
    for (std::size_t k = 0; k < corners.size(); ++k) {
        const Corner before = side(corners, k);
        const Corner after = side(corners, k + 1);
        const double angle =
            std::atan2(cross(before, after), before.x * after.x + before.y * after.y);
        if (angle < -1e-9 || angle > pi - 1e-9) {
            return false;
        }
        turned += angle;
    }
    return turned < 3.0 * pi;
}

std::vector<Corner> checked(std::vector<Corner> corners) {
    if (corners.size() < 3) {
        throw InputError("A polygon must have at least 3 corners, not " +
                         std::to_string(corners.size()) + ".");
    }
    for (std::size_t k = 0; k < corners.size(); ++k) {
        const std::string place = "Corner " + std::to_string(k + 1) + " of a polygon ";
        if (!std::isfinite(corners[k].x) || !std::isfinite(corners[k].y)) {
            throw InputError(place + "must be two finite numbers.");
        }
        const Corner next = side(corners, k);
        if (next.x == 0.0 && next.y == 0.0) {
            throw InputError(place + "must not be the next one, too.");
        }
    }
    if (double_area(corners) < 0.0) {
        std::reverse(corners.begin(), corners.end());
    }
    if (!(double_area(corners) > 0.0) || !is_convex(corners)) {
        throw InputError("The corners of a polygon must go once around a convex face.");
    }
    return corners;
}

// Triangles between the centre and each side, each with the product of two Gauss rules, a line of
// equal distance from the side to a row.
class Face : public SurfaceRows<double> {
public:
    Face(std::vector<Corner> corners, const QuadratureRule& rule)
        : corners_(std::move(corners)), rule_(rule.mapped(0.0, 1.0)) {
        if (corners_.size() * rule_.abscissas.size() > std::numeric_limits<int>::max()) {
            throw std::bad_alloc();  // more rows than can be counted
        }
        for (const Corner& corner : corners_) {
            centre_.x += corner.x / static_cast<double>(corners_.size());
            centre_.y += corner.y / static_cast<double>(corners_.size());
        }
    }

    int rows() const override { return rule_.order() * static_cast<int>(corners_.size()); }
    int samples_per_row() const override { return rule_.order(); }
    bool is_half_of_axisymmetric() const override { return false; }

    void fill(int i, SurfaceRow<double>& row) const override {
        const auto triangle = static_cast<std::size_t>(i / rule_.order());
        const auto k = static_cast<std::size_t>(i % rule_.order());
        const Corner a = difference(corners_[triangle], centre_);
        const Corner along = side(corners_, triangle);
        const double u = rule_.abscissas[k];
        for (std::size_t j = 0; j < rule_.abscissas.size(); ++j) {
            const double v = rule_.abscissas[j];
            row.x[j] = centre_.x + u * (a.x + v * along.x);
            row.y[j] = centre_.y + u * (a.y + v * along.y);
            row.z[j] = 0.0;
            row.weight[j] = rule_.weights[j];
        }
        row.row_weight = rule_.weights[k] * u * cross(a, along);
    }

private:
    const std::vector<Corner> corners_;
    const QuadratureRule rule_;
    Corner centre_;
};

}  // namespace

PolygonTransducer::PolygonTransducer(std::vector<Corner> corners)
    : corners_(checked(std::move(corners))) {
    for (std::size_t k = 0; k < corners_.size(); ++k) {
        const Corner along = side(corners_, k);
        const double length = std::hypot(along.x, along.y);
        sides_.push_back(
            {corners_[k].x, corners_[k].y, along.x / length, along.y / length, length});
    }
}

PolygonTransducer::PolygonTransducer(std::vector<Corner> corners, double time_delay_value)
    : PolygonTransducer(std::move(corners)) {
    set_time_delay(time_delay_value);
}

PolygonTransducer::PolygonTransducer(std::vector<Corner> corners, double amplitude_value,
                                     double phase_value)
    : PolygonTransducer(std::move(corners)) {
    set_amplitude(amplitude_value);
    set_phase(phase_value);
}

void PolygonTransducer::debug(int level) const {
    Transducer::debug(level);
    for (const Corner& corner : corners_) {
        std::cout << "corner: " << corner.x << ", " << corner.y << '\n';
    }
}

void PolygonTransducer::mex_debug(int level) const {
    Transducer::mex_debug(level);
    for (const Corner& corner : corners_) {
        console::print("corner: %f, %f\n", corner.x, corner.y);
    }
}

// The diagonal of the box around the corners is no shorter.
double PolygonTransducer::face_area() const {
    return 0.5 * double_area(corners_);
}

double PolygonTransducer::face_extent() const {
    const auto [left, right] =
        std::minmax_element(corners_.begin(), corners_.end(),
                            [](const Corner& a, const Corner& b) { return a.x < b.x; });
    const auto [low, high] =
        std::minmax_element(corners_.begin(), corners_.end(),
                            [](const Corner& a, const Corner& b) { return a.y < b.y; });
    return std::hypot(right->x - left->x, high->y - low->y);
}

ApertureDistances PolygonTransducer::distances(const CartesianCoordinate& p) const {
    bool over_face = true;
    double nearest = std::numeric_limits<double>::infinity();
    double farthest = 0.0;
    for (const Side& side : sides_) {
        const double dx = p.x - side.x;
        const double dy = p.y - side.y;
        const double L = side.ux * dy - side.uy * dx;
        const double along = side.ux * dx + side.uy * dy;
        const double beside = along - std::clamp(along, 0.0, side.length);
        over_face = over_face && L >= 0.0;
        nearest = std::min(nearest, L * L + beside * beside);
        farthest = std::max(farthest, dx * dx + dy * dy);
    }
    return {over_face ? std::abs(p.z) : std::sqrt(nearest + p.z * p.z),
            std::sqrt(farthest + p.z * p.z)};
}

std::unique_ptr<EdgeGenerator<double>> PolygonTransducer::edge(const Wanted& wanted) const {
    if (wanted.demand != nullptr) {
        return std::make_unique<StraightEdges<double>>(*this, sides_, wanted);
    }
    return std::make_unique<PolygonEdge>(*this, wanted);
}

EdgeScale PolygonTransducer::edge_scale(Method) const {
    return {1.0, -two_pi};
}

FarPattern PolygonTransducer::far_pattern(double wavenumber) const {
    return polygon_pattern(wavenumber, sides_, face_area());
}

std::unique_ptr<SurfaceRows<double>> PolygonTransducer::surface(const Wanted& wanted) const {
    return std::make_unique<Face>(corners_, wanted.rule);
}

}  // namespace kavro
