#include "transducers/blocks/point_tiles.h"

#include <algorithm>
#include <atomic>

#include "core/console.h"
#include "core/threads.h"

namespace kavro {

void work_in_tiles(int npoints, int width,
                   const std::function<TileWork(Team::Member& member)>& make_work) {
    const int tiles = npoints / width + (npoints % width != 0 ? 1 : 0);
    const int threads = std::clamp(thread_count(), 1, std::max(tiles, 1));
    std::atomic<int> next{0};
    std::atomic<int> done{0};
    Team team;

#pragma omp parallel num_threads(threads)
    {
        Team::Member member(team);
        TileWork work;
        // OpenMP's loops cannot be left: through what remains of a hundred million tiles they would
        // run for seconds.
        for (int t = next++; t < tiles && !member.has_given_up(); t = next++) {
            member.work([&] {
                if (!work) {
                    work = make_work(member);
                }
                const int first = t * width;
                work(first, std::min(width, npoints - first));
            });
            ++done;
            if (member.is_callers()) {
                member.work([&] {
                    console::progress(static_cast<double>(done) / tiles);
                    member.look();
                });
            }
        }
        member.wait([&] { return done == tiles; });
    }
    team.finish();
    console::progress(1.0);  // another thread may have finished the last tile
}

}  // namespace kavro
