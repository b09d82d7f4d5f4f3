// Work over all observation points, in tiles and on several threads.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "transducers/transducer_status.h"

namespace kavro {

// Adds what a method computes for some of the points into the outputs. A point knows nothing of the
// other points, so any division gives the same result.
class TileWorker {
public:
    virtual ~TileWorker() = default;
    virtual void work(int first, int count) = 0;  // for points first <= i < first + count

protected:
    // Whether to return, whatever is left: for work that takes long over a point to ask now and
    // then.
    bool is_given_up() const;

    // For work that takes long within a tile, to tell of every so many steps of a few nanoseconds
    // each: asks now and then, and throws Interrupted where the work is given up.
    void spend(std::int64_t steps);

private:
    friend TransducerStatus work_in_tiles(int npoints, int width,
                                          const std::function<std::unique_ptr<TileWorker>()>&);

    std::atomic<TransducerStatus>* status_ = nullptr;  // of the whole work
    bool is_callers_ = false;                          // whether the calling thread's
    std::int64_t steps_ = 0;                           // since the last look
};

// Shares tiles of `width` points out among the threads, each with a worker of its own. Reports
// progress, and polls for an interrupt, from the calling thread: between tiles, and while others
// are at the last ones. Returns status_success, status_interrupted or, for a std::bad_alloc in a
// worker, status_out_of_memory.
TransducerStatus work_in_tiles(int npoints, int width,
                               const std::function<std::unique_ptr<TileWorker>()>& make_worker);

}  // namespace kavro
