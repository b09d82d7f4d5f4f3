// Which samples of the time axis a delayed waveform of finite duration touches.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/counts.h"
#include "core/time_samples.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/departures.h"

namespace kavro {

// Values that kernels over samples may read, and write, behind those that count.
inline constexpr std::size_t vector_slack = 4 * block_lanes;

// The windows of one element on an evenly spaced time axis. The first sample is rounded up and the
// last rounded down from quotients in double, with the first sample's time, the duration and the
// inverse step in the precision of the method: these roundings decide which samples a wave touches
// and are the same on every machine. Indices saturate; what is not a number gives an empty window.
struct WindowRule {
    double time_delay;
    double first_time;
    double duration;
    double inverse_step;
    std::int32_t ntimes;
    bool direct_begin_rounded_down = false;  // of the direct wave's window only

    // Rounded to the precision of the method, Real.
    template <class Real>
    static WindowRule rounded_to(const TimeSamples& times, double delay, double w) {
        return {delay, static_cast<double>(static_cast<Real>(times.time_index_value(0))),
                static_cast<double>(static_cast<Real>(w)),
                static_cast<double>(Real(1) / static_cast<Real>(times.deltat())), times.ntimes};
    }
};

// The windows of a block. Empty windows, and those of points that are not reached, are stored as
// {-1, -1}; ends beyond the last sample as ntimes. Like the edge block, with room for the direct
// wave as a last edge sample.
struct WindowBlock {
    AlignedVector<std::int32_t> begin, end;        // of edge sample (i, lane)
    Lanes<std::int32_t> direct_begin, direct_end;  // of the direct wave
    Lanes<std::int32_t> earliest, latest;          // over all waves of a lane: none where empty

    explicit WindowBlock(int edge_samples)
        : begin((static_cast<std::size_t>(edge_samples) + 1) * block_lanes),
          end(begin.size()),
          direct_begin{},
          direct_end{},
          earliest{},
          latest{} {}

    void resize(int edge_samples) {
        const auto needed = (static_cast<std::size_t>(edge_samples) + 1) * block_lanes;
        if (needed > begin.size()) {
            begin.resize(needed);
            end.resize(needed);
        }
    }

    // All samples that any wave of a lane touches.
    SampleWindow rows(std::size_t lane) const { return {earliest[lane], latest[lane]}; }
};

void find_windows(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<float>& edge,
                  WindowBlock& windows);
void find_windows(const WindowRule& rule, DirectWaveBy by, const EdgeBlock<double>& edge,
                  WindowBlock& windows);

}  // namespace kavro
