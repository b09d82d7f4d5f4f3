#include "transducers/kzk/harmonic_source.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "core/zeros.h"

namespace kavro::kzk {
namespace {

// Views a field by harmonic and column.
template <class Value>
struct Harmonics {
    Value* values;
    std::size_t columns, count;

    Value& re(int n, std::size_t j) const {
        return values[static_cast<std::size_t>(n - 1) * columns + j];
    }
    Value& im(int n, std::size_t j) const {
        return values[(count + static_cast<std::size_t>(n - 1)) * columns + j];
    }
};

}  // namespace

void initial_field(double* field, int extent, int last_column, int harmonics, double curvature,
                   bool curved, double hole) {
    if (last_column < 0 || harmonics < 1) {
        return;
    }
    const auto columns = static_cast<std::size_t>(last_column) + 1;
    const auto count = static_cast<std::size_t>(harmonics);
    const Harmonics<double> P{field, columns, count};
    InterruptCheck check;
    fill_zeros(field, 2 * count * columns, [&check](std::int64_t steps) { check.spend(steps); });
    for (std::size_t j = 0; j < columns; ++j) {
        check.spend(16);
        const double r = static_cast<double>(j) * extent / static_cast<double>(columns);
        const double w = std::abs(r) <= 1.0 && std::abs(r) >= hole ? 1.0 : 0.0;
        const double phase = curvature * r * r;
        P.re(1, j) = curved ? w * std::sin(phase) : w;
        P.im(1, j) = curved ? w * std::cos(phase) : 0.0;
    }
}

// Sum frequencies: only the imaginary part is halved, and the real one is not doubled: deliberate.
void nonlinear_source(const double* field, int last_column, int harmonics, double* source,
                      double nonlinearity, double spreading) {
    if (last_column < 0 || harmonics < 1) {
        return;
    }
    const auto columns = static_cast<std::size_t>(last_column) + 1;
    const auto count = static_cast<std::size_t>(harmonics);
    const Harmonics<const double> P{field, columns, count};
    const Harmonics<double> Q{source, columns, count};
    for (int n = 1; n <= harmonics; ++n) {
        const double factor = n * nonlinearity * 0.5 / spreading;
        for (std::size_t j = 0; j < columns; ++j) {
            double re = 0.0;
            double im = 0.0;
            for (int k = 1; k < n; ++k) {
                re += P.im(k, j) * P.re(n - k, j);
                im += P.im(k, j) * P.im(n - k, j) - P.re(k, j) * P.re(n - k, j);
            }
            im *= 0.5;
            for (int m = n + 1; m <= harmonics; ++m) {
                re += P.re(m - n, j) * P.im(m, j) - P.im(m - n, j) * P.re(m, j);
                im -= P.re(m - n, j) * P.re(m, j) + P.im(m - n, j) * P.im(m, j);
            }
            Q.re(n, j) = re * factor;
            Q.im(n, j) = im * factor;
        }
    }
}

}  // namespace kavro::kzk
