#include "core/rule_ladder.h"

#include <cmath>
#include <cstddef>

#include "core/constants.h"
#include "core/quadrature_rule.h"

namespace kavro {
namespace {

// 0 for the two rungs between 2, 3 and 4.
int order_of(int rung) {
    return rung == 1 || rung == 3 ? 0 : (4 + rung % 4) << (rung / 4) >> 1;
}

// Calls fill(order) for each rung, and notes where in a table of so many entries it begins.
template <class Size, class Fill>
RungOffsets filled(Size size, Fill fill) {
    RungOffsets offsets{};
    for (int rung = 0; rung < ladder::rungs; ++rung) {
        offsets[static_cast<std::size_t>(rung)] = static_cast<std::int32_t>(size());
        if (order_of(rung) > 0) {
            fill(order_of(rung));
        }
    }
    return offsets;
}

template <class Real>
RimLadder<Real> make_rims() {
    RimLadder<Real> made;
    const auto add = [&](double phi, double weight) {
        const double h = std::sin(phi / 2.0);
        made.cosine.push_back(static_cast<Real>(std::cos(phi)));
        made.turn.push_back(static_cast<Real>(2.0 * (h * h)));
        made.weight.push_back(static_cast<Real>(weight));
    };
    const auto size = [&] { return made.weight.size(); };
    made.midpoint = filled(size, [&](int n) {
        for (int i = 0; i < n; ++i) {
            add((i + 0.5) * pi / n, pi / n);
        }
    });
    made.gauss = filled(size, [&](int n) {
        const QuadratureRule rule = gauss_rule(n)->mapped(0.0, pi);
        for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
            add(rule.abscissas[i], rule.weights[i]);
        }
    });
    return made;
}

template <class Real>
LineLadder<Real> make_lines() {
    LineLadder<Real> made;
    made.gauss = filled([&] { return made.weight.size(); },
                        [&](int n) {
                            const QuadratureRule rule = gauss_rule(n)->mapped(0.0, 1.0);
                            for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
                                made.abscissa.push_back(static_cast<Real>(rule.abscissas[i]));
                                made.weight.push_back(static_cast<Real>(rule.weights[i]));
                            }
                        });
    return made;
}

}  // namespace

template <class Real>
const RimLadder<Real>& rim_ladder() {
    static const RimLadder<Real> rules = make_rims<Real>();
    return rules;
}

template <class Real>
const LineLadder<Real>& line_ladder() {
    static const LineLadder<Real> rules = make_lines<Real>();
    return rules;
}

template const RimLadder<float>& rim_ladder();
template const RimLadder<double>& rim_ladder();
template const LineLadder<float>& line_ladder();
template const LineLadder<double>& line_ladder();

}  // namespace kavro
