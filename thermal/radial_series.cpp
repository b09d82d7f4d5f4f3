#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

#include "core/aligned_vector.h"
#include "core/constants.h"
#include "thermal/axis_series.h"

namespace kavro {
namespace {

// The m-th place where J0 (or its slope -J1) is zero, from m = 1 on: Newton from the first terms of
// the expansion for large m.
double zero_of_value(int m) {
    const double b = (m - 0.25) * pi;
    double x = b + 1.0 / (8.0 * b) - 31.0 / (384.0 * b * b * b);
    for (int i = 0; i < 4; ++i) {
        x += j0(x) / j1(x);
    }
    return x;
}

double zero_of_slope(int m) {
    const double b = (m + 0.25) * pi;
    double x = b - 3.0 / (8.0 * b) + 9.0 / (384.0 * b * b * b);
    for (int i = 0; i < 4; ++i) {
        x -= j1(x) / (j0(x) - j1(x) / x);
    }
    return x;
}

// The series takes the samples' values at all samples. Of even spacing, modes are nearly orthogonal
// on them: with columns of unit length and rows weighted by the root of the radius the matrix has a
// condition number of 3, and what the elimination loses grows as that of the matrix itself, by the
// root of the points.
class RadialSeries : public AxisSeries {
public:
    RadialSeries(int points, double spacing, Wall last, const Spend& spend)
        : AxisSeries(points),
          count_(static_cast<std::size_t>(last == Wall::fixed ? points - 1 : points)) {
        const int steps = points - 1;
        const double radius = steps * spacing;
        modes_.reserve(count_ * count_);
        for (std::size_t m = 0; m < count_; ++m) {
            const int number = static_cast<int>(m);
            const double zero = last == Wall::fixed ? zero_of_value(number + 1)
                                : m > 0             ? zero_of_slope(number)
                                                    : 0.0;
            squares_[m] = (zero / radius) * (zero / radius);
            spend(static_cast<std::int64_t>(20 * count_));
            for (std::size_t j = 0; j < count_; ++j) {
                modes_.push_back(j0(zero * (static_cast<double>(j) / steps)));
            }
        }
        factor(spend);
    }

    void to_modes(double* lines, int count) const override {
        const auto stride = static_cast<std::size_t>(points());
        std::vector<double> samples(count_);
        for_each(lines, count, [&](double* line) {
            for (std::size_t j = 0; j < count_; ++j) {
                samples[j] = line[order_[j]];
            }
            std::copy(samples.begin(), samples.end(), line);
            std::fill(line + count_, line + stride, 0.0);
        });
        for (std::size_t m = 0; m < count_; ++m) {
            for_each(lines, count, [&](double* line) {
                add(column(factors_, m), -line[m], m + 1, count_, line);
            });
        }
        for (std::size_t m = count_; m-- > 0;) {
            const double* of = column(factors_, m);
            for_each(lines, count, [&](double* line) {
                line[m] /= of[m];
                add(of, -line[m], 0, m, line);
            });
        }
    }

    void to_samples(double* lines, int count) const override {
        const auto stride = static_cast<std::size_t>(points());
        std::vector<double> modes(lines, lines + stride * static_cast<std::size_t>(count));
        std::fill_n(lines, modes.size(), 0.0);
        for (std::size_t m = 0; m < count_; ++m) {
            for_each(lines, count, [&](double* line) {
                add(column(modes_, m), modes[static_cast<std::size_t>(line - lines) + m], 0, count_,
                    line);
            });
        }
    }

    std::int64_t steps_of_line() const override {
        return static_cast<std::int64_t>(count_ * count_ / 2);
    }

private:
    const double* column(const AlignedVector<double>& matrix, std::size_t m) const {
        return matrix.data() + m * count_;
    }

    static void add(const double* column, double factor, std::size_t from, std::size_t past,
                    double* to) {
        for (std::size_t j = from; j < past; ++j) {
            to[j] += column[j] * factor;
        }
    }

    // A column of a matrix serves all lines while it is at hand.
    template <class Work>
    void for_each(double* lines, int count, Work work) const {
        for (int l = 0; l < count; ++l) {
            work(lines + std::ptrdiff_t{l} * points());
        }
    }

    // Into a lower triangle, with ones on its diagonal, and an upper one; rows change places.
    void factor(const Spend& spend) {
        factors_ = modes_;
        order_.resize(count_);
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        for (std::size_t m = 0; m < count_; ++m) {
            double* now = factors_.data() + m * count_;
            const double* largest = std::max_element(now + m, now + count_, [](double a, double b) {
                return std::abs(a) < std::abs(b);
            });
            const auto row = static_cast<std::size_t>(largest - now);
            if (row != m) {
                std::swap(order_[m], order_[row]);
                for (std::size_t k = 0; k < count_; ++k) {
                    std::swap(factors_[k * count_ + m], factors_[k * count_ + row]);
                }
            }
            for (std::size_t j = m + 1; j < count_; ++j) {
                now[j] /= now[m];
            }
            for (std::size_t k = m + 1; k < count_; ++k) {
                spend(static_cast<std::int64_t>((count_ - m) / 2));
                double* other = factors_.data() + k * count_;
                add(now, -other[m], m + 1, count_, other);
            }
        }
    }

    std::size_t count_;
    AlignedVector<double> modes_, factors_;  // by columns, one for each mode
    std::vector<std::size_t> order_;         // the sample in each row of the factors
};

}  // namespace

std::unique_ptr<AxisSeries> radial_series(int points, double spacing, Wall last,
                                          const Spend& spend) {
    return std::make_unique<RadialSeries>(points, spacing, last, spend);
}

}  // namespace kavro
