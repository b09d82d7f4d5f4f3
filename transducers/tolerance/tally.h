// Counts what points choose of abscissas.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "core/coordinate_grid.h"
#include "transducers/blocks/lane_quadrature.h"
#include "transducers/quadrature_report.h"

namespace kavro {

// Of one thread. Threads take different points.
class TallyPart {
public:
    // For a grid of which these points have been counted before.
    explicit TallyPart(std::vector<std::uint8_t>& points) : points_(points) {}

    // The choice of the first so many lanes of a block, whose first point has this index.
    void note(int first, int present, const LaneQuadrature& quadrature);

    // A point that has been noted misses the tolerance for another reason.
    void note_miss(std::int32_t point, double error, Shortfall reason);

    // Adds to a report; `sum` and `count` of abscissas become its mean at the end.
    void add_to(QuadratureReport& report, std::int64_t& sum, std::int64_t& count) const;

private:
    std::vector<std::uint8_t>& points_;
    QuadratureReport part_;
    std::int64_t sum_ = 0;
    std::int64_t count_ = 0;
};

// Of a call. Sums are integers and extremes have one order, so that neither threads nor tiles show.
class QuadratureTally {
public:
    // The elements that follow share this grid.
    void begin(const CoordinateGrid& grid);

    // For a thread of the region that follows; may be called by all of them.
    TallyPart* part();

    QuadratureReport report();

private:
    void finish_grid();

    const CoordinateGrid* grid_ = nullptr;
    std::vector<std::uint8_t> points_;  // of the grid: whether reached, and whether missed
    std::mutex mutex_;
    std::vector<std::unique_ptr<TallyPart>> parts_;
    QuadratureReport report_;
    std::int64_t sum_ = 0;
    std::int64_t count_ = 0;
};

}  // namespace kavro
