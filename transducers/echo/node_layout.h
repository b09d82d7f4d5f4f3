// The fewer frequencies at which an element's own delays are resolved, and the way back to all.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "transducers/spectral/comb.h"
#include "transducers/spectral/power_law.h"

namespace kavro::echo {

// The frequencies of an echo: s_q, a step (rad/s) apart, and mu_q of each, see Comb.
struct Frequencies {
    std::vector<std::complex<double>> s, mu;
    double step = 0.0;  // 0 where they are any

    int count() const { return static_cast<int>(s.size()); }
};

// With the wave of the middle delay tau taken out, the transfer function of a small element, as a
// function of the complex s + mu, is smooth: it is summed at nodes on the imaginary axis, some
// frequencies apart, and interpolated to where losses and damping have it.
class NodeLayout {
public:
    // For delays within the spread (s) of the middle one. Nodes are all frequencies themselves
    // where that is cheaper, or nothing else keeps the tolerance.
    NodeLayout(const Frequencies& frequencies, const PowerLaw& law, double speed, double spread,
               double tolerance);

    double spread() const { return spread_; }
    // Whether delays must keep within the spread, as those of waves do that arrive.
    bool interpolates() const { return taps_ > 1; }

    // First the mirrored nodes, conjugates of those at positive frequencies.
    struct Run {
        Comb comb;
        int count;
    };
    const std::vector<Run>& runs() const { return runs_; }
    int mirrored() const { return mirrored_; }
    int nodes() const { return nodes_; }
    double highest() const { return highest_; }  // rad/s

    // Of a value: 1, or 4, 6, ... most_taps.
    static constexpr int most_taps = 12;
    int taps() const { return taps_; }
    int first_node(int q) const { return first_node_[static_cast<std::size_t>(q)]; }
    bool has_real_weights() const { return has_real_weights_; }
    const std::complex<double>* weights(int q) const {
        return weights_.data() + static_cast<std::size_t>(q) * static_cast<std::size_t>(taps_);
    }

private:
    struct Spacing;
    void take_all(const Frequencies& frequencies, const PowerLaw& law, double speed,
                  double tolerance);
    void place(const Frequencies& frequencies, const Spacing& spacing);

    double spread_;
    std::vector<Run> runs_;
    int mirrored_ = 0, nodes_ = 0, taps_ = 1;
    double highest_ = 0.0;
    std::vector<int> first_node_;
    bool has_real_weights_ = true;
    std::vector<std::complex<double>> weights_;
};

}  // namespace kavro::echo
