#include "transducers/spectral/comb.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kavro {
namespace {

// Operations for a sample and frequency, and for a sample at the beginning of a run.
constexpr double plain_cost = 8.0;
constexpr double moment_cost = 12.0;
constexpr double start_cost = 60.0;

class Runs {
public:
    Runs(const PowerLaw& law, double speed, Comb& comb, double spread, double tolerance)
        : law_(law), speed_(speed), comb_(comb), spread_(spread) {
        // Far beside a face the terms exceed their sum.
        most_plain_ = 0.1 * tolerance;
        most_moment_ = std::sqrt(2.0 * most_plain_);
    }

    void append(int first) {
        const int plain = longest(first, most_plain_);
        const int moment = longest(first, most_moment_);
        const bool by_moment = moment_cost + start_cost / moment < plain_cost + start_cost / plain;
        const int length = by_moment ? moment : plain;
        const std::complex<double> slope = chord(first, length);
        for (int q = first; q < first + length; ++q) {
            comb_.rest.push_back(
                by_moment ? mu(q) - (mu(first) + static_cast<double>(q - first) * slope) : 0.0);
        }
        comb_.runs.push_back(
            {first, first + length, slope + std::complex<double>(0.0, comb_.step), by_moment});
    }

private:
    std::complex<double> mu(int q) {
        for (int next = static_cast<int>(comb_.mu.size()); next <= q; ++next) {
            comb_.mu.push_back(speed_ * law_.excess(comb_.s(next)));
        }
        return comb_.mu[static_cast<std::size_t>(q)];
    }

    std::complex<double> chord(int first, int length) {
        return (mu(first + length) - mu(first)) / static_cast<double>(length);
    }

    // The longest run whose rest, times the spread, stays below `most`. mu bends one way, most of
    // all where frequencies are low, and leaves its chord about the middle or before.
    int longest(int first, double most) {
        const int limit = comb_.step > 0.0 ? 256 : 1;
        int found = 1;
        for (int length = 2; length <= limit; length *= 2) {
            const std::complex<double> slope = chord(first, length);
            double largest = 0.0;
            for (int q = first + 1; q < first + length; q += std::max(1, length / 16)) {
                const std::complex<double> off =
                    mu(q) - (mu(first) + static_cast<double>(q - first) * slope);
                largest = std::fmax(largest, std::abs(off));
            }
            if (!(largest * spread_ <= most)) {
                break;
            }
            found = length;
        }
        return found;
    }

    const PowerLaw& law_;
    double speed_;
    Comb& comb_;
    double spread_;
    double most_plain_, most_moment_;
};

}  // namespace

Comb::Comb(const PowerLaw& law, double speed, std::complex<double> first_s, double spacing,
           int count, double spread, double tolerance)
    : first(first_s), step(spacing) {
    Runs runs_of(law, speed, *this, spread, tolerance);
    for (int q = 0; q < count; q = runs.back().last) {
        runs_of.append(q);
    }
    const int all = runs.empty() ? 0 : runs.back().last;
    mu.resize(static_cast<std::size_t>(all) + 1);
    factor.assign(static_cast<std::size_t>(all), 1.0);
}

}  // namespace kavro
