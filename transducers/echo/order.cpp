#include "transducers/echo/order.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace kavro::echo {
namespace {

constexpr int bits = 10;  // cells along the longest side: 2^bits

// Two zeros behind each bit.
std::uint32_t spread_out(std::uint32_t cell) {
    std::uint32_t spread = 0;
    for (unsigned i = 0; i < bits; ++i) {
        spread |= (cell >> i & 1u) << (3 * i);
    }
    return spread;
}

}  // namespace

std::vector<std::uint32_t> order_in_space(std::span<const Scatterer> scatterers) {
    if (scatterers.empty()) {
        return {};
    }
    CartesianCoordinate low = scatterers[0].position, high = low;
    for (const Scatterer& at : scatterers) {
        low = {std::min(low.x, at.position.x), std::min(low.y, at.position.y),
               std::min(low.z, at.position.z)};
        high = {std::max(high.x, at.position.x), std::max(high.y, at.position.y),
                std::max(high.z, at.position.z)};
    }
    const double side = std::max({high.x - low.x, high.y - low.y, high.z - low.z});
    const double scale = side > 0.0 ? (1 << bits) / side : 0.0;
    const auto cell = [&](double x, double least) {
        const double at = std::min((x - least) * scale, static_cast<double>((1 << bits) - 1));
        return spread_out(static_cast<std::uint32_t>(at));
    };
    std::vector<std::pair<std::uint32_t, std::uint32_t>> keys(scatterers.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const CartesianCoordinate& p = scatterers[i].position;
        keys[i] = {cell(p.x, low.x) | cell(p.y, low.y) << 1 | cell(p.z, low.z) << 2,
                   static_cast<std::uint32_t>(i)};
    }
    std::sort(keys.begin(), keys.end());
    std::vector<std::uint32_t> order(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        order[i] = keys[i].second;
    }
    return order;
}

}  // namespace kavro::echo
