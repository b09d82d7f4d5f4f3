#include "transducers/decomposition/active_sums.h"

#include <algorithm>
#include <cstddef>

namespace kavro {
namespace {

// More rows than these leave the near cache.
constexpr std::size_t most_swept_rows = 4096;

// Samples that the points of a block hear: on average, and the most of one.
struct Heard {
    std::size_t mean = 0;
    std::size_t most = 0;

    explicit Heard(const WindowBlock& windows) {
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const SampleWindow own = windows.rows(lane);
            const auto samples = static_cast<std::size_t>(std::max(own.end - own.begin, 0));
            mean += samples;
            most = std::max(most, samples);
        }
        mean /= block_lanes;
    }
};

// Whether the block costs less row by row: a row there takes a fraction of what its samples take
// point by point, but all lanes go through all rows, and an edge wave's changes cost more the
// farther the lanes hear it apart. In tenths of a row's time, as measured with AVX-512; narrower
// vectors keep these proportions.
bool is_dense(std::size_t rows, std::size_t heard, int edge_samples) {
    const auto n = static_cast<std::size_t>(edge_samples);
    const std::size_t apart = std::min<std::size_t>(rows - heard, 2 * block_lanes);
    return 10 * rows + 13 * n * apart < 37 * heard + 90 * n;
}

// Zeros where there is not enough room; more than needed, as the blocks to come grow little by
// little.
template <class Vector>
void grow(Vector& values, std::size_t needed) {
    if (values.size() < needed) {
        values.assign(std::max(needed, 2 * values.size()), 0);
    }
}

}  // namespace

template <class Real>
LaneSet scale_edge_waves(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    const auto rows = static_cast<std::size_t>(block.rows.end - block.rows.begin);
    const Heard heard(*block.windows);
    const auto fours = static_cast<std::size_t>(block.terms + 3) / 4;
    grow(scratch.scaled, static_cast<std::size_t>(block.samples) * block_lanes * 4 * fours);
    grow(scratch.unscale, fours * 4 * block_lanes);
    scratch.by_rows = block.direct_values == nullptr && rows <= most_swept_rows &&
                      is_dense(rows, heard.mean, block.samples);
    if (scratch.by_rows) {
        const LaneSet left_out = scale_block(block, scratch);
        if (left_out == 0) {
            grow(scratch.changes, (rows + 1) * terms_at_a_time * block_lanes);
            grow(scratch.series, rows * block_lanes);
            return 0;
        }
        scratch.by_rows = false;
    }
    const std::size_t samples = heard.most + 1 + vector_slack;
    grow(scratch.changes, samples * terms_at_a_time);
    scratch.stride = samples + samples_of_group;
    grow(scratch.series, scratch.stride * block_lanes);
    return scale_block(block, scratch);
}

template <class Real>
void add_wave_block(const WaveBlock<Real>& block, ActiveSumsScratch<Real>& scratch) {
    scratch.by_rows ? add_by_rows(block, scratch) : add_by_points(block, scratch);
}

template LaneSet scale_edge_waves(const WaveBlock<float>&, ActiveSumsScratch<float>&);
template LaneSet scale_edge_waves(const WaveBlock<double>&, ActiveSumsScratch<double>&);
template void add_wave_block(const WaveBlock<float>&, ActiveSumsScratch<float>&);
template void add_wave_block(const WaveBlock<double>&, ActiveSumsScratch<double>&);

}  // namespace kavro
