#include "transducers/echo/lines.h"

#include <algorithm>
#include <cmath>

#include "transducers/echo/interpolation.h"

namespace kavro::echo {
namespace {

// Off axis the terms of a sum exceed it.
constexpr double part_of_interpolation = 1e-3;
constexpr double part_of_chord = 1e-2;

// Of mu along a chord, before it is bent to the third order, too.
constexpr double loss_tolerance = 1e-11;

}  // namespace

// Nodes so many frequencies apart, so many of them to a value, from so many before the first on.
struct Lines::Spacing {
    int stride, taps, before, count;

    Spacing(int stride_of, int taps_of, int most_before, int frequencies)
        : stride(stride_of),
          taps(taps_of),
          before(std::clamp(taps_of / 2 - 1, 0, most_before)),
          count(std::max(before + (frequencies - 1) / stride + taps / 2 + 1, taps)) {}

    // Operations for a value, of an element of so many edge samples.
    double cost(int frequencies) const {
        constexpr double samples = 32.0, of_node = samples * 8.0 + 60.0;
        return of_node * count / frequencies + 4.0 * taps;
    }
};

Lines::Lines(const PowerLaw& law, double speed, std::complex<double> first, double step, int count,
             const DelayReach& reach, double tolerance)
    : spread_(reach.spread) {
    for (int q = 0; q <= count; ++q) {
        const std::complex<double> at = first + std::complex<double>(0.0, q * step);
        mu_.push_back(speed * law.excess(at));
        if (q < count) {
            s_.push_back(at);
        }
    }
    if (count > 0) {
        choose_nodes(law, speed, step, tolerance);
        choose_slabs(law, speed, step, reach.longest, tolerance);
    }
}

Lines::Lines(const PowerLaw& law, double speed, std::span<const double> omegas,
             const DelayReach& reach)
    : spread_(reach.spread) {
    for (const double omega : omegas) {
        s_.emplace_back(0.0, omega);
        mu_.push_back(speed * law.excess(s_.back()));
        node_runs_.push_back({Comb(law, speed, s_.back(), 0.0, 1, spread_, loss_tolerance), 1});
        first_node_.push_back(nodes_++);
        weights_.push_back(1.0);
        highest_node_ = std::fmax(highest_node_, omega);
    }
    rest_.resize(s_.size());
    slabs_.assign(s_.size() / slab + 1, {true, false, 0.0});
}

void Lines::choose_nodes(const PowerLaw& law, double speed, double step, double tolerance) {
    const int Q = count();
    const double lowest = s_[0].imag();
    std::vector<Spacing> choices;
    for (const int stride : {2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64}) {
        for (const int taps : {4, 6, 8, 10, 12}) {
            // Below frequency 0 nodes are mirrored, from 0 on.
            const double room = lowest == 0.0 ? taps : std::floor(lowest / (stride * step));
            choices.emplace_back(stride, taps, static_cast<int>(std::fmin(room, taps)), Q);
        }
    }
    std::stable_sort(choices.begin(), choices.end(),
                     [&](const Spacing& a, const Spacing& b) { return a.cost(Q) < b.cost(Q); });
    Spacing every(1, 1, 0, Q);
    every.count = Q;
    const auto suits = [&](const Spacing& choice) {
        return choice.cost(Q) < every.cost(Q) &&
               error_of(choice, step) <= part_of_interpolation * tolerance;
    };
    const auto found = std::find_if(choices.begin(), choices.end(), suits);
    if (found != choices.end()) {
        place_nodes(*found, step);
        return;
    }
    nodes_ = Q;
    node_runs_.push_back(
        {Comb(law, speed, s_[0], step, Q, spread_, std::fmin(loss_tolerance, 1e-2 * tolerance)),
         Q});
    highest_node_ = s_.back().imag();
    weights_.assign(s_.size(), 1.0);
    for (int q = 0; q < Q; ++q) {
        first_node_.push_back(q);
    }
}

int Lines::start_of(const Spacing& spacing, int q) const {
    const int wished = spacing.before + q / spacing.stride - (spacing.taps / 2 - 1);
    return std::clamp(wished, 0, spacing.count - spacing.taps);
}

// Of s + mu, in steps from the first of its nodes.
std::complex<double> Lines::position_of(const Spacing& spacing, double step, int q) const {
    const std::complex<double> from_first = s(q) + mu(q) - std::complex<double>(0, s_[0].imag());
    return from_first / std::complex<double>(0.0, spacing.stride * step) +
           static_cast<double>(spacing.before - start_of(spacing, q));
}

// The largest of some frequencies, from the first to the last.
double Lines::error_of(const Spacing& spacing, double step) const {
    const double most = step * spacing.stride * spread_;
    double largest = most < 2.5 ? 0.0 : 1.0;
    const int apart =
        std::max(1, count() / 12 / spacing.stride * spacing.stride + spacing.stride / 2);
    for (int q = 0; q < count() && largest < 1.0; q += apart) {
        for (const int at : {q, count() - 1 - q}) {
            largest = std::fmax(
                largest, weights_at(position_of(spacing, step, at), spacing.taps, most).error);
        }
    }
    return largest;
}

void Lines::place_nodes(const Spacing& spacing, double step) {
    const double apart = step * spacing.stride;
    taps_ = spacing.taps;
    weights_.reserve(s_.size() * static_cast<std::size_t>(taps_));
    for (int q = 0; q < count(); ++q) {
        const NodeWeights at = weights_at(position_of(spacing, step, q), taps_, apart * spread_);
        for (const std::complex<double>& weight : at.weights) {
            has_real_weights_ = has_real_weights_ && weight.imag() == 0.0;
            weights_.push_back(weight);
        }
        first_node_.push_back(start_of(spacing, q));
    }
    mirrored_ = s_[0].imag() == 0.0 ? spacing.before : 0;
    nodes_ = spacing.count;
    const double first = s_[0].imag() - (spacing.before - mirrored_) * apart;
    const int own = nodes_ - mirrored_;
    const PowerLaw lossless(Medium(), 1.0);
    node_runs_.push_back(
        {Comb(lossless, 1.0, {0.0, first}, apart, own, spread_, loss_tolerance), own});
    highest_node_ = first + (own - 1) * apart;
}

void Lines::choose_slabs(const PowerLaw& law, double speed, double step, double longest,
                         double tolerance) {
    rest_.resize(s_.size());
    for (int begin = 0; begin < count(); begin += slab) {
        const std::complex<double> beyond =
            s_[static_cast<std::size_t>(begin)] + std::complex<double>(0.0, slab * step);
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
                          slope + std::complex<double>(0.0, step)});
    }
}

}  // namespace kavro::echo
