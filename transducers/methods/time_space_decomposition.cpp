#include "transducers/methods/time_space_decomposition.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <new>
#include <optional>
#include <vector>

#include "core/console.h"
#include "core/threads.h"
#include "transducers/methods/decomposition_tile.h"

#ifdef _OPENMP
#include <omp.h>
#endif

namespace kavro {
namespace {

// Elements whose amplitude is not above this are skipped.
constexpr double smallest_amplitude = 1e-10;

// Temporal factors kept at a time; larger arrays are solved in blocks of elements.
constexpr std::size_t factor_memory = std::size_t{32} << 20;

template <class Real>
using Elements = std::vector<DecompositionElement<Real>>;

// Makes elements ready from `next` on, until their temporal factors fill the memory set aside for
// them, and advances `next`. Factors are shared where waveform and delay agree.
template <class Real>
Elements<Real> next_block(std::span<Transducer* const> elements, std::size_t& next,
                          const DecompositionMethod<Real>& method) {
    Elements<Real> block;
    std::vector<std::shared_ptr<const DecompositionFactors<Real>>> known;
    std::size_t used = 0;
    for (; next < elements.size() && (used < factor_memory || block.empty()); ++next) {
        Transducer& element = *elements[next];
        if (std::abs(element.amplitude) <= smallest_amplitude) {
            continue;
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
            factors = std::make_shared<DecompositionFactors<Real>>(waveform, method.kind, times,
                                                                   element.time_delay);
            known.push_back(factors);
            used += factors->bytes();
        }
        element.InitializeRotationMatrix();
        block.push_back({&element, method.edge_of(element), factors,
                         method.window_rule(times, element.time_delay, waveform.w)});
    }
    return block;
}

// Solves one block of elements, tile by tile. `report` gets the share of tiles done, in the calling
// thread.
template <class Real, class Report>
TransducerStatus solve_block(const Elements<Real>& block, const Transducer& first,
                             bool output_is_zero, Report report) {
    const CoordinateGrid& grid = *first.coordinate_grid;
    const TimeSamples& times = *first.time_samples;
    double* output = first.transient_pressure;
    const int width = DecompositionTile<Real>::suitable_width(times.ntimes);
    const int tiles = (grid.npoints + width - 1) / width;
    const int threads = std::clamp(thread_count(), 1, std::max(tiles, 1));
    std::atomic<int> done{0};
    std::atomic<TransducerStatus> status{status_success};

#pragma omp parallel num_threads(threads)
    {
        std::optional<DecompositionTile<Real>> tile;
#pragma omp for schedule(dynamic)
        for (int t = 0; t < tiles; ++t) {
            if (status != status_success) {
                continue;
            }
            try {
                if (!tile) {
                    tile.emplace(grid, times, width);
                }
                const int first_point = t * width;
                tile->begin(first_point, std::min(width, grid.npoints - first_point), output,
                            output_is_zero);
                for (const DecompositionElement<Real>& element : block) {
                    tile->add(element);
                }
                tile->write(output);
            } catch (const std::bad_alloc&) {
                status = status_out_of_memory;
            }
            ++done;
#ifdef _OPENMP
            if (omp_get_thread_num() != 0) {
                continue;
            }
#endif
            report(static_cast<double>(done) / tiles);
            if (console::interrupted()) {
                status = status_interrupted;
            }
        }
    }
    if (status == status_success) {
        report(1.0);  // another thread may have finished the last tile
    }
    return status;
}

}  // namespace

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
    try {
        bool output_is_zero = output == Output::all_zero;
        for (std::size_t next = 0; next < elements.size();) {
            const std::size_t begin = next;
            const Elements<Real> block = next_block(elements, next, method);
            if (block.empty()) {
                continue;
            }
            const auto all = static_cast<double>(elements.size());
            const auto report = [&](double share) {
                console::progress(
                    (static_cast<double>(begin) + share * static_cast<double>(next - begin)) / all);
            };
            const TransducerStatus status =
                solve_block(block, *elements[begin], output_is_zero, report);
            if (status != status_success) {
                return status;
            }
            output_is_zero = false;
        }
    } catch (const std::bad_alloc&) {
        return status_out_of_memory;
    }
    return status_success;
}

template TransducerStatus solve_by_decomposition<float>(std::span<Transducer* const>,
                                                        const DecompositionMethod<float>&, Output);
template TransducerStatus solve_by_decomposition<double>(std::span<Transducer* const>,
                                                         const DecompositionMethod<double>&,
                                                         Output);

}  // namespace kavro
