// What a march says that it takes, against what it does take.
#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "kzk_support.h"

namespace kavro_test {
namespace {

using KzkMemory = Variants;

struct Size {
    float points_per_radius;
    int samples;    // of the time axis
    int harmonics;  // of the harmonic march
    bool nonlinear = true;
};

KzkBeam beam_of(const Size& size, bool exact) {
    KzkBeam beam = small_beam();
    beam.exact = exact;
    beam.points_per_radius = size.points_per_radius;
    beam.harmonics = size.harmonics;
    beam.beta = size.nonlinear ? beam.beta : 0.0;
    beam.zmin = beam.zmax = 1e-3;
    beam.nz = 1;
    beam.deltat = (beam.tmax - beam.tmin) / size.samples;
    beam.step = 1e-2f;
    return beam;
}

// No less than it takes, and no more than 1.3 times that.
TEST_F(KzkMemory, IsCountedBeforeItIsTaken) {
    const Size sizes[] = {{2.0f, 200000, 20000},
                          {200.0f, 10000, 300},
                          {20000.0f, 200, 3},
                          {400.0f, 5000, 1, false},
                          {2.0f, 200000, 20000, false}};
    for (const int threads : {1, 3}) {
        kavro::set_thread_count(threads);
        for (const bool exact : {false, true}) {
            for (const Size& size : sizes) {
                for (const bool harmonic : {false, true}) {
                    SCOPED_TRACE(testing::Message()
                                 << size.points_per_radius << " points, " << size.samples
                                 << " samples, " << size.harmonics << " harmonics; " << threads
                                 << " threads, exact " << exact << ", harmonic " << harmonic);
                    KzkStage stage(beam_of(size, exact));
                    int steps = 3;
                    stage.interrupted = [&steps] { return --steps < 0; };
                    stage.outcome(harmonic);  // sets the parameters
                    const auto need = kavro::kzk::memory_of(*stage.element, harmonic);
                    const auto counted = static_cast<double>(need.count * need.bytes);
                    steps = 300;
                    const HeapWatch heap;
                    stage.outcome(harmonic);
                    const auto taken = static_cast<double>(heap.peak());
                    EXPECT_LE(taken, counted + 20000);
                    EXPECT_LE(counted, 1.3 * taken + 20000);
                }
            }
        }
    }
}

}  // namespace
}  // namespace kavro_test
