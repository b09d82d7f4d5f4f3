#include <cmath>

#include "core/constants.h"
#include "excitation/discrete_spectrum.h"
#include "thermal/axis_series.h"

namespace kavro {
namespace {

class StraightSeries : public AxisSeries {
public:
    StraightSeries(int points, double spacing, Wall first, Wall last)
        : AxisSeries(points),
          begin_(first == Wall::fixed ? 1 : 0),
          end_(last == Wall::fixed ? points - 1 : points),
          transform_(end_ - begin_, first == Wall::insulated, last == Wall::insulated) {
        const double length = (points - 1) * spacing;
        // Half waves along the axis: 0, 1, ... or 1, 2, ... or 1/2, 3/2, ...
        const double lowest = first != last ? 0.5 : first == Wall::fixed ? 1.0 : 0.0;
        for (int i = begin_; i < end_; ++i) {
            const double number = pi * (lowest + (i - begin_)) / length;
            squares_[static_cast<std::size_t>(i)] = number * number;
        }
    }

    void to_modes(double* lines, int count) const override {
        each_line(lines, count, [this](double* line) { transform_.analyse(line); });
    }
    void to_samples(double* lines, int count) const override {
        each_line(lines, count, [this](double* line) { transform_.synthesise(line); });
    }

    std::int64_t steps_of_line() const override { return 16 * std::int64_t{points()}; }

private:
    template <class Transform>
    void each_line(double* lines, int count, Transform transform) const {
        for (int l = 0; l < count; ++l, lines += points()) {
            for (const int end : {0, points() - 1}) {
                if (end < begin_ || end >= end_) {
                    lines[end] = 0.0;
                }
            }
            transform(lines + begin_);
        }
    }

    int begin_, end_;
    HarmonicTransform transform_;
};

}  // namespace

std::unique_ptr<AxisSeries> straight_series(int points, double spacing, Wall first, Wall last) {
    return std::make_unique<StraightSeries>(points, spacing, first, last);
}

}  // namespace kavro
