#include "transducers/kzk/frame.h"

#include <algorithm>
#include <cmath>

#include "core/constants.h"

namespace kavro::kzk {
namespace {

constexpr double confinement = 2.0;  // waist times gain
constexpr double change = 0.04;      // of the width

}  // namespace

Frame::Frame(double gain, double curvature, bool diffracts)
    : gain_(gain),
      curvature_(curvature),
      diffracts_(diffracts),
      waist_(confinement / gain),
      square_(curvature * curvature + waist_ * waist_) {}

double Frame::width(double range) const {
    return diffracts_ ? std::hypot(1.0 + curvature_ * range, waist_ * range) : 1.0;
}

double Frame::slope(double from, double to) const {
    return diffracts_ ? (2.0 * curvature_ + square_ * (from + to)) / (width(from) + width(to))
                      : curvature_;
}

double Frame::angle(double range) const {
    return std::atan((square_ * range + curvature_) / waist_);
}

double Frame::range_at(double angle) const {
    return angle < half_pi ? (waist_ * std::tan(angle) - curvature_) / square_ : HUGE_VAL;
}

double Frame::bending(double range) const {
    return diffracts_ ? confinement * (angle(range) - angle(0.0)) : 0.0;
}

double Frame::leg_end(double range, double angle_of_leg) const {
    return diffracts_ ? range_at(angle(range) + angle_of_leg) : HUGE_VAL;
}

double Frame::change_end(double range) const {
    return diffracts_ ? range + change * width(range) / std::sqrt(square_) : HUGE_VAL;
}

double Frame::step_end(double range, double points_per_radius, double turn) const {
    if (!diffracts_) {
        return HUGE_VAL;
    }
    // The grid holds a wave that turns by a radian from column to column.
    const double held = 2.0 * gain_ / points_per_radius;
    const double near = std::max(range, held / (1.0 - curvature_ * held));
    const double rays = 16.0 * confinement * turn / (gain_ * gain_);
    return std::min(range + turn * near * near / gain_, range_at(angle(range) + rays));
}

double Frame::steepening(double range) const {
    const auto from_waist = [this](double x) {
        return std::asinh((square_ * x + curvature_) / waist_);
    };
    return diffracts_ ? (from_waist(range) - from_waist(0.0)) / std::sqrt(square_) : range;
}

double Frame::reach() const {
    return std::max(6.0, gain_ / 4.0);
}

double Frame::absorption(double radius, double layer) const {
    const double depth = std::max(radius - layer, 0.0) / layer_thickness;
    return 50.0 * waist_ * depth * depth;
}

double Frame::rim_arrival(double radius, double range, double slope) const {
    const double g = width(range);
    const double r = g * radius;
    return gain_ * ((r - 1.0) * (r - 1.0) / range + curvature_ - g * slope * radius * radius);
}

}  // namespace kavro::kzk
