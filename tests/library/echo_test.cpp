// Echoes of point scatterers, against double surface integrals computed elsewhere, against closed
// forms and against themselves in other orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <string>
#include <vector>

#include "golden.h"
#include "stage.h"

namespace kavro_test {
namespace {

using Complex = std::complex<double>;
using kavro::Scatterer;
constexpr double two_pi = 6.283185307179586;

// Elements and their medium, whose place stays.
struct Probe {
    std::shared_ptr<kavro::Medium> shared = std::make_shared<kavro::Medium>(Tank().medium);
    kavro::Medium& medium = *shared;
    std::vector<std::unique_ptr<kavro::Transducer>> owned{};
    std::vector<kavro::Transducer*> elements{};

    void add(const Source& source) {
        owned.push_back(element_of(source));
        elements.push_back(owned.back().get());
        elements.back()->set_medium(&medium);
    }
    kavro::EchoElements all() const { return {elements}; }
};

struct GoldenEcho {
    std::string id;
    Probe senders, receiver;
    std::vector<Scatterer> scatterers;
    Waveform waveform;
    Values at, re, im;
    double allowed, tolerance;

    explicit GoldenEcho(const std::vector<std::string>& column) : id(column[0]) {
        const Values v = numbers({column[5], column[6], column[7], column[8], column[9]});
        senders.medium._soundspeed = v[0];
        senders.medium._rho_density = v[1];
        senders.medium._dBcmMHz = v[2];
        senders.medium._b = v[3];
        senders.medium._reference_frequency = v[4];
        receiver.medium = senders.medium;
        for (const std::string& element : parts_of(column[2], '|')) {
            senders.add(source_of(element));
        }
        receiver.add(source_of(column[3]));
        receiver.elements[0]->set_medium(&senders.medium);
        for (const std::string& scatterer : parts_of(column[4], '|')) {
            const Values s = numbers(parts_of(scatterer, ' '));
            scatterers.emplace_back(s[0], s[1], s[2], s[3]);
        }
        if (column[1] == "transient") {
            waveform = waveform_of(column[10]);
        }
        at = numbers(parts_of(column[11], ';'));
        re = numbers(parts_of(column[12], ';'));
        im = numbers(parts_of(column[13], ';'));
        tolerance = v[2] == 0.0 && waveform ? 1e-6 : 1e-9;  // without losses bands are wide
        allowed = std::fmax(1e-8, 10.0 * std::stod(column[15])) * std::stod(column[14]);
    }
};

TEST(Echo, ReachesTheDoubleSurfaceIntegrals) {
    int transients = 0, spectra = 0;
    for (const std::vector<std::string>& column : golden_table("echo.csv")) {
        const GoldenEcho row(column);
        SCOPED_TRACE("row " + row.id);
        const kavro::EchoScene scene{
            .transmitters = row.senders.all(), .receivers = row.receiver.all(), .tolerance = 1e-9};
        if (row.waveform) {
            kavro::TimeSamples times;
            times.times = row.at;
            times.ntimes = static_cast<int>(row.at.size());
            const Values found = pulse_echo(scene, {times, *row.waveform}, row.scatterers);
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_NEAR(found[i], row.re[i], row.allowed) << i;
            }
            ++transients;
        } else {
            const std::vector<Complex> found = pulse_echo(scene, row.at, row.scatterers);
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_LE(std::abs(found[i] - Complex(row.re[i], row.im[i])), row.allowed) << i;
            }
            ++spectra;
        }
    }
    EXPECT_EQ(transients, 17);
    EXPECT_EQ(spectra, 18);
}

// ---- closed forms and linearity

std::vector<Scatterer> strewn(std::size_t count, unsigned seed) {
    const Values random = noise(4 * count, seed);
    std::vector<Scatterer> scatterers;
    for (std::size_t i = 0; i < 4 * count; i += 4) {
        scatterers.emplace_back(8e-3 * random[i], 4e-3 * random[i + 1],
                                16e-3 + 8e-3 * random[i + 2], 1e-3 * random[i + 3]);
    }
    return scatterers;
}

// Four elements of different shapes in tissue.
Probe mixed_probe() {
    Probe probe;
    probe.medium._dBcmMHz = 0.5;
    probe.medium._b = 1.1;
    probe.add({.shape = "rect", .sizes = {0.5e-3, 4e-3}, .center = {-3e-3, 0, 0}});
    probe.add({.shape = "circ", .sizes = {0.7e-3}, .center = {-1e-3, 0, 0}, .amplitude = 0.5});
    probe.add({.shape = "ring", .sizes = {0.3e-3, 0.9e-3}, .center = {1e-3, 0, 0}});
    probe.add({.shape = "shel", .sizes = {0.8e-3, 6e-3}, .center = {3e-3, 0, 0}});
    return probe;
}

Values evenly(double first, double step, int count) {
    Values all;
    for (int i = 0; i < count; ++i) {
        all.push_back(first + i * step);
    }
    return all;
}

double largest(const std::vector<Complex>& values) {
    double most = 0.0;
    for (const Complex& value : values) {
        most = std::fmax(most, std::abs(value));
    }
    return most;
}

// One element after the other.
struct Aperture {
    Values delays;

    explicit Aperture(std::size_t n) : delays(n * n, std::nan("")) {
        for (std::size_t i = 0; i < n; ++i) {
            delays[i + n * i] = 0.0;
        }
    }
    kavro::EchoEvents events() const {
        return {.count = static_cast<std::size_t>(std::sqrt(delays.size())), .delays = delays};
    }
};

TEST(Echo, OfAFarScattererIsTheDerivativeOfThePulse) {
    Probe probe;
    probe.medium._dBcmMHz = 0.0;
    const double a = 5e-5, R = 60e-3, sigma = 2e-3, c = probe.medium._soundspeed;
    probe.add({.shape = "circ", .sizes = {a}, .amplitude = 1.5, .time_delay = 1e-6});
    const std::vector<Scatterer> scatterers{{0, 0, R, sigma}};
    kavro::HanningPulse pulse(1e6, 3e-6, 0.0);
    pulse.set_exact(true);
    kavro::TimeSamples times(3e-8, 79e-6, 88e-6);
    const kavro::EchoScene scene{.transmitters = probe.all(), .tolerance = 1e-6};
    kavro::EchoReport report;
    const Values found = pulse_echo(scene, {times, pulse}, scatterers, &report);
    const double scale = probe.medium._rho_density * a * a * sigma / (R * R) * 1.5;
    Values expected;
    for (const double t : times.times) {
        expected.push_back(scale * pulse.derivative(t - 1e-6 - 2.0 * R / c));
    }
    EXPECT_TRUE(close_to(found, expected, 1e-4));
    EXPECT_NEAR(report.pulse_delay, 1.5e-6, 1e-12);
    EXPECT_NEAR(report.first_arrival, 1e-6 + 2.0 * R / c, 1e-10);
    EXPECT_EQ(report.scatterers, 1);

    // A response convolves, whichever way it stands; an exponent of 2 differentiates twice.
    kavro::HanningPulse response(0.8e6, 2.5e-6, 0.0);
    response.set_exact(true);
    kavro::EchoScene rayleigh = scene;
    rayleigh.exponent = 2.0;
    rayleigh.reference_frequency = 2e6;
    Values convolved;
    constexpr int steps = 500;
    for (const double t : times.times) {
        double sum = 0.0;
        for (int i = 0; i < steps; ++i) {
            const double u = (i + 0.5) * response.w / steps, h = 1e-9;
            sum += (response.derivative(u + h) - response.derivative(u - h)) / (2.0 * h) *
                   pulse.derivative(t - 1e-6 - 2.0 * R / c - u) * response.w / steps;
        }
        convolved.push_back(-scale * sum / std::pow(two_pi * 2e6, 2));
    }
    EXPECT_TRUE(
        close_to(pulse_echo(rayleigh, {times, pulse, &response}, scatterers), convolved, 1e-3));
    EXPECT_TRUE(close_to(pulse_echo(rayleigh, {times, pulse, nullptr, &response}, scatterers),
                         convolved, 1e-3));
}

TEST(Echo, SendersAndListenersMayChangePlaces) {
    const Probe probe = mixed_probe();
    const Aperture aperture(4);
    const Values frequencies = evenly(0.5e6, 0.1e6, 20);
    const kavro::EchoScene scene{.transmitters = probe.all(), .events = aperture.events()};
    // On other channels, so that the sums are not known to be symmetric.
    const std::vector<std::int32_t> channels{3, 2, 1, 0};
    kavro::EchoScene turned = scene;
    turned.receivers = {probe.elements, channels};
    const std::vector<Complex> S = pulse_echo(scene, frequencies, strewn(40, 1));
    const std::vector<Complex> T = pulse_echo(turned, frequencies, strewn(40, 1));
    for (std::size_t f = 0; f < frequencies.size(); ++f) {
        for (std::size_t j = 0; j < 4; ++j) {
            for (std::size_t m = 0; m < 4; ++m) {
                const kavro::Transducer &sender = *probe.elements[j],
                                        &listener = *probe.elements[m];
                const Complex there =
                    S[m + 4 * (j + 4 * f)] * listener.face_area() / sender.complex_weight;
                const Complex back =
                    T[3 - j + 4 * (m + 4 * f)] * sender.face_area() / listener.complex_weight;
                EXPECT_LE(std::abs(there - back), 1e-12 * std::abs(there));
            }
        }
    }
}

// Few events are summed on their own, many from pairs of channels; wired elements by their faces.
TEST(Echo, EventsAndChannelsAreSumsOfPairs) {
    const Probe probe = mixed_probe();
    const Values frequencies{0.7e6, 1.1e6, 2.3e6};
    const std::vector<Scatterer> scatterers = strewn(70, 2);
    const Aperture aperture(4);
    const std::vector<Complex> S = pulse_echo(
        {.transmitters = probe.all(), .events = aperture.events()}, frequencies, scatterers);

    const std::vector<std::int32_t> wired{0, 1, 1, 2}, own{0, 1, 2, 3};
    const Values delays{1e-7, 2e-7, std::nan("")}, apodization{1.0, -0.5, 3.0};
    for (const bool is_wired : {false, true}) {
        const Values all_delays{1e-7, 2e-7, 2e-7, std::nan("")};
        const Values all_apodization{1.0, -0.5, -0.5, 3.0};
        const kavro::EchoScene scene{
            .transmitters = {probe.elements, is_wired ? wired : own},
            .events = {.count = 1,
                       .delays = is_wired ? delays : all_delays,
                       .apodization = is_wired ? apodization : all_apodization}};
        const std::vector<Complex> found = pulse_echo(scene, frequencies, scatterers);
        const std::size_t receivers = is_wired ? 3 : 4;
        ASSERT_EQ(found.size(), receivers * 3);
        for (std::size_t f = 0; f < 3; ++f) {
            std::vector<Complex> force(receivers);
            Values area(receivers);
            for (std::size_t m = 0; m < 4; ++m) {
                const std::size_t channel = is_wired ? static_cast<std::size_t>(wired[m]) : m;
                area[channel] += probe.elements[m]->face_area();
                for (std::size_t j = 0; j < 3; ++j) {
                    const Complex way =
                        std::polar(all_apodization[j], -two_pi * frequencies[f] * all_delays[j]);
                    force[channel] += way * S[m + 4 * (j + 4 * f)] * probe.elements[m]->face_area();
                }
            }
            for (std::size_t m = 0; m < receivers; ++m) {
                EXPECT_LE(std::abs(found[m + receivers * f] - force[m] / area[m]),
                          1e-11 * largest(found));
            }
        }
    }
}

// ---- the same bits

class EchoBits : public Variants {};

TEST_F(EchoBits, OfAnyThreadsAndVectors) {
    const Probe probe = mixed_probe();
    const Aperture aperture(4);
    const std::vector<Scatterer> scatterers = strewn(150, 3);
    kavro::HanningPulse pulse(1e6, 3e-6, 0.0);
    kavro::TimeSamples times(1e-7, 0.0, 60e-6);
    kavro::EchoScene scene{.transmitters = probe.all()};
    for (const bool is_aperture : {false, true}) {
        if (is_aperture) {
            scene.events = aperture.events();
        }
        const Values expected = pulse_echo(scene, {times, pulse}, scatterers);
        ASSERT_GT(peak_of(expected), 0.0);
        for (const int threads : {1, 3}) {
            kavro::set_thread_count(threads);
            for_every_vector_target([&] {
                EXPECT_TRUE(same_bits(pulse_echo(scene, {times, pulse}, scatterers), expected));
            });
        }
    }
}

TEST(Echo, ChunksMayBeSharedOutAndScatterersPermuted) {
    Probe probe;
    probe.medium._dBcmMHz = 0.0;
    probe.add({.shape = "circ", .sizes = {0.3e-3}, .amplitude = 1.0});
    const Values frequencies{1.0e6, 1.5e6};
    std::vector<Scatterer> scatterers = strewn(2 * kavro::echo_chunk + 20, 4);
    const kavro::EchoScene scene{.transmitters = probe.all(), .tolerance = 1e-3};
    const std::vector<Complex> expected = pulse_echo(scene, frequencies, scatterers);

    const std::span<const Scatterer> all = scatterers;
    kavro::EchoExtent extent = echo_extent(scene, all.subspan(1000));
    extent.include(echo_extent(scene, all.first(1000)));
    const kavro::EchoPlan plan(scene, frequencies, extent);
    std::vector<std::vector<Complex>> sums(3, std::vector<Complex>(plan.sum_size()));
    for (const std::size_t chunk : {2u, 0u, 1u}) {
        const std::size_t first = chunk * kavro::echo_chunk;
        plan.sum_chunk(all.subspan(first, std::min(kavro::echo_chunk, all.size() - first)),
                       sums[chunk]);
    }
    std::vector<Complex> total(plan.sum_size()), found(expected.size());
    for (const std::vector<Complex>& sum : sums) {
        for (std::size_t i = 0; i < total.size(); ++i) {
            total[i] += sum[i];
        }
    }
    plan.spectrum(total, found.data());
    EXPECT_EQ(found, expected);

    std::reverse(scatterers.begin(), scatterers.end());
    const std::vector<Complex> reversed = pulse_echo(scene, frequencies, scatterers);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_LE(std::abs(reversed[i] - expected[i]), 1e-9 * std::abs(expected[i]));
    }
}

// ---- what is taken and what is not

TEST(Echo, TakesScatterersAnywhere) {
    Probe probe;
    probe.add({.shape = "circ", .sizes = {2e-3}});
    probe.add({.shape = "shel", .sizes = {2e-3, 8e-3}});
    const kavro::EchoScene scene{.transmitters = probe.all()};
    const Values frequencies = evenly(0.0, 0.25e6, 16);
    const auto echo = [&](const std::vector<Scatterer>& scatterers) {
        return largest(pulse_echo(scene, frequencies, scatterers));
    };
    EXPECT_EQ(echo({}), 0.0);
    EXPECT_EQ(echo({{0, 0, 9e-3, 0.0}}), 0.0);
    EXPECT_EQ(echo({{1e-3, 0, -9e-3}}), 0.0);
    for (const Scatterer& at : {Scatterer(0, 0, 0), Scatterer(2e-3, 0, 0), Scatterer(0, 0, 8e-3)}) {
        const double value = echo({at});
        EXPECT_TRUE(value > 0.0 && std::isfinite(value));
    }
    kavro::HanningPulse pulse(1e6, 3e-6, 0.0);
    EXPECT_TRUE(pulse_echo(scene, {kavro::TimeSamples(), pulse}, strewn(3, 1)).empty());
    const kavro::TimeSamples late(1e-7, 1e-3, 1.01e-3);
    EXPECT_EQ(peak_of(pulse_echo(scene, {late, pulse}, strewn(3, 1))), 0.0);
}

TEST(Echo, RefusesWhatMakesNoSense) {
    Probe probe;
    probe.add({.shape = "circ", .sizes = {2e-3}});
    probe.add({.shape = "circ", .sizes = {0.0}, .center = {9e-3, 0, 0}});
    const kavro::EchoElements one{std::span(probe.elements).first(1)};
    const Values three{0.0, 0.0, 0.0};
    const auto message = [&](auto change, std::vector<Scatterer> scatterers = {{0, 0, 1e-2}},
                             Values frequencies = {1e6}) {
        kavro::EchoScene scene{.transmitters = one};
        const kavro::Medium medium = probe.medium;
        change(scene);
        const std::string error = error_of([&] { pulse_echo(scene, frequencies, scatterers); });
        probe.medium = medium;
        return error;
    };
    const auto nothing = [](kavro::EchoScene&) {};
    const auto expect = [](const std::string& error, const std::string& part) {
        EXPECT_NE(error.find(part), std::string::npos) << error;
    };
    expect(message([&](kavro::EchoScene& s) { s.tolerance = 0.2; }), "not 0.2");
    expect(message([&](kavro::EchoScene& s) { s.events.delays = three; }), "1 x 1, not 3");
    expect(message([&](kavro::EchoScene& s) { s.transmitters = {}; }), "one element at least");
    expect(message([&](kavro::EchoScene& s) { s.receivers = probe.all(); }), "Receiver 1");
    expect(message([&](kavro::EchoScene& s) { s.exponent = 2.0; }), "reference frequency");
    expect(message([&](kavro::EchoScene&) { probe.medium._b = 2.5; }), "2.5");
    expect(message([&](kavro::EchoScene&) { probe.medium._dBcmMHz = -1.0; }), "-1");
    expect(message([&](kavro::EchoScene&) { probe.medium._f0 = 0.0; }), "reference frequency");
    expect(message(nothing, {{0, 0, 1.0, std::nan("")}}), "strength of scatterer 0");
    expect(message(nothing, {{0, 0, 1.0}}, {-1.0}), "not negative");
    expect(message(
               [&](kavro::EchoScene& s) {
                   static constexpr std::int32_t far_channel[] = {65535};
                   s.receivers = {one.elements, far_channel};
               },
               {{0, 0, 1e-2}}, Values(4'000'000, 1e6)),
           "spectra of echoes");
}

TEST_F(EchoBits, HearAnInterrupt) {
    kavro::set_thread_count(1);
    const Probe probe = mixed_probe();
    const Values frequencies = evenly(0.5e6, 0.02e6, 100);
    double last = 0.0;
    const kavro::console::Connection connection({.progress =
                                                     [&](double share) {
                                                         EXPECT_GE(share, last);
                                                         last = share;
                                                     },
                                                 .interrupted = [&] { return last > 0.3; }});
    EXPECT_THROW(pulse_echo({.transmitters = probe.all()}, frequencies, strewn(400, 5)),
                 kavro::Interrupted);
    EXPECT_LT(last, 0.4);
}

}  // namespace
}  // namespace kavro_test
