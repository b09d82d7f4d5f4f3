// The parts of a work, on threads.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/flush_denormals.h"
#include "core/interrupted.h"
#include "core/team.h"

namespace kavro {

// Calls work(part, scratch, spend) for the parts 0 ... parts - 1, each thread with a scratch of its
// own, and throws what a part threw. The calling thread hears an interrupt also while it waits for
// others, whose parts may be much longer than its own.
template <class Scratch, class Work>
void in_parts(std::int64_t parts, int threads, Work work) {
    Team team;
    std::atomic<std::int64_t> done{0};
#pragma omp parallel num_threads(threads)
    {
        const FlushDenormals flush;
        Team::Member member(team);
        const Spend spend = [&member](std::int64_t steps) { member.spend(steps); };
        Scratch scratch;
#pragma omp for schedule(static) nowait
        for (std::int64_t part = 0; part < parts; ++part) {
            member.work([&] { work(part, scratch, spend); });
            ++done;
        }
        member.wait([&] { return done == parts; });
    }
    team.finish();
}

}  // namespace kavro
