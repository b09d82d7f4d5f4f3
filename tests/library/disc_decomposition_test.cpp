// The disc's decompositions against the oracle, on scenes made to hurt.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "oracle/literal_waveforms.h"
#include "support.h"

namespace kavro_test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

struct Kind {
    std::string name;
    std::function<Waveform()> library;
    std::function<std::unique_ptr<kavro_oracle::Waveform>()> literal;  // empty: has none
    // Whether the terms of the decomposition are much larger than their sum, as those of an
    // expanded cube are: rounding is then of their size.
    bool cancels = false;
};

Kind sampled_kind(const char* name, const std::vector<double>& signal, double clip_threshold) {
    constexpr double ts = 1e-7;
    const double w = static_cast<double>(signal.size()) * ts;
    return {name, [=] { return sampled(signal, ts, w, clip_threshold); },
            [=] {
                return std::make_unique<kavro_oracle::SampledSignal>(signal, ts, w, clip_threshold);
            }};
}

template <class Library, class Literal>
Kind pulse_kind(const char* name, double w, double B, bool cancels = false) {
    return {name, [=] { return std::make_shared<Library>(1e6, w, B); },
            [=] { return std::make_unique<Literal>(1e6, w, B); }, cancels};
}

Kind exact_sibling(const Kind& kind) {
    return {"exact " + kind.name,
            [=] {
                Waveform waveform = kind.library();
                waveform->set_exact(true);
                return waveform;
            },
            {},
            kind.cancels};
}

std::vector<Kind> kinds() {
    const std::vector<double> even = noise(24, 1);
    const std::vector<double> odd = noise(17, 2);
    // The bin of frequency zero is exactly zero too.
    const std::vector<double> zero_mean = {3, -1, 4, -1, -5, 2, -6, 4};
    std::vector<Kind> all = {
        pulse_kind<kavro::ToneBurst, kavro_oracle::ToneBurst>("tone burst", 2.3e-6, 0),
        pulse_kind<kavro::ToneBurst, kavro_oracle::ToneBurst>("endless tone", infinity, 0),
        pulse_kind<kavro::HanningPulse, kavro_oracle::HanningPulse>("Hanning", 2e-6, 0),
        pulse_kind<kavro::TCubedPulse, kavro_oracle::TCubedPulse>("t cubed", 2e-6, 4e5, true),
        sampled_kind("even signal", even, 0.0),
        sampled_kind("odd signal", odd, 0.0),
        sampled_kind("signal without mean", zero_mean, 0.0),
        sampled_kind("clipped signal", even, 0.2),
        sampled_kind("signal clipped in dB", odd, -4.0),
        sampled_kind("constant signal", std::vector<double>(6, 2.5), 0.1),  // one term
        sampled_kind("silent signal", std::vector<double>(6, 0.0), 0.1)};   // none
    for (std::size_t i = 0, references = all.size(); i < references; ++i) {
        all.push_back(exact_sibling(all[i]));
    }
    all.push_back({"ramp", [] { return std::make_shared<Ramp>(1.7e-6); }, {}});
    return all;
}

// Rounding is measured by each point's peak, or, where an axis of few samples may miss the peak or
// only catch what direct and edge wave leave of each other, by the magnitude of their terms.
enum class Measure { peak, terms };

// Every method and waveform, with the factors of the library and with literal ones, which add the
// rounding of their own sines.
void compare(const std::string& what, const Scene& scene, Measure measure) {
    for (const Kind& kind : kinds()) {
        const Stage stage(scene, kind.library());
        const auto literal = kind.literal ? kind.literal() : nullptr;
        std::vector<Method> methods = real_methods();
        if (stage.waveform().has_complex_decomposition()) {
            methods.push_back(complex_method());
        }
        for (const Method& method : methods) {
            SCOPED_TRACE(what + ", " + kind.name + ", " + method.name);
            const bool by_terms = kind.cancels || measure == Measure::terms;
            const Field field = stage.by_library(method.solve);
            const double tolerance = method.single ? 1e-6 : 1e-13;
            ASSERT_TRUE(agrees(field, yardstick_of(stage, method), tolerance, by_terms));
            if (literal) {
                const Yardstick yardstick = yardstick_of(stage, method, literal.get());
                ASSERT_TRUE(agrees(field, yardstick, 2 * tolerance, by_terms));
            }
        }
    }
}

Disc disc_at(double radius, Triple center, Triple euler, double amplitude, double time_delay) {
    return {radius, center, euler, amplitude, time_delay, nullptr};
}

TEST(DiscDecomposition, AgreesAtEveryKindOfPoint) {
    compare("plain", plain_scene(), Measure::peak);
}

TEST(DiscDecomposition, AgreesForTurnedElementsThatOverlapInTime) {
    Scene scene = plain_scene();
    scene.discs = {disc_at(2e-3, {1e-3, -2e-3, 5e-4}, {0.3, -0.4, 0.7}, 1.5, 4e-7),
                   disc_at(1e-3, {-3e-3, 0, 0}, {-0.2, 0.1, 2.0}, -0.25, -3e-7),
                   disc_at(4e-3, {0, 1e-3, -1e-3}, {3.0, 0.05, -1.0}, 1, 0),
                   disc_at(2e-3, {0, 0, 0}, {0, 0, 0}, 1e-10, 0),
                   disc_at(5e-4, {2e-3, 2e-3, 1e-3}, {0, 0, 0}, std::nextafter(1e-10, 1), 1e-6)};
    scene.speed = 1540.7;
    scene.density = 1060.3;
    compare("turned", scene, Measure::peak);
}

TEST(DiscDecomposition, AgreesWhereTheAxisCutsTheWaves) {
    Scene scene = plain_scene();
    scene.discs[0].time_delay = 1e-7;
    set_axis(scene, 1.0 / 37e6, 3.1e-6, 97);
    compare("late start, early end", scene, Measure::terms);
    set_axis(scene, 1.0 / 37e6, -4e-6, 60);
    compare("over before anything arrives", scene, Measure::terms);
    set_axis(scene, 1.0 / 37e6, -1e-6, 130);
    scene.discs[0].time_delay = -2.2e-6;
    compare("negative delay", scene, Measure::terms);
}

TEST(DiscDecomposition, AgreesForEverySampleCount) {
    for (int count = 1; count <= 11; ++count) {
        Scene scene = plain_scene();
        scene.ndiv = count;
        set_axis(scene, 1.7e-7, 2.6e-6, count);
        compare(std::to_string(count) + " samples", scene, Measure::terms);
    }
}

TEST(DiscDecomposition, ComparesTimesOfAListDirectly) {
    Scene scene = plain_scene();
    scene.discs[0].time_delay = 1.1e-7;
    std::vector<double> times = scene.times;
    std::reverse(times.begin(), times.end());
    std::rotate(times.begin(), times.begin() + 41, times.end());
    times.resize(280);
    times.push_back(times.front());
    // To the last bit the arrival at the centre of the face, and a moment before.
    times.push_back(scene.discs[0].time_delay);
    times.push_back(std::nextafter(scene.discs[0].time_delay, 0));
    set_list(scene, times);
    compare("list", scene, Measure::peak);
    set_list(scene, {4.4e-6});
    compare("list of one", scene, Measure::terms);
}

TEST(DiscDecomposition, AgreesWhereNumbersRunOut) {
    Scene scene = plain_scene();
    scene.points = {{0, 0, 5e-3},
                    {not_a_number, 0, 5e-3},
                    {0, 0, not_a_number},
                    {infinity, 0, 5e-3},
                    {0, -infinity, infinity},
                    {0, 0, -infinity},
                    {1e5, 0, 2e5},
                    {0, 0, 1e18},
                    {1e25, 1e25, 0},
                    {1e200, 0, 1e200}};
    compare("not finite", scene, Measure::terms);
    scene.discs[0].time_delay = 1e4;  // sample numbers beyond 32 bits
    compare("late", scene, Measure::terms);
    scene.discs[0].time_delay = -1e4;
    compare("early", scene, Measure::terms);
    set_list(scene, {4e-6, not_a_number, infinity, -infinity, 4.1e-6});
    scene.discs[0].time_delay = 0.0;
    compare("times that are not finite", scene, Measure::terms);
}

// Delays that are whole numbers of steps but for rounding, and windows as long: whether a sample
// belongs to a wave hangs on the last bit.
TEST(DiscDecomposition, AgreesWhereArrivalsFallOnSamples) {
    for (const double dt : {1e-7, 1.3e-7}) {
        Scene scene = plain_scene();
        const double a = scene.discs[0].radius;
        scene.points.clear();
        for (int k = 1; k <= 30; ++k) {
            const double distance = k * dt * scene.speed;
            scene.points.push_back({0, 0, distance});
            scene.points.push_back({0, 0, std::sqrt(std::fmax(distance * distance - a * a, 0.0))});
            scene.points.push_back({a + distance, 0, 0});
            scene.points.push_back({0, a, distance});
        }
        scene.discs[0].time_delay = 3 * dt;
        set_axis(scene, dt, 2 * dt, 60);
        compare("on samples", scene, Measure::terms);
    }
}

// More points than a tile, and counts that fill no block of lanes.
TEST(DiscDecomposition, AgreesForEveryNumberOfPoints) {
    const Scene all = crowded_scene(150);
    const Stage whole(all, std::make_shared<kavro::HanningPulse>(1e6, 1e-6, 0));
    for (const Method& method : real_methods()) {
        EXPECT_TRUE(agrees(whole.by_library(method.solve), yardstick_of(whole, method),
                           method.single ? 1e-6 : 1e-13));
    }
    for (const std::size_t count : {1u, 2u, 15u, 16u, 17u, 31u, 33u, 127u, 129u}) {
        Scene part = all;
        part.points.resize(count);
        const Stage stage(part, std::make_shared<Ramp>(1.1e-6));
        for (const Method& method : real_methods()) {
            SCOPED_TRACE(std::to_string(count) + " points, " + method.name);
            EXPECT_TRUE(agrees(stage.by_library(method.solve), yardstick_of(stage, method),
                               method.single ? 1e-6 : 1e-13));
        }
    }
}

// Neighbours in a block whose waves are tens of thousands of samples apart.
TEST(DiscDecomposition, AgreesForNeighboursFarApart) {
    Scene scene = plain_scene();
    scene.ndiv = 4;
    scene.points = {{0, 0, 1e-3}, {0, 0, 0.6}, {1e-3, 0, 1.2}, {0, 1e-3, 2e-3}};
    set_axis(scene, 1e-8, 0, 90000);
    for (const Waveform& waveform : {Waveform(std::make_shared<Ramp>(1.1e-6)),
                                     Waveform(std::make_shared<kavro::ToneBurst>(1e6, 2e-6, 0))}) {
        const Stage stage(scene, waveform);
        for (const Method& method : real_methods()) {
            SCOPED_TRACE(method.name);
            EXPECT_TRUE(agrees(stage.by_library(method.solve), yardstick_of(stage, method),
                               method.single ? 1e-6 : 1e-13, true));
        }
    }
}

// One where it is not zero, so that with one abscissa every pressure is a coefficient.
class Step : public Ramp {
public:
    using Ramp::Ramp;
    using Ramp::spatial_tsd;
    using Ramp::temporal_tsd;
    void spatial_tsd(float* out, float const&) const override { out[0] = 1.0f; }
    void temporal_tsd(float* out, kavro::TimeSamples const*, int const& ntimes,
                      float const&) const override {
        std::fill_n(out, ntimes, 1.0f);
    }
    double at(double const&) const override { return 1.0; }
    int number_of_tsd_terms() const override { return 1; }
};

TEST(DiscDecomposition, CoefficientsHaveTheBitsOfTheOracle) {
    Scene scene = crowded_scene(60);
    scene.discs.resize(1);
    scene.ndiv = 1;
    for (const double radius : {2e-3, 1.1e-3, 2.7e-4}) {
        scene.discs[0].radius = radius;
        scene.speed += 13.3;
        scene.density -= 7.7;
        const Stage stage(scene, std::make_shared<Step>(9e-7));
        for (const Method& method : real_methods()) {
            if (method.single) {
                EXPECT_EQ(stage.by_library(method.solve), yardstick_of(stage, method).field);
            }
        }
    }
}

// The edge wave of the second point leaves the range of single precision before it arrives, which
// must not touch its direct wave nor its neighbour.
TEST(DiscDecomposition, OverflowStaysWithWhatOverflows) {
    Scene scene = plain_scene();
    scene.discs[0].radius = 3e-4;
    scene.points = {{0, 0, 0}, {0, 0, 6e-4}};
    set_axis(scene, 4e-9, 0, 111);
    const Waveform pulse = std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, 2e8);
    const Stage stage(scene, pulse);
    Scene alone = scene;
    alone.points.pop_back();
    for (const Method& method : real_methods()) {
        SCOPED_TRACE(method.name);
        const Field field = stage.by_library(method.solve);
        const Field single = Stage(alone, pulse).by_library(method.solve);
        const Yardstick yardstick = yardstick_of(stage, method);
        EXPECT_GT(yardstick.scale[1], 0.0);
        for (std::size_t j = 0; j < single.size(); ++j) {
            EXPECT_EQ(field[2 * j], single[j]);
            EXPECT_NEAR(field[2 * j + 1], yardstick.field[2 * j + 1], 1e-6 * yardstick.scale[1]);
        }
    }
}

// The ramp is nowhere near zero inside its window, so the zeros of its field are the windows.
TEST(DiscDecomposition, SilenceIsExactlyWhereNoWaveIs) {
    const Scene scene = plain_scene();
    const Stage stage(scene, std::make_shared<Ramp>(1.7e-6));
    for (const Method& method : real_methods()) {
        SCOPED_TRACE(method.name);
        const Yardstick yardstick = yardstick_of(stage, method);
        const Field field = stage.by_library(method.solve);
        std::size_t different = 0, silent = 0;
        for (std::size_t i = 0; i < field.size(); ++i) {
            different += (field[i] != 0.0) != (yardstick.touched[i] != 0) ? 1 : 0;
            silent += field[i] == 0.0 ? 1 : 0;
        }
        EXPECT_EQ(different, 0u);
        EXPECT_GT(silent, field.size() / 4);
        EXPECT_LT(silent, field.size() * 9 / 10);
    }
}

// Neither the oracle's order of sums nor the library's: the formula, summed in double.
TEST(DiscDecomposition, StaysCloseToTheFormulaInDouble) {
    Scene scene = plain_scene();
    scene.ndiv = 24;
    const Stage stage(scene, std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0));
    const kavro_oracle::HanningPulse literal(1e6, 2e-6, 0);
    for (const Method& method : real_methods()) {
        SCOPED_TRACE(method.name);
        const Scene literal_scene = stage.for_oracle(&literal);
        WindowLog log;
        Yardstick yardstick = yardstick_of(stage, method);
        Field unused = yardstick.field;
        method.oracle(literal_scene, unused, &log);
        yardstick.field = kavro_oracle::silence(scene);
        kavro_oracle::add_exact(literal_scene, log, yardstick.field);
        const double tolerance = method.single ? 2e-5 : 1e-12;
        EXPECT_TRUE(agrees(stage.by_library(method.solve), yardstick, tolerance));
    }
}

}  // namespace
}  // namespace kavro_test
