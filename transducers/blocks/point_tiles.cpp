#include "transducers/blocks/point_tiles.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>
#include <thread>

#include "core/console.h"
#include "core/interrupted.h"
#include "core/threads.h"

#ifdef _OPENMP
#include <omp.h>
#endif

namespace kavro {
namespace {

bool is_calling_thread() {
#ifdef _OPENMP
    return omp_get_thread_num() == 0;
#else
    return true;
#endif
}

// From the calling thread only.
void poll(std::atomic<TransducerStatus>& status) {
    if (console::interrupted()) {
        status = status_interrupted;
    }
}

}  // namespace

bool TileWorker::is_given_up() const {
    if (is_callers_) {
        poll(*status_);
    }
    return *status_ != status_success;
}

void TileWorker::spend(std::int64_t steps) {
    steps_ += steps;
    if (steps_ >= steps_between_looks) {
        steps_ = 0;
        if (is_given_up()) {
            throw Interrupted();
        }
    }
}

TransducerStatus work_in_tiles(int npoints, int width,
                               const std::function<std::unique_ptr<TileWorker>()>& make_worker) {
    const int tiles = npoints / width + (npoints % width != 0 ? 1 : 0);
    const int threads = std::clamp(thread_count(), 1, std::max(tiles, 1));
    std::atomic<int> done{0};
    std::atomic<TransducerStatus> status{status_success};

#pragma omp parallel num_threads(threads)
    {
        std::unique_ptr<TileWorker> worker;
        const bool is_callers = is_calling_thread();
#pragma omp for schedule(dynamic) nowait
        for (int t = 0; t < tiles; ++t) {
            if (status == status_success) {
                try {
                    if (!worker) {
                        worker = make_worker();
                        worker->status_ = &status;
                        worker->is_callers_ = is_callers;
                    }
                    const int first = t * width;
                    worker->work(first, std::min(width, npoints - first));
                } catch (const std::bad_alloc&) {
                    status = status_out_of_memory;
                } catch (const std::length_error&) {
                    status = status_out_of_memory;
                } catch (const Interrupted&) {
                    // The status says why.
                }
            }
            ++done;
            if (is_callers && status == status_success) {
                console::progress(static_cast<double>(done) / tiles);
                poll(status);
            }
        }
        while (is_callers && done < tiles) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            poll(status);
        }
    }
    if (status == status_success) {
        console::progress(1.0);  // another thread may have finished the last tile
    }
    return status;
}

}  // namespace kavro
