#include "transducers/echo/node_sums.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace kavro::echo {
namespace {

// All passes of the generator, the direct wave of each behind its own. Direct waves farther from
// the middle one than the spread are none: beside a face their coefficient is 0 but for errors of
// quadrature.
void gather(const EdgeGenerator<double>& edge, double spread, const double* middle,
            EdgeBlock<double>& block, CombSamples& samples) {
    samples.count = 0;
    const int passes = edge.passes(block);
    for (int pass = 0; pass < passes; ++pass) {
        edge.sample(block, pass);
        const auto held = static_cast<std::size_t>(samples.count) * block_lanes;
        const auto n = static_cast<std::size_t>(block.size);
        samples.count += block.size + 1;
        const std::size_t needed = held + (n + 1) * block_lanes;
        samples.coefficient.resize(std::max(samples.coefficient.size(), needed));
        samples.delay.resize(samples.coefficient.size());
        double* const coefficient = samples.coefficient.data() + held;
        double* const delay = samples.delay.data() + held;
        Lanes<std::int32_t> own;
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            own[lane] = block.reached[lane] != 0 ? block.samples_of(lane) : 0;
        }
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t lane = 0; lane < block_lanes; ++lane) {
                const std::size_t at = i * block_lanes + lane;
                const bool is_own = static_cast<std::int32_t>(i) < own[lane];
                coefficient[at] = is_own ? block.coefficient[at] : 0.0;
                delay[at] = is_own ? block.delay[at] - middle[lane] : 0.0;
            }
        }
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const std::size_t at = n * block_lanes + lane;
            const double off = block.direct_delay[lane] - middle[lane];
            const bool comes = block.reached[lane] != 0 && std::fabs(off) <= spread;
            coefficient[at] = comes ? -block.coefficient_sum[lane] : 0.0;
            delay[at] = comes ? off : 0.0;
        }
    }
}

}  // namespace

const NodeLayout& sum_at_nodes(const Face& face, const Lanes<CartesianCoordinate>& points,
                               const Lines& lines, NodeRoom& room, double* re, double* im,
                               double* middle) {
    const Transducer& element = *face.element;
    const double speed = element.medium->_soundspeed;
    EdgeBlock<double>& block = room.block;
    block.resize(face.edge->size());
    double widest = 0.0;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const CartesianCoordinate local = element.rotateTranslate(points[lane]);
        block.x[lane] = local.x;
        block.y[lane] = local.y;
        block.z[lane] = local.z;
        const ApertureDistances reach = element.distances(local);
        middle[lane] = 0.5 * (reach.nearest + reach.farthest) / speed;
        widest = std::fmax(widest, 0.5 * (reach.farthest - reach.nearest) / speed);
    }
    const NodeLayout& layout = lines.layouts()[lines.layout_for(widest)];
    const double spread = layout.interpolates() ? layout.spread() * (1.0 + 1e-9)
                                                : std::numeric_limits<double>::infinity();
    gather(*face.edge, spread, middle, block, room.samples);

    const auto nodes = static_cast<std::size_t>(layout.nodes()) * block_lanes;
    const auto mirrored = static_cast<std::size_t>(layout.mirrored()) * block_lanes;
    std::fill(re, re + nodes, 0.0);
    std::fill(im, im + nodes, 0.0);
    std::size_t at = mirrored;
    for (const NodeLayout::Run& run : layout.runs()) {
        room.points.wanted.fill(run.count);
        add_spectrum(run.comb, room.samples, room.points, {0, re + at, im + at});
        at += static_cast<std::size_t>(run.count) * block_lanes;
    }
    for (std::size_t k = 0; k < mirrored; k += block_lanes) {
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            re[k + lane] = re[2 * mirrored - k + lane];
            im[k + lane] = -im[2 * mirrored - k + lane];
        }
    }
    return layout;
}

}  // namespace kavro::echo
