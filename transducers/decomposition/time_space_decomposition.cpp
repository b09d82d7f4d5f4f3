#include "transducers/decomposition/time_space_decomposition.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/decomposition/tile.h"
#include "transducers/decomposition/widened_edge.h"

namespace kavro {
namespace {

// Temporal factors kept at a time; larger arrays are solved in blocks of elements.
constexpr std::size_t factor_memory = std::size_t{32} << 20;

template <class Real>
using Elements = std::vector<DecompositionElement<Real>>;

// Makes elements ready from `next` on, until their temporal factors fill the memory set aside for
// them or one is not decomposable, and advances `next`. Factors are shared where waveform and delay
// agree.
template <class Real>
Elements<Real> next_block(std::span<Transducer* const> elements, std::size_t& next,
                          const DecompositionMethod<Real>& method) {
    Elements<Real> block;
    std::vector<std::shared_ptr<const DecompositionFactors<Real>>> known;
    std::size_t used = 0;
    for (; next < elements.size() && (used < factor_memory || block.empty()); ++next) {
        Transducer& element = *elements[next];
        if (element.is_silent()) {
            continue;
        }
        if (!is_decomposable(element)) {
            break;
        }
        const ExcitationFunction& waveform = *element.excitation;
        const TimeSamples& times = *element.time_samples;
        const auto same = std::find_if(known.begin(), known.end(), [&](const auto& factors) {
            return factors->serves(waveform, element.time_delay);
        });
        std::shared_ptr<const DecompositionFactors<Real>> factors;
        if (same != known.end()) {
            factors = *same;
        } else {
            factors = std::make_shared<DecompositionFactors<Real>>(
                waveform, method.kind, times, element.time_delay, method.direct_argument);
            known.push_back(factors);
            used += factors->bytes();
        }
        element.InitializeRotationMatrix();
        block.push_back({&element, method.edge_of(element), factors,
                         method.window_rule(times, element.time_delay, waveform.w),
                         method.direct_wave});
    }
    return block;
}

// Adds one block of elements to tiles of points.
template <class Real>
class BlockWorker : public TileWorker {
public:
    BlockWorker(const Elements<Real>& block, const Transducer& first, int width,
                bool output_is_zero)
        : block_(block),
          tile_(*first.coordinate_grid, *first.time_samples, width,
                [this](std::int64_t steps) { spend(steps); }),
          output_(first.transient_pressure),
          output_is_zero_(output_is_zero) {}

    void work(int first, int count) override {
        tile_.begin(first, count, output_, output_is_zero_);
        for (const DecompositionElement<Real>& element : block_) {
            tile_.add(element);
        }
        tile_.write(output_);
    }

private:
    const Elements<Real>& block_;
    DecompositionTile<Real> tile_;
    double* output_;
    bool output_is_zero_;
};

// Throws std::bad_alloc where not even one tile's series fit into the memory, before the factors
// are made.
template <class Real>
void require_room_for_a_tile(const TimeSamples& times) {
    const auto width =
        static_cast<std::size_t>(DecompositionTile<Real>::suitable_width(times.ntimes));
    if (!fits_into_memory(static_cast<std::size_t>(times.ntimes), width * sizeof(double))) {
        throw std::bad_alloc();
    }
}

template <class Real>
TransducerStatus solve_block(const Elements<Real>& block, const Transducer& first,
                             bool output_is_zero) {
    const int width = DecompositionTile<Real>::suitable_width(first.time_samples->ntimes);
    return work_in_tiles(first.coordinate_grid->npoints, width, [&] {
        return std::make_unique<BlockWorker<Real>>(block, first, width, output_is_zero);
    });
}

}  // namespace

bool is_decomposable(const Transducer& element) {
    const TimeSamples& times = *element.time_samples;
    const double latest = std::max(std::fabs(times.tmin() - element.time_delay),
                                   std::fabs(times.tmax() - element.time_delay));
    const double spread = element.face_extent() / std::fabs(element.medium->_soundspeed);
    return element.excitation->decomposition_holds(spread, latest);
}

template <class Real>
TransducerStatus solve_by_decomposition(std::span<Transducer* const> elements,
                                        const DecompositionMethod<Real>& method, Output output) {
    for (const Transducer* element : elements) {
        if (element == nullptr || !element->has_transient_records()) {
            return status_failure;
        }
        if (method.kind == Decomposition::complex &&
            !element->excitation->has_complex_decomposition()) {
            return status_not_implemented;
        }
    }
    return guarded([&] {
        if (!elements.empty()) {
            require_room_for_a_tile<Real>(*elements.front()->time_samples);
        }
        bool output_is_zero = output == Output::all_zero;
        const auto all = static_cast<double>(elements.size());
        for (std::size_t next = 0; next < elements.size();) {
            const std::size_t begin = next;
            const Elements<Real> block = next_block(elements, next, method);
            TransducerStatus status = status_success;
            if (!block.empty()) {
                const console::ProgressPart part(static_cast<double>(begin) / all,
                                                 static_cast<double>(next) / all);
                status = solve_block(block, *elements[begin], output_is_zero);
                output_is_zero = false;
            } else if (next < elements.size()) {
                const console::ProgressPart part(static_cast<double>(next) / all,
                                                 static_cast<double>(next + 1) / all);
                status = (elements[next]->*method.direct)();
                output_is_zero = false;
                ++next;
            }
            if (status != status_success) {
                return status;
            }
        }
        return status_success;
    });
}

TransducerStatus solve_in_single_precision(std::span<Transducer* const> elements,
                                           const DecompositionMethod<float>& method,
                                           Output output) {
    const bool suffices = std::all_of(elements.begin(), elements.end(), [](const Transducer* e) {
        return e == nullptr || e->excitation == nullptr ||
               e->excitation->single_precision_suffices();
    });
    if (suffices) {
        return solve_by_decomposition(elements, method, output);
    }
    const DecompositionMethod<double> widened{
        method.kind,
        [&method](const Transducer& element) {
            return std::make_unique<WidenedEdge>(method.edge_of(element));
        },
        method.window_rule,
        method.direct_argument,
        method.direct_wave,
        method.direct};
    return solve_by_decomposition(elements, widened, output);
}

template TransducerStatus solve_by_decomposition<float>(std::span<Transducer* const>,
                                                        const DecompositionMethod<float>&, Output);
template TransducerStatus solve_by_decomposition<double>(std::span<Transducer* const>,
                                                         const DecompositionMethod<double>&,
                                                         Output);

}  // namespace kavro
