#include "transducers/driver.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/preparation.h"
#include "transducers/tolerance/tally.h"

namespace kavro {
namespace {

// Memory for what elements keep that are solved together; larger arrays are solved in parts.
constexpr std::size_t most_memory = std::size_t{32} << 20;

constexpr int steps_of_element = 1000;  // of its preparation, a few microseconds

bool adds(Method method) {
    return method != Method::impulse_begin_and_end_times && method != Method::kzk_transient &&
           method != Method::kzk_cw;
}

// Of these, arrays have one tile together, whatever their outputs.
bool share_axes(const Transducer& a, const Transducer& b) {
    return a.coordinate_grid == b.coordinate_grid && a.time_samples == b.time_samples;
}

void add_shares(const Shares& shares, const Transducer& first, bool output_is_zero,
                QuadratureTally* tally, const TileMeasures* measures = nullptr) {
    int width = shares.empty() ? block_lanes : shares.front().share->tile_width();
    for (const PreparedShare& prepared : shares) {
        width = std::min(width, prepared.share->tile_width());
    }
    if (measures != nullptr &&
        !fits_into_memory(static_cast<std::size_t>(first.time_samples->ntimes),
                          static_cast<std::size_t>(width) * sizeof(double))) {
        throw std::bad_alloc();
    }
    work_in_tiles(first.coordinate_grid->npoints, width, [&, width](Team::Member& member) {
        const auto tile = std::make_shared<PointTile>(
            first, width, [&member](std::int64_t steps) { member.spend(steps); },
            tally != nullptr ? tally->part() : nullptr, measures);
        return [&shares, &member, tile, output_is_zero](int begin, int count) {
            constexpr std::int64_t steps_of_point = 16;  // of the simplest share
            tile->begin(begin, count, output_is_zero);
            for (const PreparedShare& prepared : shares) {
                member.spend(steps_of_point * count);
                tile->turn_to(*prepared.element);
                prepared.share->add(*tile);
            }
            tile->finish();
        };
    });
}

TransducerStatus solve_together(const std::function<Preparation()>& prepare,
                                std::span<Transducer* const> elements, Output output,
                                QuadratureTally* tally) {
    InterruptCheck check;
    bool output_is_zero = output == Output::all_zero;
    const auto all = static_cast<double>(elements.size());
    TransducerStatus status = status_success;
    for (std::size_t next = 0; next < elements.size() && status == status_success;) {
        const std::size_t begin = next;
        Preparation preparation = prepare();
        const Transducer* first = nullptr;
        while (next < elements.size() && preparation.bytes() < most_memory) {
            Transducer* const element = elements[next];
            if (first != nullptr && element != nullptr && !share_axes(*first, *element)) {
                break;
            }
            status = guarded([&] {
                check.spend(steps_of_element);
                return preparation.add(element);
            });
            if (status != status_success) {
                break;
            }
            if (first == nullptr && !preparation.shares().empty()) {
                first = element;
            }
            ++next;
        }
        if (status == status_interrupted) {
            return status;
        }
        if (first == nullptr) {
            continue;
        }
        const console::ProgressPart part(static_cast<double>(begin) / all,
                                         static_cast<double>(next) / all);
        const TransducerStatus added = guarded([&] {
            if (tally != nullptr) {
                tally->begin(*first->coordinate_grid);
            }
            add_shares(preparation.shares(), *first, output_is_zero, tally);
            return status_success;
        });
        if (added != status_success) {
            return added;
        }
        output_is_zero = false;
    }
    return status;
}

TransducerStatus measure_together(Method method, std::span<Transducer* const> elements,
                                  std::span<const MeasureOutput> outputs, QuadratureTally* tally) {
    Preparation preparation(method, Destination::measures);
    InterruptCheck check;
    for (Transducer* const element : elements) {
        check.spend(steps_of_element);
        const TransducerStatus status = preparation.add(element);
        if (status != status_success) {
            return status;
        }
        if (!share_axes(*elements.front(), *element)) {
            return status_failure;
        }
    }
    if (!elements.empty()) {
        const Transducer& first = *elements.front();
        const TileMeasures measures(*first.time_samples, outputs);
        if (tally != nullptr) {
            tally->begin(*first.coordinate_grid);
        }
        add_shares(preparation.shares(), first, true, tally, &measures);
    }
    return status_success;
}

// When the response of some points begins and ends.
struct ArrivalTimes {
    double begin, end;

    void include(const ArrivalTimes& other) {
        begin = std::min(begin, other.begin);
        end = std::max(end, other.end);
    }
};

ArrivalTimes arrival_times(const Transducer& element, int point) {
    const ApertureDistances distances = element.distances(
        element.rotateTranslate(element.coordinate_grid->spatial_index_value(point)));
    const double c = element.medium->_soundspeed;
    return {distances.nearest / c + element.time_delay,
            distances.farthest / c + element.time_delay};
}

TransducerStatus record_arrival_times(Transducer& element) {
    if (!element.methods().contains(Method::impulse_begin_and_end_times)) {
        return status_not_implemented;
    }
    if (element.coordinate_grid == nullptr || element.medium == nullptr) {
        return status_failure;
    }
    element.InitializeRotationMatrix();
    const bool from_extremes = element.departures().arrivals_of_no_points;
    const int npoints = std::max(element.coordinate_grid->npoints, from_extremes ? 0 : 1);
    constexpr int width = 128;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<ArrivalTimes> of_tiles(static_cast<std::size_t>(npoints / width) + 1,
                                       {infinity, -infinity});
    work_in_tiles(npoints, width, [&](Team::Member&) {
        return [&](int first, int count) {
            ArrivalTimes times{infinity, -infinity};
            for (int i = first; i < first + count; ++i) {
                // The very first point's times are kept even if they are no numbers.
                const ArrivalTimes own = arrival_times(element, i);
                if (i == 0 && !from_extremes) {
                    times = own;
                } else {
                    times.include(own);
                }
            }
            of_tiles[static_cast<std::size_t>(first / width)] = times;
        };
    });
    ArrivalTimes all =
        from_extremes ? ArrivalTimes{std::numeric_limits<double>::max(), 0.0} : of_tiles.front();
    for (const ArrivalTimes& times : of_tiles) {
        all.include(times);
    }
    element.impulse_begin_time = all.begin;
    element.impulse_end_time = all.end;
    return status_success;
}

TransducerStatus solve_one(Method method, Transducer& element) {
    switch (method) {
        case Method::kzk_transient:
            return element.kzk_transient();
        case Method::kzk_cw:
            return element.kzk_cw();
        default:
            return record_arrival_times(element);
    }
}

TransducerStatus solve_each(Method method, std::span<Transducer* const> elements) {
    const auto all = static_cast<double>(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (elements[i] == nullptr) {
            return status_failure;
        }
        const console::ProgressPart part(static_cast<double>(i) / all,
                                         static_cast<double>(i + 1) / all);
        const TransducerStatus status = guarded([&] { return solve_one(method, *elements[i]); });
        if (status != status_success) {
            return status;
        }
    }
    return status_success;
}

}  // namespace

TransducerStatus drive(Method method, std::span<Transducer* const> elements, Output output,
                       QuadratureReport* report) {
    QuadratureTally tally;
    const TransducerStatus status =
        adds(method) ? solve_together([method] { return Preparation(method); }, elements, output,
                                      report != nullptr ? &tally : nullptr)
                     : solve_each(method, elements);
    if (report != nullptr) {
        *report = tally.report();
    }
    return status;
}

TransducerStatus measure(Method method, std::span<Transducer* const> elements,
                         std::span<const MeasureOutput> outputs, QuadratureReport* report) {
    if (!adds(method) || is_continuous_wave(method)) {
        return status_not_implemented;
    }
    QuadratureTally tally;
    const TransducerStatus status = guarded([&] {
        return measure_together(method, elements, outputs, report != nullptr ? &tally : nullptr);
    });
    if (report != nullptr) {
        *report = tally.report();
    }
    return status;
}

TransducerStatus solve_velocity(std::span<Transducer* const> elements,
                                const VelocityOutput& velocity, Output output,
                                QuadratureReport* report) {
    const auto has_other_grid = [&](const Transducer* element) {
        return element == nullptr || element->coordinate_grid != elements.front()->coordinate_grid;
    };
    if (std::any_of(elements.begin(), elements.end(), has_other_grid)) {
        return status_failure;
    }
    QuadratureTally tally;
    const TransducerStatus status = solve_together([&] { return Preparation(velocity); }, elements,
                                                   output, report != nullptr ? &tally : nullptr);
    if (report != nullptr) {
        *report = tally.report();
    }
    return status;
}

namespace {

// Elements are prepared and solved in as many parts as their memory asks for.
void add_band(std::span<Transducer* const> elements, const Band& band, QuadratureTally* tally) {
    InterruptCheck check;
    const auto all = static_cast<double>(elements.size());
    for (std::size_t next = 0; next < elements.size();) {
        const std::size_t begin = next;
        Preparation preparation(Method::fnm_spectral);
        for (; next < elements.size() && preparation.bytes() < most_memory; ++next) {
            check.spend(steps_of_element + static_cast<int>(band.frequencies.size()));
            preparation.add_spectrum(*elements[next], band);
        }
        const console::ProgressPart part(static_cast<double>(begin) / all,
                                         static_cast<double>(next) / all);
        if (!preparation.shares().empty()) {
            add_shares(preparation.shares(), *elements.front(), false, tally);
        }
    }
}

}  // namespace

TransducerStatus solve_spectrum(std::span<Transducer* const> elements,
                                std::span<const double> frequencies, QuadratureReport* report) {
    QuadratureTally tally;
    const TransducerStatus status = guarded([&] {
        const Preparation preparation(Method::fnm_spectral);
        for (Transducer* const element : elements) {
            const TransducerStatus able = preparation.can_add_spectrum(element, frequencies);
            if (able != status_success) {
                return able;
            }
            if (element->coordinate_grid != elements.front()->coordinate_grid) {
                return status_failure;
            }
        }
        const std::vector<Band> bands = bands_of(frequencies);
        double done = 0.0;
        if (!elements.empty()) {
            tally.begin(*elements.front()->coordinate_grid);
        }
        for (const Band& band : bands) {
            const double before =
                std::exchange(done, done + static_cast<double>(band.frequencies.size()) /
                                               static_cast<double>(frequencies.size()));
            const console::ProgressPart part(before, done);
            add_band(elements, band, report != nullptr ? &tally : nullptr);
        }
        return status_success;
    });
    if (report != nullptr) {
        *report = tally.report();
    }
    return status;
}

TransducerStatus Transducer::solve_alone(Method method) {
    Transducer* const element = this;
    return drive(method, {&element, 1}, Output::accumulate, nullptr);
}

}  // namespace kavro
