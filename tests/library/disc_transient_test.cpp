// The disc's direct transient methods and its impulse response: against the oracle, and against
// each other, which compute the same by other ways.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

#include "oracle/disc_transient.h"
#include "support.h"

namespace kavro_test {
namespace {

using kavro::CircularTransducer;

constexpr double infinity = std::numeric_limits<double>::infinity();

const Method fnm_transient = {"fnm_transient", &CircularTransducer::fnm_transient,
                              kavro_oracle::fnm_transient, false};
const Method rayleigh_transient = {"rayleigh_transient", &CircularTransducer::rayleigh_transient,
                                   kavro_oracle::rayleigh_transient, false};
const Method impulse_response = {"impulse_response", &CircularTransducer::impulse_response,
                                 kavro_oracle::impulse_response, false};

// A user's waveform that jumps at both ends and is zero outside, as the contract wants it.
class ShortRamp : public Ramp {
public:
    using Ramp::Ramp;
    double at(double const& t) const override { return t > 0 && t < w ? Ramp::at(t) : 0.0; }
    double derivative(double const& t) const override {
        return t > 0 && t < w ? Ramp::derivative(t) : 0.0;
    }
};

void compare(const std::string& what, const Scene& scene) {
    std::vector<Waveform> all = exact_waveforms();
    all.push_back(std::make_shared<ShortRamp>(1.7e-6));
    all.push_back(std::make_shared<kavro::ToneBurst>(1e6, infinity, 0));
    all.push_back(sampled(noise(17, 2), 1e-7, 1.7e-6, 0.2));  // in its reference behaviour
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Stage stage(scene, all[i]);
        for (const Method& method : {fnm_transient, rayleigh_transient, impulse_response}) {
            SCOPED_TRACE(what + ", waveform " + std::to_string(i) + ", " + method.name);
            ASSERT_TRUE(
                agrees(stage.by_library(method.solve), yardstick_of(stage, method), 1e-13, true));
        }
    }
}

TEST(DiscTransient, AgreesWithTheOracle) {
    Scene scene = plain_scene();
    // Of few abscissas the coefficients do not sum to nothing beside the face: where the direct
    // wave's window begins shows.
    scene.ndiv = 5;
    compare("plain", scene);
    scene.discs[0].exact = true;
    compare("exact", scene);
    scene = crowded_scene(20);
    scene.discs[0].amplitude = -0.5;
    scene.ndiv = 6;
    compare("turned", scene);
    set_axis(scene, 1.0 / 37e6, 3.1e-6, 41);
    compare("late start, early end", scene);
    std::vector<double> times = scene.times;
    std::swap(times[3], times[37]);
    times.push_back(times[12]);
    set_list(scene, times);
    compare("list", scene);
    scene = plain_scene();
    scene.discs[0].time_delay = -2.2e-6;
    set_axis(scene, 1.0 / 37e6, -1e-6, 130);
    compare("negative delay", scene);
}

TEST(DiscTransient, IsWhatTheDecompositionComputes) {
    Scene scene = plain_scene();
    scene.ndiv = 64;
    set_axis(scene, 1.03e-8, 0, 900);
    for (const Waveform& waveform : exact_waveforms()) {
        const Stage stage(scene, waveform);
        const Field decomposed = stage.by_library(&CircularTransducer::fnm_tsd);
        EXPECT_LT(largest_difference(stage.by_library(fnm_transient.solve), decomposed),
                  1e-10 * peak_of(decomposed));
    }
}

// Over and beside the face, at a distance that the surface rule can resolve.
Scene scene_apart() {
    Scene scene = plain_scene();
    scene.points = {
        {0, 0, 5e-3}, {1e-3, -1e-3, 4e-3}, {0, 3e-3, 2e-3}, {5e-3, 1e-3, 6e-3}, {8e-3, 0, 2e-3}};
    scene.discs[0].amplitude = 1.7;
    scene.discs[0].time_delay = 3e-7;
    set_axis(scene, 2.3e-7, 1.5e-6, 40);
    return scene;
}

TEST(DiscTransient, RayleighIntegralConvergesToIt) {
    Scene scene = scene_apart();
    const auto pulse = std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
    const auto solve = [&](const Method& method, int n) {
        scene.ndiv = n;
        return Stage(scene, pulse).by_library(method.solve);
    };
    const Field edge = solve(fnm_transient, 200);
    const auto error = [&](int n) {
        return largest_difference(solve(rayleigh_transient, n), edge) / peak_of(edge);
    };
    const double fine = error(80);
    EXPECT_LT(fine, 1e-3);
    EXPECT_GT(error(40), 3 * fine);
}

// A waveform that starts or stops with a jump: its derivative alone lacks half of the field.
TEST(DiscTransient, RayleighIntegralConvergesToItBesideJumps) {
    Scene scene = scene_apart();
    set_axis(scene, 7e-8, 1.5e-6, 160);
    std::vector<double> signal(40);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        signal[i] = 1.0 + std::sin(0.3 * static_cast<double>(i));
    }
    for (const Waveform& waveform :
         {Waveform(std::make_shared<kavro::ToneBurst>(1e6, 3.25e-6, 0)),
          Waveform(std::make_shared<kavro::TCubedPulse>(1e6, 2.25e-6, 1e5)),
          sampled(signal, 5e-8, 2e-6, 0)}) {
        waveform->set_exact(true);
        const auto solve = [&](const Method& method, int n) {
            scene.ndiv = n;
            Records records(scene);
            kavro::CircularTransducer disc = element_of(scene.discs[0], *waveform);
            disc.set_exact(true);
            records.connect(disc);
            EXPECT_EQ((disc.*method.solve)(), kavro::status_success);
            return records.pressure;
        };
        const Field edge = solve(fnm_transient, 300);
        const Field surface = solve(rayleigh_transient, 60);
        double off = 0.0, whole = 0.0;
        for (std::size_t i = 0; i < edge.size(); ++i) {
            off += (surface[i] - edge[i]) * (surface[i] - edge[i]);
            whole += edge[i] * edge[i];
        }
        EXPECT_LT(std::sqrt(off / whole), 0.05);
    }
}

// Nodes and weights on [from, to] that swallow the square roots at the ends of an arc.
struct Nodes {
    std::vector<double> t, weight;

    void add(double from, double to, int n) {
        for (int i = 0; i < n && to > from; ++i) {
            const double theta = std::numbers::pi * (i + 0.5) / n;
            t.push_back((from + to) / 2 - (to - from) / 2 * std::cos(theta));
            weight.push_back((to - from) / 2 * std::sin(theta) * std::numbers::pi / n);
        }
    }
};

// p = rho A times the integral of v'(t - s) h(s), in which h has a piece up to the nearest rim
// point's arrival and an arc up to the farthest's.
TEST(ImpulseResponse, ConvolvedWithTheWaveformIsThePressure) {
    Scene scene = scene_apart();
    scene.points.push_back({1e-3, 1e-3, 0});
    scene.ndiv = 200;
    const auto pulse = std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0);
    const Field pressure = Stage(scene, pulse).by_library(fnm_transient.solve);
    const double a = scene.discs[0].radius, c = scene.speed;
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Triple& at = scene.points[p];
        const double r = std::hypot(at.x, at.y), delay = scene.discs[0].time_delay;
        const double first = std::hypot(std::fmax(r - a, 0.0), at.z) / c + delay;
        const double nearest = std::hypot(r - a, at.z) / c + delay;
        Nodes nodes;
        nodes.add(first, nearest, 3000);
        nodes.add(nearest, std::hypot(r + a, at.z) / c + delay, 3000);
        Scene alone = scene;
        alone.points = {at};
        set_list(alone, nodes.t);
        const Field response = Stage(alone, pulse).by_library(impulse_response.solve);
        for (std::size_t j = 0; j < scene.times.size(); ++j) {
            double sum = 0;
            for (std::size_t i = 0; i < response.size(); ++i) {
                sum +=
                    nodes.weight[i] * response[i] * pulse->derivative(scene.times[j] - nodes.t[i]);
            }
            ASSERT_NEAR(scene.density * sum, pressure[p + j * scene.points.size()],
                        2e-6 * peak_of(pressure))
                << "point " << p << ", sample " << j;
        }
    }
}

// On the axis it is c from z/c until the rim is heard; behind the face the reference begins too
// early, by the height's sign.
TEST(ImpulseResponse, BehindTheFaceIsMirroredOnlyIfExact) {
    Scene scene = plain_scene();
    const double z = 1.5e-3, c = scene.speed, rim = std::hypot(z, scene.discs[0].radius) / c;
    scene.points = {{0, 0, z}, {0, 0, -z}};
    set_list(scene, {-1.01e-6, -0.99e-6, 0.99e-6, 1.01e-6, rim - 1e-9, rim + 1e-9});
    const Waveform none = std::make_shared<Ramp>(1e-6);
    scene.discs[0].amplitude = 1e-11;  // no amplitude is too small
    const double h = 1e-11 * c;
    EXPECT_EQ(Stage(scene, none).by_library(impulse_response.solve),
              (Field{0, 0, 0, h, 0, h, h, h, h, h, 0, 0}));
    scene.discs[0].exact = true;
    EXPECT_EQ(Stage(scene, none).by_library(impulse_response.solve),
              (Field{0, 0, 0, 0, 0, 0, h, h, h, h, 0, 0}));
}

TEST(ImpulseResponse, NeedsNeitherWaveformNorAbscissas) {
    const Scene scene = plain_scene();
    const std::function<void(CircularTransducer&)> omissions[] = {
        [](CircularTransducer& e) { e.coordinate_grid = nullptr; },
        [](CircularTransducer& e) { e.medium = nullptr; },
        [](CircularTransducer& e) { e.time_samples = nullptr; },
        [](CircularTransducer& e) { e.transient_pressure = nullptr; }};
    for (const auto& omit : omissions) {
        Records records(scene);
        CircularTransducer element = element_of(scene.discs[0]);
        records.connect(element);
        omit(element);
        EXPECT_EQ(element.impulse_response(), kavro::status_failure);
        EXPECT_EQ(records.pressure, kavro_oracle::silence(scene));
    }
    Records records(scene);
    CircularTransducer element = element_of(scene.discs[0]);
    records.connect(element);
    element.set_integral_pointer(nullptr);
    EXPECT_EQ(element.impulse_response(), kavro::status_success);
    EXPECT_GT(peak_of(records.pressure), 0.0);
}

TEST_F(Variants, TransientsAgreeToTheLastBit) {
    Scene scene = crowded_scene(150);
    scene.ndiv = 5;
    set_axis(scene, 1e-7, 0, 60);
    for (const Waveform& waveform : exact_waveforms()) {
        const Stage stage(scene, waveform);
        for (const Method& method : {fnm_transient, rayleigh_transient, impulse_response}) {
            SCOPED_TRACE(method.name);
            kavro::set_thread_count(1);
            kavro::set_vector_target(kavro::VectorTarget::scalar);
            const Field expected = stage.by_library(method.solve);
            for (const auto target : {kavro::VectorTarget::sse4, kavro::VectorTarget::avx2,
                                      kavro::VectorTarget::avx512}) {
                kavro::set_vector_target(target);
                kavro::set_thread_count(target == kavro::VectorTarget::avx2 ? 1 : 3);
                EXPECT_TRUE(stage.by_library(method.solve) == expected);
            }
        }
    }
}

}  // namespace
}  // namespace kavro_test
