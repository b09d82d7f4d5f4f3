// Work over all observation points, in tiles and on several threads.
#pragma once

#include <functional>

#include "core/team.h"

namespace kavro {

// Adds what a method computes for the points first <= i < first + count into the outputs. A point
// knows nothing of the other points, so any division gives the same result.
using TileWork = std::function<void(int first, int count)>;

// Shares tiles of `width` points out among the threads, each with work of its own, made for a
// member of the team by the first tile it takes. Reports progress, and asks for an interrupt, from
// the calling thread: between tiles, and while others are at the last ones. Throws what the work
// throws, and Interrupted.
void work_in_tiles(int npoints, int width,
                   const std::function<TileWork(Team::Member& member)>& make_work);

}  // namespace kavro
