#include "transducers/circular/apodized_edge.h"

#include <cstdint>
#include <new>

#include "core/constants.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "transducers/circular/piston_apodization.h"

namespace kavro {

ApodizedEdge::ApodizedEdge(const CircularTransducer& disc, const QuadratureRule& rule)
    : size_(rule.order()) {
    constexpr int steps_of_sample = 8;  // a cosine
    require_room();
    InterruptCheck check;
    const double a = disc.radius;
    for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
        // Exactly, the prefactor's a/pi is taken back, and the sign is that of a step down.
        const double r = rule.abscissas[i] * (disc.exact() ? a / pi : a);
        const double radial_weight = disc.exact() ? -rule.weights[i] / pi : rule.weights[i] * a;
        const double slope =
            piston_apodization::derivative(disc.get_piston_apodization_index(), r, a);
        if (slope != 0.0) {
            check.spend(std::int64_t{steps_of_sample} * size_);
            rims_.emplace_back(rule, r, radial_weight * (disc.exact() ? 1.0 : pi) * (slope * r));
        }
    }
}

// Throws std::bad_alloc where as many rims as abscissas do not fit into the memory.
void ApodizedEdge::require_room() const {
    constexpr std::size_t bytes = 6 * sizeof(double);
    const auto n = static_cast<std::size_t>(size_);
    if (!fits_into_memory(n * n, bytes)) {
        throw std::bad_alloc();
    }
}

}  // namespace kavro
