#include "transducers/driver.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "core/console.h"
#include "core/counts.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/preparation.h"

namespace kavro {
namespace {

// Memory for what elements keep that are solved together; larger arrays are solved in parts.
constexpr std::size_t most_memory = std::size_t{32} << 20;

bool adds(Method method) {
    return method != Method::impulse_begin_and_end_times && method != Method::kzk_transient &&
           method != Method::kzk_cw;
}

// Of these, arrays have one tile together, whatever their outputs.
bool share_axes(const Transducer& a, const Transducer& b) {
    return a.coordinate_grid == b.coordinate_grid && a.time_samples == b.time_samples;
}

void add_shares(const Shares& shares, const Transducer& first, bool output_is_zero,
                const TileMeasures* measures = nullptr) {
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
            first, width, [&member](std::int64_t steps) { member.spend(steps); }, measures);
        return [&shares, tile, output_is_zero](int begin, int count) {
            tile->begin(begin, count, output_is_zero);
            for (const PreparedShare& prepared : shares) {
                tile->turn_to(*prepared.element);
                prepared.share->add(*tile);
            }
            tile->finish();
        };
    });
}

TransducerStatus solve_together(Method method, std::span<Transducer* const> elements,
                                Output output) {
    bool output_is_zero = output == Output::all_zero;
    const auto all = static_cast<double>(elements.size());
    TransducerStatus status = status_success;
    for (std::size_t next = 0; next < elements.size() && status == status_success;) {
        const std::size_t begin = next;
        Preparation preparation(method);
        const Transducer* first = nullptr;
        while (next < elements.size() && preparation.bytes() < most_memory) {
            Transducer* const element = elements[next];
            if (first != nullptr && element != nullptr && !share_axes(*first, *element)) {
                break;
            }
            status = guarded([&] { return preparation.add(element); });
            if (status != status_success) {
                break;
            }
            if (first == nullptr && !preparation.shares().empty()) {
                first = element;
            }
            ++next;
        }
        if (first == nullptr) {
            continue;
        }
        const console::ProgressPart part(static_cast<double>(begin) / all,
                                         static_cast<double>(next) / all);
        const TransducerStatus added = guarded([&] {
            add_shares(preparation.shares(), *first, output_is_zero);
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
                                  std::span<const MeasureOutput> outputs) {
    Preparation preparation(method, Destination::measures);
    for (Transducer* const element : elements) {
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
        add_shares(preparation.shares(), first, true, &measures);
    }
    return status_success;
}

TransducerStatus record_arrival_times(Transducer& element) {
    if (!element.methods().contains(Method::impulse_begin_and_end_times)) {
        return status_not_implemented;
    }
    if (element.coordinate_grid == nullptr || element.medium == nullptr) {
        return status_failure;
    }
    element.InitializeRotationMatrix();
    const CoordinateGrid& grid = *element.coordinate_grid;
    const double c = element.medium->_soundspeed;
    const bool from_extremes = element.departures().arrivals_of_no_points;
    element.impulse_begin_time = std::numeric_limits<double>::max();
    element.impulse_end_time = 0.0;
    for (int i = 0; i < std::max(grid.npoints, from_extremes ? 0 : 1); ++i) {
        const ApertureDistances distances =
            element.distances(element.rotateTranslate(grid.spatial_index_value(i)));
        const double begin = distances.nearest / c + element.time_delay;
        const double end = distances.farthest / c + element.time_delay;
        const bool sets = i == 0 && !from_extremes;
        element.impulse_begin_time = sets ? begin : std::min(element.impulse_begin_time, begin);
        element.impulse_end_time = sets ? end : std::max(element.impulse_end_time, end);
    }
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

TransducerStatus drive(Method method, std::span<Transducer* const> elements, Output output) {
    return adds(method) ? solve_together(method, elements, output) : solve_each(method, elements);
}

TransducerStatus measure(Method method, std::span<Transducer* const> elements,
                         std::span<const MeasureOutput> outputs) {
    if (!adds(method) || is_continuous_wave(method)) {
        return status_not_implemented;
    }
    return guarded([&] { return measure_together(method, elements, outputs); });
}

TransducerStatus solve_spectrum(std::span<Transducer* const> elements,
                                std::span<const double> frequencies) {
    return guarded([&] {
        Preparation preparation(Method::fnm_spectral);
        for (Transducer* const element : elements) {
            const TransducerStatus status = preparation.add_spectrum(element, frequencies);
            if (status != status_success) {
                return status;
            }
            if (element->coordinate_grid != elements.front()->coordinate_grid) {
                return status_failure;
            }
        }
        if (!preparation.shares().empty()) {
            add_shares(preparation.shares(), *elements.front(), false);
        }
        return status_success;
    });
}

TransducerStatus Transducer::solve_alone(Method method) {
    Transducer* const element = this;
    return drive(method, {&element, 1}, Output::accumulate);
}

}  // namespace kavro
