#include "transducers/blocks/lane_quadrature.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "transducers/blocks/edge_block.h"

namespace kavro {

template <class Real>
void lay_out_lanes(EdgeBlock<Real>& block, int more) {
    constexpr std::int32_t most_samples = 1 << 26;  // indices of lanes are 32-bit
    Lanes<std::int32_t>& next = block.samples;
    next.fill(0);
    for (RuleLanes& rule : block.quadrature.rules) {
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            rule.count[lane] = block.reached[lane] != 0 ? rule.count[lane] : 0;
            rule.start[lane] = next[lane];
            next[lane] += rule.count[lane];
        }
        if (*std::max_element(next.begin(), next.end()) > most_samples) {
            throw std::bad_alloc();
        }
    }
    block.grow(*std::max_element(next.begin(), next.end()) + more);
}

template <class Real>
void fill_up_lanes(EdgeBlock<Real>& block) {
    const bool with_excess = block.has_excess() || block.detail == EdgeDetail::from_middle;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        for (int i = block.samples[lane]; i < block.size; ++i) {
            const std::size_t at = static_cast<std::size_t>(i) * block_lanes + lane;
            block.coefficient[at] = Real(0);
            block.delay[at] = block.direct_delay[lane];
            if (with_excess) {
                block.excess[at] = Real(0);
            }
            if (block.has_gradient()) {
                block.gradient.across_coefficient[at] = Real(0);
                block.gradient.aside_coefficient[at] = Real(0);
            }
        }
    }
}

template void lay_out_lanes(EdgeBlock<float>& block, int more);
template void lay_out_lanes(EdgeBlock<double>& block, int more);
template void fill_up_lanes(EdgeBlock<float>& block);
template void fill_up_lanes(EdgeBlock<double>& block);

}  // namespace kavro
