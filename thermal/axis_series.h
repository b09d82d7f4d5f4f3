// Temperatures along one axis as a series of the modes that its ends allow.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/interrupted.h"
#include "thermal/bioheat.h"

namespace kavro {

// The series through a line of evenly spaced samples, the first and the last of which lie on the
// ends. Temperatures are counted from that of fixed ends. Immutable; lines may be transformed by
// several threads at once.
class AxisSeries {
public:
    virtual ~AxisSeries() = default;

    int points() const { return static_cast<int>(squares_.size()); }

    // The squared wave number of the mode whose coefficient takes a sample's place, 1/m^2. The
    // place of a sample on a fixed end holds none: zero.
    const std::vector<double>& squares() const { return squares_; }

    // In place, lines one behind the other.
    virtual void to_modes(double* lines, int count) const = 0;
    virtual void to_samples(double* lines, int count) const = 0;

    virtual std::int64_t steps_of_line() const = 0;

protected:
    explicit AxisSeries(int points) : squares_(static_cast<std::size_t>(points)) {}

    std::vector<double> squares_;
};

// Along a straight axis of two points at least, or three between fixed ends: cosines, sines, or
// quarter waves between ends that differ.
std::unique_ptr<AxisSeries> straight_series(int points, double spacing, Wall first, Wall last);

// Along a radius that begins on the axis of symmetry, of two points at least: Bessel functions J0.
std::unique_ptr<AxisSeries> radial_series(int points, double spacing, Wall last,
                                          const Spend& spend);

}  // namespace kavro
