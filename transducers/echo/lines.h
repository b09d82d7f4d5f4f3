// The frequencies of an echo, and what a wave's way makes of them.
#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "transducers/echo/node_layout.h"

namespace kavro::echo {

// Seconds that delays reach.
struct DelayReach {
    double longest;  // of any wave on one way
    double spread;   // of waves of one element at one point, from the middle one
};

// The factor e^(-(s + mu) tau) of the middle delay tau at each frequency follows from that of the
// one before; at the beginning of a slab it is formed anew.
class Lines {
public:
    // s_q = first + j q step.
    Lines(const PowerLaw& law, double speed, std::complex<double> first, double step, int count,
          const DelayReach& reach, double tolerance);
    // Of any frequencies (rad/s).
    Lines(const PowerLaw& law, double speed, std::span<const double> omegas,
          const DelayReach& reach, double tolerance);

    int count() const { return frequencies_.count(); }
    std::complex<double> s(int q) const { return frequencies_.s[static_cast<std::size_t>(q)]; }
    std::complex<double> mu(int q) const { return frequencies_.mu[static_cast<std::size_t>(q)]; }

    // Layouts of nodes for smaller and smaller spreads, as points farther off have; the first one
    // serves all.
    const std::vector<NodeLayout>& layouts() const { return layouts_; }
    std::size_t layout_for(double spread) const;
    int most_nodes() const;
    double highest_node() const;  // rad/s

    static constexpr int slab = 32;
    struct Slab {
        bool exact;  // every factor for itself
        bool bent;   // what the chord leaves counts to the third order
        std::complex<double> rate;
    };
    const Slab& slab_of(int q) const { return slabs_[static_cast<std::size_t>(q / slab)]; }
    std::complex<double> rest(int q) const { return rest_[static_cast<std::size_t>(q)]; }

private:
    void choose_slabs(const PowerLaw& law, double speed, double longest, double tolerance);

    Frequencies frequencies_;
    std::vector<NodeLayout> layouts_;
    std::vector<Slab> slabs_;
    std::vector<std::complex<double>> rest_;
};

}  // namespace kavro::echo
