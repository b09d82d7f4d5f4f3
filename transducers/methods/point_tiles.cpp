#include "transducers/methods/point_tiles.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>

#include "core/console.h"
#include "core/threads.h"

#ifdef _OPENMP
#include <omp.h>
#endif

namespace kavro {

TransducerStatus work_in_tiles(int npoints, int width,
                               const std::function<std::unique_ptr<TileWorker>()>& make_worker) {
    const int tiles = npoints / width + (npoints % width != 0 ? 1 : 0);
    const int threads = std::clamp(thread_count(), 1, std::max(tiles, 1));
    std::atomic<int> done{0};
    std::atomic<TransducerStatus> status{status_success};

#pragma omp parallel num_threads(threads)
    {
        std::unique_ptr<TileWorker> worker;
#pragma omp for schedule(dynamic)
        for (int t = 0; t < tiles; ++t) {
            if (status != status_success) {
                continue;
            }
            try {
                if (!worker) {
                    worker = make_worker();
                }
                const int first = t * width;
                worker->work(first, std::min(width, npoints - first));
            } catch (const std::bad_alloc&) {
                status = status_out_of_memory;
            } catch (const std::length_error&) {
                status = status_out_of_memory;
            }
            ++done;
#ifdef _OPENMP
            if (omp_get_thread_num() != 0) {
                continue;
            }
#endif
            console::progress(static_cast<double>(done) / tiles);
            if (console::interrupted()) {
                status = status_interrupted;
            }
        }
    }
    if (status == status_success) {
        console::progress(1.0);  // another thread may have finished the last tile
    }
    return status;
}

}  // namespace kavro
