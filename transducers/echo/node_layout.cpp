#include "transducers/echo/node_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>

#include "core/interrupted.h"
#include "transducers/echo/interpolation.h"

namespace kavro::echo {
namespace {

// Off axis the terms of a sum exceed it.
constexpr double part_of_interpolation = 3e-3;

// Of mu along a chord, where nodes are the frequencies themselves.
constexpr double loss_tolerance = 1e-11;

}  // namespace

// Nodes so many frequencies apart, so many of them to a value, from so many before the first on.
struct NodeLayout::Spacing {
    int stride, taps, before, count;

    Spacing(const Frequencies& frequencies, int stride_of, int taps_of)
        : stride(stride_of), taps(taps_of) {
        // Below frequency 0 nodes are mirrored, from 0 on.
        const double lowest = frequencies.s[0].imag();
        const double room = lowest == 0.0
                                ? taps
                                : std::fmin(std::floor(lowest / (stride * frequencies.step)), taps);
        before = std::min(taps / 2 - 1, static_cast<int>(room));
        count = std::max(before + (frequencies.count() - 1) / stride + taps / 2 + 1, taps);
    }

    static constexpr double of_node = 32.0 * 8.0 + 60.0;  // operations, of some 32 samples
    double cost(int frequencies) const { return of_node * count / frequencies + 4.0 * taps; }

    int start(int q) const {
        return std::clamp(before + q / stride - (taps / 2 - 1), 0, count - taps);
    }

    // Of s + mu, in steps from the first of its nodes.
    std::complex<double> position(const Frequencies& all, int q) const {
        const auto k = static_cast<std::size_t>(q);
        const std::complex<double> from_first(all.s[k].real(), q * all.step);
        return (from_first + all.mu[k]) / std::complex<double>(0.0, stride * all.step) +
               static_cast<double>(before - start(q));
    }

    // The largest at some frequencies, from the first to the last.
    double error(const Frequencies& all, double spread) const {
        const double most = all.step * stride * spread;
        double largest = most < 2.5 ? 0.0 : 1.0;
        const int apart = std::max(1, all.count() / 12 / stride * stride + stride / 2);
        for (int q = 0; q < all.count() && largest < 1.0; q += apart) {
            for (const int at : {q, all.count() - 1 - q}) {
                const std::complex<double> x = position(all, at);
                largest = std::fmax(largest, error_of(weights_at(x, taps, most), x, most));
            }
        }
        return largest;
    }
};

NodeLayout::NodeLayout(const Frequencies& frequencies, const PowerLaw& law, double speed,
                       double spread, double tolerance)
    : spread_(spread) {
    const int Q = frequencies.count();
    std::vector<Spacing> choices;
    for (const int stride : {2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128}) {
        for (int taps = 4; taps <= most_taps; taps += 2) {
            if (frequencies.step > 0.0 && Q > 2) {
                choices.emplace_back(frequencies, stride, taps);
            }
        }
    }
    std::sort(choices.begin(), choices.end(), [&](const Spacing& a, const Spacing& b) {
        return std::tuple(a.cost(Q), a.stride, a.taps) < std::tuple(b.cost(Q), b.stride, b.taps);
    });
    for (const Spacing& choice : choices) {
        if (choice.cost(Q) < Spacing::of_node &&
            choice.error(frequencies, spread) <= part_of_interpolation * tolerance) {
            place(frequencies, choice);
            return;
        }
    }
    take_all(frequencies, law, speed, tolerance);
}

void NodeLayout::take_all(const Frequencies& frequencies, const PowerLaw& law, double speed,
                          double tolerance) {
    const double accuracy = std::fmin(loss_tolerance, 1e-2 * tolerance);
    nodes_ = frequencies.count();
    if (frequencies.step > 0.0) {
        runs_.push_back(
            {Comb(law, speed, frequencies.s[0], frequencies.step, nodes_, spread_, accuracy),
             nodes_});
    }
    for (int q = 0; q < nodes_; ++q) {
        const std::complex<double> s = frequencies.s[static_cast<std::size_t>(q)];
        if (frequencies.step == 0.0) {
            runs_.push_back({Comb(law, speed, s, 0.0, 1, spread_, accuracy), 1});
        }
        first_node_.push_back(q);
        highest_ = std::fmax(highest_, s.imag());
    }
    weights_.assign(first_node_.size(), 1.0);
}

void NodeLayout::place(const Frequencies& frequencies, const Spacing& spacing) {
    constexpr std::int64_t steps_of_weights = 4000;
    InterruptCheck check;
    const double apart = frequencies.step * spacing.stride;
    taps_ = spacing.taps;
    // Without losses and damping, those of the same place between nodes.
    std::vector<std::vector<std::complex<double>>> known(static_cast<std::size_t>(spacing.stride));
    for (int q = 0; q < frequencies.count(); ++q) {
        const std::complex<double> position = spacing.position(frequencies, q);
        const bool is_inner = position.imag() == 0.0 && position.real() >= taps_ / 2 - 1 &&
                              position.real() < taps_ / 2;
        std::vector<std::complex<double>> at;
        std::vector<std::complex<double>>& former =
            known[static_cast<std::size_t>(q % spacing.stride)];
        if (is_inner && !former.empty()) {
            at = former;
        } else {
            check.spend(steps_of_weights);
            at = weights_at(position, taps_, apart * spread_);
        }
        if (is_inner) {
            former = at;
        }
        for (const std::complex<double>& weight : at) {
            has_real_weights_ = has_real_weights_ && weight.imag() == 0.0;
            weights_.push_back(weight);
        }
        first_node_.push_back(spacing.start(q));
    }
    const double lowest = frequencies.s[0].imag();
    mirrored_ = lowest == 0.0 ? spacing.before : 0;
    nodes_ = spacing.count;
    const double first = lowest - (spacing.before - mirrored_) * apart;
    const int own = nodes_ - mirrored_;
    const PowerLaw lossless(Medium(), 1.0);
    runs_.push_back({Comb(lossless, 1.0, {0.0, first}, apart, own, spread_, 1.0), own});
    highest_ = first + (own - 1) * apart;
}

}  // namespace kavro::echo
