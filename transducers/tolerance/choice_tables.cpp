#include "transducers/tolerance/choice_tables.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/constants.h"

namespace kavro {
namespace {

template <class Function>
Growth tabulated(Function growth) {
    Growth table{};
    double eta = 0.09;
    for (std::size_t j = 0; j < table.inverse.size(); ++j, eta *= 1.4) {
        table.inverse[j] = static_cast<float>(1.0 / eta);
        table.relative[j] = static_cast<float>(std::min(growth(eta), 1e30) / eta);
    }
    return table;
}

double growth_of_parabola(double eta) {
    constexpr int steps = 200;
    double largest = 0.0;
    for (int i = 1; i < steps; ++i) {
        const double theta = pi * i / steps;
        largest = std::max(
            largest, (1.0 + std::cosh(eta) * std::cos(theta)) * std::sinh(eta) * std::sin(theta));
    }
    return largest;
}

}  // namespace

const ChoiceTables& choice_tables() {
    static const ChoiceTables tables{
        tabulated([](double eta) { return std::sinh(eta); }),
        tabulated([](double eta) { return std::sinh(half_pi * std::sinh(eta)); }),
        tabulated(growth_of_parabola),
        &rim_ladder<double>().midpoint,
        &rim_ladder<double>().gauss,
        &line_ladder<double>().gauss};
    return tables;
}

void note_shortfall(const Asked& asked, double tolerance, LaneQuadrature& out) {
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const double given = static_cast<double>(asked.given[lane]);
        const auto note = [&](double log_excess, Shortfall why) {
            const double error = std::min(1.0, tolerance * std::exp(log_excess));
            if (error > out.error[lane]) {
                out.error[lane] = error;
                out.shortfall[lane] = why;
            }
        };
        const auto note_end = [&](double wanted, double power, Shortfall why) {
            if (wanted > given) {
                note(power * std::log(wanted / given), why);
            }
        };
        note_end(static_cast<double>(asked.jump[lane]), 1.0, Shortfall::jump);
        note_end(static_cast<double>(asked.kink[lane]),
                 static_cast<double>(asked.kink_order[lane]) + 1.0, Shortfall::kink);
        // What is smooth falls like e^(-margin n / wanted).
        const double wanted = static_cast<double>(asked.spectrum[lane]);
        if (wanted > given) {
            note(static_cast<double>(asked.margin[lane]) * (1.0 - given / wanted), Shortfall::edge);
        }
    }
}

}  // namespace kavro
