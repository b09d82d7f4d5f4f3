#include "transducers/echo/lines.h"

#include <algorithm>
#include <cmath>

namespace kavro::echo {
namespace {

constexpr double part_of_chord = 1e-2;  // of the tolerance
constexpr int most_layouts = 5;         // each for half the spread of the one before

}  // namespace

Lines::Lines(const PowerLaw& law, double speed, std::complex<double> first, double step, int count,
             const DelayReach& reach, double tolerance) {
    frequencies_.step = step;
    for (int q = 0; q < count; ++q) {
        frequencies_.s.push_back(first + std::complex<double>(0.0, q * step));
        frequencies_.mu.push_back(speed * law.excess(frequencies_.s.back()));
    }
    if (count == 0) {
        return;
    }
    double spread = reach.spread;
    do {
        layouts_.emplace_back(frequencies_, law, speed, spread, tolerance);
        spread *= 0.5;
    } while (layouts_.size() < most_layouts && layouts_.back().nodes() > 12);
    choose_slabs(law, speed, reach.longest, tolerance);
}

Lines::Lines(const PowerLaw& law, double speed, std::span<const double> omegas,
             const DelayReach& reach, double tolerance) {
    for (const double omega : omegas) {
        frequencies_.s.emplace_back(0.0, omega);
        frequencies_.mu.push_back(speed * law.excess(frequencies_.s.back()));
    }
    layouts_.emplace_back(frequencies_, law, speed, reach.spread, tolerance);
    slabs_.assign(omegas.size() / slab + 1, {true, false, 0.0});
    rest_.resize(omegas.size());
}

std::size_t Lines::layout_for(double spread) const {
    std::size_t found = 0;
    while (found + 1 < layouts_.size() && spread <= layouts_[found + 1].spread()) {
        ++found;
    }
    return found;
}

int Lines::most_nodes() const {
    int most = 0;
    for (const NodeLayout& layout : layouts_) {
        most = std::max(most, layout.nodes());
    }
    return most;
}

double Lines::highest_node() const {
    double highest = 0.0;
    for (const NodeLayout& layout : layouts_) {
        highest = std::fmax(highest, layout.interpolates() ? 0.0 : layout.highest());
    }
    return std::fmax(highest, count() > 0 ? s(count() - 1).imag() : 0.0);
}

void Lines::choose_slabs(const PowerLaw& law, double speed, double longest, double tolerance) {
    rest_.resize(frequencies_.s.size());
    for (int begin = 0; begin < count(); begin += slab) {
        const std::complex<double> beyond =
            s(begin) + std::complex<double>(0.0, slab * frequencies_.step);
        const std::complex<double> slope =
            (speed * law.excess(beyond) - mu(begin)) / static_cast<double>(slab);
        double largest = 0.0;
        for (int q = begin; q < std::min(begin + slab, count()); ++q) {
            std::complex<double>& rest = rest_[static_cast<std::size_t>(q)];
            rest = mu(q) - (mu(begin) + static_cast<double>(q - begin) * slope);
            largest = std::fmax(largest, std::abs(rest) * longest);
        }
        const double allowed = part_of_chord * tolerance;
        slabs_.push_back({std::pow(largest, 4) / 24.0 > allowed, largest > allowed,
                          slope + std::complex<double>(0.0, frequencies_.step)});
    }
}

}  // namespace kavro::echo
