#include "transducers/tolerance/tally.h"

#include <algorithm>
#include <cstddef>

namespace kavro {
namespace {

constexpr std::uint8_t seen = 1;
constexpr std::uint8_t missed = 2;

void take_worst(QuadratureReport& report, std::int32_t point, double error, Shortfall reason) {
    if (error > report.worst_error ||
        (error == report.worst_error && error > 0.0 && point < report.worst_point)) {
        report.worst_point = point;
        report.worst_error = error;
        report.reason = reason;
    }
}

void take_extremes(QuadratureReport& report, std::int32_t fewest, std::int32_t most) {
    report.fewest = report.fewest == 0 ? fewest : std::min(report.fewest, fewest);
    report.most = std::max(report.most, most);
}

}  // namespace

const char* text_of(Shortfall shortfall) {
    switch (shortfall) {
        case Shortfall::jump:
            return "The waveform begins or ends with a jump.";
        case Shortfall::kink:
            return "The waveform begins or ends with a kink.";
        case Shortfall::edge:
            return "The point lies next to an edge.";
        case Shortfall::band:
            return "The losses leave too much beyond the highest frequency that is computed.";
        default:
            return "";
    }
}

void TallyPart::note(int first, int present, const LaneQuadrature& quadrature) {
    for (std::size_t lane = 0; lane < static_cast<std::size_t>(present); ++lane) {
        bool reached = false;
        for (const RuleLanes& rule : quadrature.rules) {
            const std::int32_t n = rule.count[lane];
            if (n > 0) {
                reached = true;
                sum_ += n;
                ++count_;
                take_extremes(part_, n, n);
            }
        }
        if (!reached) {
            continue;
        }
        const std::int32_t point = first + static_cast<std::int32_t>(lane);
        const double error = quadrature.error[lane];
        points_[static_cast<std::size_t>(point)] |= error > 0.0 ? seen | missed : seen;
        take_worst(part_, point, error, quadrature.shortfall[lane]);
    }
}

void TallyPart::note_miss(std::int32_t point, double error, Shortfall reason) {
    points_[static_cast<std::size_t>(point)] |= missed;
    take_worst(part_, point, error, reason);
}

void TallyPart::add_to(QuadratureReport& report, std::int64_t& sum, std::int64_t& count) const {
    sum += sum_;
    count += count_;
    if (count_ > 0) {
        take_extremes(report, part_.fewest, part_.most);
        take_worst(report, part_.worst_point, part_.worst_error, part_.reason);
    }
}

void QuadratureTally::begin(const CoordinateGrid& grid) {
    if (grid_ != &grid) {
        finish_grid();
        grid_ = &grid;
        points_.assign(static_cast<std::size_t>(std::max(grid.npoints, 0)), 0);
    }
}

TallyPart* QuadratureTally::part() {
    const std::lock_guard lock(mutex_);
    parts_.push_back(std::make_unique<TallyPart>(points_));
    return parts_.back().get();
}

void QuadratureTally::finish_grid() {
    for (const std::unique_ptr<TallyPart>& part : parts_) {
        part->add_to(report_, sum_, count_);
    }
    parts_.clear();
    for (const std::uint8_t point : points_) {
        report_.points += (point & seen) != 0 ? 1 : 0;
        report_.unreached += (point & missed) != 0 ? 1 : 0;
    }
    points_.clear();
}

QuadratureReport QuadratureTally::report() {
    finish_grid();
    report_.mean = count_ > 0 ? static_cast<double>(sum_) / static_cast<double>(count_) : 0.0;
    return report_;
}

}  // namespace kavro
