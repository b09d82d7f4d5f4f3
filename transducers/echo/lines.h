// The frequencies of an echo, and the fewer ones at which an element's own delays are resolved.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "transducers/spectral/comb.h"
#include "transducers/spectral/power_law.h"

namespace kavro::echo {

// Seconds that delays reach.
struct DelayReach {
    double longest;  // of any wave on one way
    double spread;   // of waves of one element at one point, from the middle one
};

// With the wave of the middle delay tau taken out, the transfer function of a small element, as a
// function of the complex s + mu (mu as of Comb), is smooth: it is summed at nodes on the imaginary
// axis, some frequencies apart, and interpolated to where losses and damping have it. The factor
// e^(-(s + mu) tau) of each frequency follows from that of the one before; at the beginning of a
// slab it is formed anew.
class Lines {
public:
    // s_q = first + j q step.
    Lines(const PowerLaw& law, double speed, std::complex<double> first, double step, int count,
          const DelayReach& reach, double tolerance);
    // Of any frequencies (rad/s).
    Lines(const PowerLaw& law, double speed, std::span<const double> omegas,
          const DelayReach& reach);

    int count() const { return static_cast<int>(s_.size()); }
    std::complex<double> s(int q) const { return s_[static_cast<std::size_t>(q)]; }
    std::complex<double> mu(int q) const { return mu_[static_cast<std::size_t>(q)]; }

    // ---- nodes: first the mirrored ones, conjugates of those at positive frequencies
    struct NodeRun {
        Comb comb;
        int count;
    };
    const std::vector<NodeRun>& node_runs() const { return node_runs_; }
    int mirrored() const { return mirrored_; }
    int nodes() const { return nodes_; }
    double highest_node() const { return highest_node_; }  // rad/s
    // Whether delays must keep within the spread, as those of waves do that arrive.
    bool interpolates() const { return taps_ > 1; }
    double spread() const { return spread_; }

    // ---- from nodes to frequencies
    int taps() const { return taps_; }
    int first_node(int q) const { return first_node_[static_cast<std::size_t>(q)]; }
    bool has_real_weights() const { return has_real_weights_; }
    const std::complex<double>* weights(int q) const {
        return weights_.data() + static_cast<std::size_t>(q) * static_cast<std::size_t>(taps_);
    }

    static constexpr int slab = 32;
    struct Slab {
        bool exact;  // every factor for itself
        bool bent;   // the rest counts to the third order
        std::complex<double> rate;
    };
    const Slab& slab_of(int q) const { return slabs_[static_cast<std::size_t>(q / slab)]; }
    std::complex<double> rest(int q) const { return rest_[static_cast<std::size_t>(q)]; }

private:
    struct Spacing;
    void choose_nodes(const PowerLaw& law, double speed, double step, double tolerance);
    void place_nodes(const Spacing& spacing, double step);
    double error_of(const Spacing& spacing, double step) const;
    int start_of(const Spacing& spacing, int q) const;
    std::complex<double> position_of(const Spacing& spacing, double step, int q) const;
    void choose_slabs(const PowerLaw& law, double speed, double step, double longest,
                      double tolerance);

    std::vector<std::complex<double>> s_, mu_, rest_;
    std::vector<NodeRun> node_runs_;
    int mirrored_ = 0, nodes_ = 0, taps_ = 1;
    double highest_node_ = 0.0, spread_ = 0.0;
    std::vector<int> first_node_;
    bool has_real_weights_ = true;
    std::vector<std::complex<double>> weights_;
    std::vector<Slab> slabs_;
};

}  // namespace kavro::echo
