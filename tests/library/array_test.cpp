// Elements solved together, bit for bit what they give one by one.
#include <algorithm>
#include <cmath>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::Operation;
using kavro::Output;
using kavro::VectorTarget;

const Operation& fnm_tsd_sse() {
    return operation_named("fnm_tsd_sse");
}

std::vector<Waveform> waveforms() {
    std::vector<Waveform> all;
    for (const bool exact : {false, true}) {
        for (const Waveform& waveform :
             {Waveform(std::make_shared<kavro::ToneBurst>(1e6, 1.3e-6, 0)),
              Waveform(std::make_shared<kavro::HanningPulse>(1e6, 1e-6, 0)),
              Waveform(std::make_shared<kavro::TCubedPulse>(1e6, 1e-6, 4e5)),
              sampled(noise(21, 51), 1e-7, 2.1e-6, 0.0)}) {
            waveform->set_exact(exact);
            all.push_back(waveform);
        }
    }
    all.push_back(std::make_shared<Ramp>(1.1e-6));
    all.push_back(std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, 2e7));
    all.back()->set_exact(true);  // too steep to be decomposed
    return all;
}

// Turned discs in a row, some with one delay, one silent, driven by the waveforms in turn.
Tank tank_of_discs(int count, int points, const std::vector<Waveform>& drives) {
    std::vector<Source> sources;
    for (int i = 0; i < count; ++i) {
        Source source{.shape = "circ", .sizes = {i % 3 == 0 ? 2e-3 : 1e-3}};
        source.center = {1e-3 * i - 3e-3, 0, 0};
        source.euler = {0.1, -0.2, 0.3 * i};
        source.amplitude = i == 5 ? 0.0 : 1.5 - 0.3 * i;
        source.time_delay = 1e-7 * (i % 4);
        source.waveform = drives[static_cast<std::size_t>(i) % drives.size()];
        sources.push_back(source);
    }
    return crowded_tank(fnm_tsd_sse(), sources, points);
}

Values together(const Tank& tank, Output knowing = Output::accumulate, double former = 0.0) {
    Measurement measurement(tank, fnm_tsd_sse(), former);
    EXPECT_EQ(measurement.together(knowing), kavro::status_success);
    return measurement.output;
}

TEST(Array, IsItsElementsOneByOneToTheLastBit) {
    const std::vector<Waveform> all = waveforms();
    for (std::size_t kind = 0; kind <= all.size(); ++kind) {
        // Each waveform alone, and all of them mixed.
        const Tank tank = tank_of_discs(15, 200, kind < all.size() ? std::vector{all[kind]} : all);
        const Values expected = measured(tank, fnm_tsd_sse());
        EXPECT_GT(peak_of(expected), 0.0);
        EXPECT_TRUE(same_bits(together(tank), expected)) << kind;
        EXPECT_TRUE(same_bits(together(tank, Output::all_zero), expected)) << kind;
        Measurement onto(tank, fnm_tsd_sse(), 0.125);
        EXPECT_EQ(onto.one_by_one(), kavro::status_success);
        EXPECT_TRUE(same_bits(together(tank, Output::accumulate, 0.125), onto.output)) << kind;
    }
}

// So many samples that the factors of all elements together are not kept at once.
TEST(Array, LongAxesAreSolvedInSeveralGoes) {
    Tank tank = tank_of_discs(8, 2, {std::make_shared<Ramp>(1.1e-6)});
    for (Source& source : tank.sources) {
        source.time_delay += 1e-8 * source.center.x;  // no two alike
    }
    tank.set_order(4);
    tank.set_axis(1e-9, 0, 1000000);
    const Values expected = measured(tank, fnm_tsd_sse());
    EXPECT_GT(peak_of(expected), 0.0);
    EXPECT_TRUE(same_bits(together(tank), expected));
    EXPECT_TRUE(same_bits(together(tank, Output::all_zero), expected));
}

// A waveform of a user's own, with state that the library's base class knows nothing of.
class LoudRamp : public Ramp {
public:
    LoudRamp(double width, float gain) : Ramp(width), gain_(gain) {}
    using Ramp::spatial_tsd;
    void spatial_tsd(float* out, float const& tau) const override {
        Ramp::spatial_tsd(out, tau);
        out[0] *= gain_;
        out[1] *= gain_;
    }
    double at(double const& t) const override { return static_cast<double>(gain_) * Ramp::at(t); }

private:
    float gain_;
};

TEST(Array, DrivesEveryElementWithItsOwnWaveform) {
    Tank tank = tank_of_discs(
        6, 10,
        {std::make_shared<LoudRamp>(1.1e-6, 1.0f), std::make_shared<LoudRamp>(1.1e-6, 3.0f),
         std::make_shared<LoudRamp>(1.1e-6, -2.0f)});
    for (Source& source : tank.sources) {
        source.time_delay = 0.0;
    }
    EXPECT_TRUE(same_bits(together(tank), measured(tank, fnm_tsd_sse())));
}

// A point's field does not depend on its neighbours.
TEST(Array, APointKnowsNothingOfTheOthers) {
    const Tank tank = tank_of_discs(3, 40, {std::make_shared<kavro::HanningPulse>(1e6, 1e-6, 0)});
    for (const char* name : {"fnm_tsd", "fnm_tsd_sse", "fnm_tsd_low_precision"}) {
        const Values all = measured(tank, operation_named(name));
        for (std::size_t p = 0; p < 40; p += 13) {
            Tank alone = tank;
            alone.set_points({tank.points()[p]});
            EXPECT_TRUE(same_bits(measured(alone, operation_named(name)), at_point(all, p, 40)));
        }
    }
}

TEST(Array, ReportsProgressThatGrowsToOne) {
    const Recorder console;
    together(tank_of_discs(3, 300, {std::make_shared<Ramp>(1.1e-6)}));
    ASSERT_FALSE(console.progress.empty());
    EXPECT_TRUE(std::is_sorted(console.progress.begin(), console.progress.end()));
    EXPECT_GT(console.progress.front(), 0.0);
    EXPECT_EQ(console.progress.back(), 1.0);
    EXPECT_TRUE(console.is_silent());
}

TEST(Array, StopsAtTheFirstElementThatCannotBeSolved) {
    const Tank tank = tank_of_discs(1, 8, {std::make_shared<Ramp>(1.1e-6)});
    Tank of_ring = tank;
    of_ring.sources[0].shape = "ring";
    of_ring.sources[0].sizes = {1e-3, 2e-3};
    Measurement solved(tank, fnm_tsd_sse()), ring(of_ring, fnm_tsd_sse()),
        late(tank, fnm_tsd_sse());
    kavro::Transducer* const elements[] = {solved.owned[0].get(), ring.owned[0].get(),
                                           late.owned[0].get()};
    EXPECT_EQ(kavro::fnm_tsd_sse(elements), kavro::status_not_implemented);
    EXPECT_EQ(peak_of(ring.output) + peak_of(late.output), 0.0);
    EXPECT_GT(peak_of(solved.output), 0.0);
    EXPECT_EQ(kavro::fnm_tsd_sse({}), kavro::status_success);

    Measurement again(tank, fnm_tsd_sse());
    late.owned[0]->set_medium(nullptr);
    kavro::Transducer* const incomplete[] = {again.owned[0].get(), late.owned[0].get()};
    EXPECT_EQ(kavro::fnm_tsd_sse(incomplete), kavro::status_failure);
    EXPECT_TRUE(same_bits(again.output, solved.output));

    kavro::Transducer* const nobody[] = {nullptr};
    EXPECT_EQ(kavro::fnm_tsd_sse(nobody), kavro::status_failure);
}

TEST_F(Variants, TargetsHaveNames) {
    EXPECT_EQ(kavro::vector_target_named("scalar"), VectorTarget::scalar);
    EXPECT_EQ(kavro::vector_target_named("sse4"), VectorTarget::sse4);
    EXPECT_EQ(kavro::vector_target_named("avx2"), VectorTarget::avx2);
    EXPECT_EQ(kavro::vector_target_named("avx512"), VectorTarget::avx512);
    EXPECT_EQ(kavro::vector_target_named("AVX2"), std::nullopt);
    EXPECT_EQ(kavro::vector_target_named(""), std::nullopt);
    kavro::set_vector_target(VectorTarget::avx512);
    EXPECT_EQ(kavro::vector_target(), std::min(VectorTarget::avx512, kavro::best_vector_target()));
}

}  // namespace
}  // namespace kavro_test
