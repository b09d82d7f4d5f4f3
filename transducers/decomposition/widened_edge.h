// An edge generator of single precision for sums in double precision.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "transducers/blocks/edge_block.h"

namespace kavro {

// The geometry as single precision rounds it, widened. Stateless apart from the inner generator, so
// the single-precision block is made for every call.
class WidenedEdge : public EdgeGenerator<double> {
public:
    explicit WidenedEdge(std::unique_ptr<EdgeGenerator<float>> inner) : inner_(std::move(inner)) {}

    int size() const override { return inner_->size(); }

    void sample(EdgeBlock<double>& block, int pass) const override {
        EdgeBlock<float> narrow(size());
        const auto round = [](double value) { return static_cast<float>(value); };
        std::transform(block.x.begin(), block.x.end(), narrow.x.begin(), round);
        std::transform(block.y.begin(), block.y.end(), narrow.y.begin(), round);
        std::transform(block.z.begin(), block.z.end(), narrow.z.begin(), round);
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            narrow.unrounded[lane] = {block.x[lane], block.y[lane], block.z[lane]};
        }
        inner_->sample(narrow, pass);
        block.grow(narrow.size);
        block.samples = narrow.samples;
        block.quadrature = narrow.quadrature;
        const auto samples = static_cast<std::ptrdiff_t>(narrow.size) * block_lanes;
        std::copy_n(narrow.coefficient.begin(), samples, block.coefficient.begin());
        std::copy_n(narrow.delay.begin(), samples, block.delay.begin());
        std::copy(narrow.coefficient_sum.begin(), narrow.coefficient_sum.end(),
                  block.coefficient_sum.begin());
        std::copy(narrow.direct_delay.begin(), narrow.direct_delay.end(),
                  block.direct_delay.begin());
        std::copy(narrow.direct_begin.begin(), narrow.direct_begin.end(),
                  block.direct_begin.begin());
        std::copy(narrow.direct_end.begin(), narrow.direct_end.end(), block.direct_end.begin());
        block.reached = narrow.reached;
    }

private:
    std::unique_ptr<EdgeGenerator<float>> inner_;
};

}  // namespace kavro
