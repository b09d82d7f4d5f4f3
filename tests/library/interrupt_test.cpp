// A user who wants to stop is heard within one rule, one set-up, one tile: not only between tiles.
#include <gtest/gtest.h>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::Operation;
using kavro::Transducer;

// One point, so that all the work is one tile of the calling thread.
Scene one_point(int ndiv, int ntimes, double deltat = 1e-8) {
    Scene scene;
    scene.points = {{1e-3, 0, 5e-3}};
    scene.ndiv = ndiv;
    scene.f0 = 1e6;
    set_axis(scene, deltat, 3e-6, ntimes);
    return scene;
}

// Solves with a console that is ready to stop once it has been asked `patience` times: the work
// must end with the next question, before it has written the tile. (Series are written part by
// part.)
void expect_interrupted(const char* name, Transducer& element, const Scene& scene,
                        int patience = 1) {
    SCOPED_TRACE(testing::Message() << name << ", patience " << patience);
    const Operation& operation = *kavro::operation_of(name);
    Records records(scene);
    if (operation.kind == kavro::OperationKind::continuous_wave) {
        records.connect_continuous_wave(element);
    } else {
        records.connect(element);
    }
    int asked = 0;
    const kavro::console::Connection impatient({{}, {}, {}, [&] { return ++asked > patience; }});
    EXPECT_EQ((element.*operation.solve)(), kavro::status_interrupted);
    EXPECT_EQ(asked, patience + 1);
    if (operation.kind != kavro::OperationKind::impulse_response) {
        EXPECT_EQ(peak_of(records.pressure), 0.0);
    }
    EXPECT_EQ(peak_of(records.pressure_real), 0.0);
}

// A rule of n abscissas takes n^2 steps. It is computed once, so that each call needs one of its
// own.
TEST(Interrupt, EndsTheRuleOfEveryEdge) {
    int ndiv = 3000;
    const auto scene_of = [&] { return one_point(++ndiv, 10); };
    kavro::HanningPulse pulse(1e6, 2e-6, 0);
    kavro::CircularTransducer disc(5e-3);
    kavro::RingTransducer ring(2e-3, 5e-3);
    kavro::SphericalTransducer shell(5e-3, 2e-2);
    for (Transducer* element : std::initializer_list<Transducer*>{&disc, &ring, &shell}) {
        element->excitation = &pulse;
        for (const char* name : {"fnm_cw", "fnm_tsd"}) {
            expect_interrupted(name, *element, scene_of());
        }
    }
    for (const char* name : {"fnm_cw_apodized", "fnm_tsd_sse", "fnm_transient"}) {
        expect_interrupted(name, disc, scene_of());
    }
    expect_interrupted("fnm_cw_sse", shell, scene_of());
}

TEST(Interrupt, EndsATileOfAnIntegral) {
    const Scene scene = one_point(1000, 10);
    kavro::CircularTransducer disc(5e-3);
    kavro::SphericalTransducer shell(5e-3, 2e-2);
    for (Transducer* element : std::initializer_list<Transducer*>{&disc, &shell}) {
        expect_interrupted("rayleigh_cw", *element, scene, 3);
        expect_interrupted("rayleigh_cw_sse", *element, scene, 3);
    }
}

// Waveforms of many terms make each sample dear: in the set-up first, then at the point.
TEST(Interrupt, EndsATileOfALongWaveform) {
    const Waveform waveform = sampled(noise(20000, 3), 1e-10, 2e-6, 0.0);
    kavro::CircularTransducer disc(5e-3);
    disc.excitation = waveform.get();
    const Scene scene = one_point(100, 60, 5e-8);
    for (const int patience : {0, 8}) {
        for (const char* name : {"fnm_tsd", "fnm_tsd_sse", "fnm_fdtsd", "fnm_transient"}) {
            expect_interrupted(name, disc, scene, patience);
        }
    }
    expect_interrupted("rayleigh_transient", disc, scene, 2);
    // Few abscissas and many terms go through the vector kernels.
    expect_interrupted("fnm_tsd", disc, one_point(4, 200), 19);
}

TEST(Interrupt, EndsALongSeries) {
    const Scene scene = one_point(4, 2'000'000, 1e-12);
    kavro::CircularTransducer disc(5e-3);
    kavro::RingTransducer ring(2e-3, 5e-3);
    kavro::SphericalTransducer shell(5e-3, 2e-2);
    kavro::RectangularTransducer rectangle(1e-3, 1e-3);
    for (Transducer* element :
         std::initializer_list<Transducer*>{&disc, &ring, &shell, &rectangle}) {
        expect_interrupted("impulse_response", *element, scene, 2);
    }
}

// Parts of a series join without a seam.
TEST(ImpulseResponse, IsTheSameInALongSeries) {
    kavro::SphericalTransducer shell(5e-3, 2e-2);
    const Scene whole = one_point(4, 150'000, 1e-10);
    Records records(whole);
    records.connect(shell);
    ASSERT_EQ(shell.impulse_response(), kavro::status_success);
    EXPECT_GT(peak_of(records.pressure), 0.0);
    for (const int first : {0, 63'450, 131'050}) {
        Scene part = whole;
        part.times.assign(whole.times.begin() + first, whole.times.begin() + first + 100);
        Records fewer(part);
        fewer.connect(shell);
        ASSERT_EQ(shell.impulse_response(), kavro::status_success);
        for (std::size_t j = 0; j < 100; ++j) {
            ASSERT_EQ(fewer.pressure[j], records.pressure[static_cast<std::size_t>(first) + j]);
        }
    }
}

}  // namespace
}  // namespace kavro_test
