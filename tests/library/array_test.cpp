// Elements solved together, and the variants of one solver that must not differ by a bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <deque>
#include <utility>

#include "support.h"

namespace kavro_test {
namespace {

using kavro::CircularTransducer;
using kavro::VectorTarget;

// The bits of a field: zeros of either sign and values that are not numbers count too.
std::vector<std::uint64_t> bits_of(const Field& field) {
    std::vector<std::uint64_t> bits(field.size());
    std::transform(field.begin(), field.end(), bits.begin(),
                   [](double value) { return std::bit_cast<std::uint64_t>(value); });
    return bits;
}

std::vector<Waveform> waveforms() {
    std::vector<Waveform> all;
    for (const bool exact : {false, true}) {
        all.push_back(std::make_shared<kavro::ToneBurst>(1e6, 1.3e-6, 0));
        all.push_back(std::make_shared<kavro::HanningPulse>(1e6, 1e-6, 0));
        all.push_back(std::make_shared<kavro::TCubedPulse>(1e6, 1e-6, 4e5));
        all.push_back(sampled(noise(21, 51), 1e-7, 2.1e-6, 0.0));
        for (std::size_t i = all.size() - 4; i < all.size(); ++i) {
            all[i]->set_exact(exact);
        }
    }
    all.push_back(std::make_shared<Ramp>(1.1e-6));
    return all;
}

TEST_F(Variants, VectorTargetsAgreeToTheLastBit) {
    const Scene scene = crowded_scene(70);
    for (const Waveform& waveform : waveforms()) {
        const Stage stage(scene, waveform);
        for (const Method& method : real_methods()) {
            SCOPED_TRACE(method.name);
            kavro::set_vector_target(VectorTarget::scalar);
            const auto expected = bits_of(stage.by_library(method.solve));
            for (const VectorTarget target :
                 {VectorTarget::sse4, VectorTarget::avx2, VectorTarget::avx512}) {
                kavro::set_vector_target(target);
                EXPECT_EQ(kavro::vector_target(), std::min(target, kavro::best_vector_target()));
                EXPECT_TRUE(bits_of(stage.by_library(method.solve)) == expected);
            }
        }
    }
}

TEST_F(Variants, ThreadCountsAgreeToTheLastBit) {
    const Scene scene = crowded_scene(700);
    const Waveform signal = sampled(noise(12, 52), 1e-7, 1.2e-6, 0.0);
    const Stage stage(scene, signal);
    std::vector<Method> methods = real_methods();
    methods.push_back(complex_method());
    for (const Method& method : methods) {
        SCOPED_TRACE(method.name);
        kavro::set_thread_count(1);
        EXPECT_EQ(kavro::thread_count(), 1);
        const auto expected = bits_of(stage.by_library(method.solve));
        for (const int threads : {2, 3, 7}) {
            kavro::set_thread_count(threads);
            EXPECT_TRUE(bits_of(stage.by_library(method.solve)) == expected);
        }
    }
}

TEST_F(Variants, TargetsHaveNames) {
    EXPECT_EQ(kavro::vector_target_named("scalar"), VectorTarget::scalar);
    EXPECT_EQ(kavro::vector_target_named("sse4"), VectorTarget::sse4);
    EXPECT_EQ(kavro::vector_target_named("avx2"), VectorTarget::avx2);
    EXPECT_EQ(kavro::vector_target_named("avx512"), VectorTarget::avx512);
    EXPECT_EQ(kavro::vector_target_named("AVX2"), std::nullopt);
    EXPECT_EQ(kavro::vector_target_named(""), std::nullopt);
}

// A point's field does not depend on its neighbours.
TEST(Tiles, APointKnowsNothingOfTheOthers) {
    const Scene scene = crowded_scene(40);
    const Waveform waveform = std::make_shared<kavro::HanningPulse>(1e6, 1e-6, 0);
    for (const Method& method : real_methods()) {
        const Field together = Stage(scene, waveform).by_library(method.solve);
        for (std::size_t p = 0; p < scene.points.size(); p += 13) {
            Scene alone = scene;
            alone.points = {scene.points[p]};
            const Field single = Stage(alone, waveform).by_library(method.solve);
            for (std::size_t j = 0; j < single.size(); ++j) {
                ASSERT_EQ(single[j], together[p + j * scene.points.size()]) << method.name;
            }
        }
    }
}

// ---- arrays

// The discs of a scene as elements that share one set of records.
struct Elements {
    std::vector<Waveform> drives;  // kept alive
    Records records;
    std::deque<CircularTransducer> discs;
    std::vector<kavro::Transducer*> pointers;

    Elements(const Scene& scene, std::vector<Waveform> waveforms_of_discs)
        : drives(std::move(waveforms_of_discs)), records(scene) {
        for (std::size_t i = 0; i < scene.discs.size(); ++i) {
            discs.push_back(element_of(scene.discs[i], *drives[i % drives.size()]));
            records.connect(discs.back());
            pointers.push_back(&discs.back());
        }
    }

    const Field& one_by_one() {
        for (CircularTransducer& disc : discs) {
            EXPECT_EQ(disc.fnm_tsd_sse(), 0);
        }
        return records.pressure;
    }

    const Field& together(kavro::Output output = kavro::Output::accumulate) {
        EXPECT_EQ(kavro::fnm_tsd_sse(pointers, output), kavro::status_success);
        return records.pressure;
    }
};

TEST(Array, IsItsElementsOneByOneToTheLastBit) {
    Scene scene = crowded_scene(200);
    for (int i = 0; i < 12; ++i) {
        Disc disc = scene.discs[static_cast<std::size_t>(i) % 3];
        disc.center.x += 1e-3 * i;
        disc.time_delay = 1e-7 * (i % 4);
        disc.amplitude = i == 5 ? 0.0 : 1.0 - 0.3 * i;
        scene.discs.push_back(disc);
    }
    const std::vector<Waveform> all = waveforms();
    for (std::size_t kind = 0; kind <= all.size(); ++kind) {
        // Each waveform alone, and all of them mixed.
        const std::vector<Waveform> drives = kind < all.size() ? std::vector{all[kind]} : all;
        const auto expected = bits_of(Elements(scene, drives).one_by_one());
        EXPECT_TRUE(bits_of(Elements(scene, drives).together()) == expected) << kind;
        EXPECT_TRUE(bits_of(Elements(scene, drives).together(kavro::Output::all_zero)) == expected)
            << kind;
    }
}

TEST(Array, AddsToWhatIsThere) {
    const Scene scene = crowded_scene(20);
    const std::vector<Waveform> drives = {std::make_shared<Ramp>(1.1e-6)};
    Elements one_by_one(scene, drives), together(scene, drives);
    const Field former = noise(20 * scene.times.size(), 53);
    std::copy(former.begin(), former.end(), one_by_one.records.pressure.begin());
    std::copy(former.begin(), former.end(), together.records.pressure.begin());
    EXPECT_TRUE(bits_of(one_by_one.one_by_one()) == bits_of(together.together()));
}

// So many samples that the factors of all elements together are not kept at once.
TEST(Array, LongAxesAreSolvedInSeveralGoes) {
    Scene scene = plain_scene();
    scene.ndiv = 4;
    scene.points.resize(2);
    for (int i = 1; i < 8; ++i) {
        scene.discs.push_back(scene.discs[0]);
        scene.discs.back().time_delay += 1e-7 * i;
    }
    set_axis(scene, 1e-9, 0, 1000000);
    const std::vector<Waveform> drives = {std::make_shared<Ramp>(1.1e-6)};
    Elements one_by_one(scene, drives), together(scene, drives), onto_zeros(scene, drives);
    const auto expected = bits_of(one_by_one.one_by_one());
    EXPECT_NE(one_by_one.records.pressure, kavro_oracle::silence(scene));
    EXPECT_TRUE(bits_of(together.together()) == expected);
    EXPECT_TRUE(bits_of(onto_zeros.together(kavro::Output::all_zero)) == expected);
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
    const Scene scene = crowded_scene(10);
    const std::vector<Waveform> drives = {std::make_shared<LoudRamp>(1.1e-6, 1.0f),
                                          std::make_shared<LoudRamp>(1.1e-6, 3.0f),
                                          std::make_shared<LoudRamp>(1.1e-6, -2.0f)};
    Scene same_delay = scene;
    for (Disc& disc : same_delay.discs) {
        disc.time_delay = 0.0;
    }
    const auto expected = bits_of(Elements(same_delay, drives).one_by_one());
    EXPECT_TRUE(bits_of(Elements(same_delay, drives).together()) == expected);
}

TEST(Array, ReportsProgressThatGrowsToOne) {
    const Scene scene = crowded_scene(300);
    Elements elements(scene, {std::make_shared<Ramp>(1.1e-6)});
    const Recorder console;
    elements.together();
    ASSERT_FALSE(console.progress.empty());
    EXPECT_TRUE(std::is_sorted(console.progress.begin(), console.progress.end()));
    EXPECT_GT(console.progress.front(), 0.0);
    EXPECT_EQ(console.progress.back(), 1.0);
    EXPECT_EQ(console.printed + std::to_string(console.warnings.size()), "0");
}

TEST(Array, StopsAtTheFirstElementThatCannotBeSolved) {
    const Scene scene = plain_scene();
    const Waveform waveform = std::make_shared<Ramp>(1.1e-6);
    Records records(scene), untouched(scene);
    CircularTransducer solved = element_of(scene.discs[0], *waveform);
    CircularTransducer late = element_of(scene.discs[0], *waveform);
    kavro::RingTransducer ring(1e-3, 2e-3);
    records.connect(solved);
    untouched.connect(ring);
    untouched.connect(late);
    kavro::Transducer* const elements[] = {&solved, &ring, &late};
    EXPECT_EQ(kavro::fnm_tsd_sse(elements), kavro::status_not_implemented);
    EXPECT_EQ(untouched.pressure, kavro_oracle::silence(scene));
    EXPECT_NE(records.pressure, kavro_oracle::silence(scene));
    EXPECT_EQ(kavro::fnm_tsd_sse({}), kavro::status_success);

    Records again(scene);
    again.connect(solved);
    again.connect(late);
    late.set_medium(nullptr);
    kavro::Transducer* const incomplete[] = {&solved, &late};
    EXPECT_EQ(kavro::fnm_tsd_sse(incomplete), kavro::status_failure);
    EXPECT_EQ(bits_of(again.pressure), bits_of(records.pressure));

    kavro::Transducer* const nobody[] = {nullptr};
    EXPECT_EQ(kavro::fnm_tsd_sse(nobody), kavro::status_failure);
}

}  // namespace
}  // namespace kavro_test
