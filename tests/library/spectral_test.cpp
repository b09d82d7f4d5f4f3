// Media with power-law losses: transient waves and spectra, against surface integrals computed
// elsewhere, against an integral written down here, and against the decomposition of lossless
// media.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <utility>

#include "golden.h"
#include "stage.h"

namespace kavro_test {
namespace {

using Complex = std::complex<double>;
constexpr double two_pi = 6.283185307179586;
constexpr Complex j(0.0, 1.0);

// ---- reference values

struct GoldenRow {
    std::string id, kind;
    Tank tank;
    bool is_kinked;  // lossless, and a waveform with jumps
    Values at, re, im;
    double scale, uncertainty;
};

std::vector<GoldenRow> golden_rows() {
    std::vector<GoldenRow> rows;
    for (const std::vector<std::string>& column : golden_table("lossy.csv")) {
        GoldenRow row{column[0], column[1], {}, false, {}, {}, {}, 0.0, 0.0};
        for (const std::string& element : parts_of(column[2], '|')) {
            row.tank.sources.push_back(source_of(element));
        }
        const Values v = numbers({column[3], column[4], column[5], column[6], column[7]});
        row.tank.medium = {};
        row.tank.medium._soundspeed = v[0];
        row.tank.medium._rho_density = v[1];
        row.tank.medium._dBcmMHz = v[2];
        row.tank.medium._b = v[3];
        row.tank.medium._reference_frequency = v[4];
        if (!column[8].empty()) {
            row.tank.waveform = waveform_of(column[8]);
            row.is_kinked = v[2] == 0.0 && column[8].starts_with("burst");
        }
        row.tank.set_points({{std::stod(column[9]), std::stod(column[10]), std::stod(column[11])}});
        row.at = numbers(parts_of(column[12], ';'));
        row.re = numbers(parts_of(column[13], ';'));
        row.im = numbers(parts_of(column[14], ';'));
        row.scale = std::stod(column[15]);
        row.uncertainty = std::stod(column[16]);
        rows.push_back(row);
    }
    return rows;
}

const kavro::Operation& spectral() {
    return operation_named("fnm_spectral");
}

Values solved(const Tank& tank, double tolerance) {
    Measurement measurement(tank, spectral());
    for (const auto& element : measurement.owned) {
        element->set_tolerance(tolerance);
    }
    EXPECT_EQ(measurement.together(), kavro::status_success);
    return measurement.output;
}

// Point fastest, then frequency.
std::vector<Complex> spectrum(const Tank& tank, const Values& frequencies) {
    Measurement measurement(tank, operation_named("fnm_cw"));
    const std::size_t n = static_cast<std::size_t>(tank.grid.npoints) * frequencies.size();
    Values re(n), im(n);
    for (const auto& element : measurement.owned) {
        element->set_complex_pressure_pointers(re.data(), im.data());
    }
    EXPECT_EQ(kavro::solve_spectrum(measurement.elements(), frequencies), kavro::status_success);
    std::vector<Complex> values(n);
    for (std::size_t i = 0; i < n; ++i) {
        values[i] = {re[i], im[i]};
    }
    return values;
}

TEST(Spectral, ReachesTheSurfaceIntegralsOfLossyMedia) {
    int transients = 0, spectra = 0;
    for (GoldenRow& row : golden_rows()) {
        SCOPED_TRACE("row " + row.id);
        const double allowed = std::fmax(1e-8, 10.0 * row.uncertainty) * row.scale;
        row.tank.set_order(300);
        if (row.kind == "transient") {
            row.tank.set_list(row.at);
            const Values found = solved(row.tank, 1e-9);
            for (std::size_t i = 0; i < found.size(); ++i) {
                // The abscissas resolve no jump.
                EXPECT_NEAR(found[i], row.re[i], row.is_kinked ? 1e-4 * row.scale : allowed);
            }
            ++transients;
        } else {
            const std::vector<Complex> found = spectrum(row.tank, row.at);
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_LE(std::abs(found[i] - Complex(row.re[i], row.im[i])), allowed);
            }
            ++spectra;
        }
    }
    EXPECT_EQ(transients, 20);
    EXPECT_EQ(spectra, 20);
}

// ---- a surface integral written down

// gamma(s) as the causal partner of A omega^y, without care for cancellation.
Complex literal_gamma(const kavro::Medium& medium, Complex s) {
    const double y = medium._b;
    const double A = 100.0 * medium._dBcmMHz / 8.685889638065037 * std::pow(two_pi * 1e6, -y);
    const double reference = two_pi * medium._reference_frequency;
    if (y == 1.0) {
        return s / medium._soundspeed - 2.0 * A / (two_pi / 2.0) * s * std::log(s / reference);
    }
    // A omega^y continued to complex s, and the slowness that makes c(reference) the medium's.
    const double tangent = std::tan(two_pi / 4.0 * y);
    return s / medium._soundspeed + A * std::pow(s, y) / std::cos(two_pi / 4.0 * y) -
           A * tangent * std::pow(reference, y - 1.0) * s;
}

// Over the face of a disc: of e^(-gamma R) / R.
Complex literal_face(const Tank& tank, Complex gamma, int around) {
    const double a = tank.sources[0].sizes[0];
    const kavro::CartesianCoordinate p = tank.points()[0];
    const kavro::NumericalIntegration& rule = tank.rule;  // on [-1, 1]
    Complex face = 0.0;
    for (std::size_t m = 0; m < rule.abscissas.size(); ++m) {
        const double r = a * (rule.abscissas[m] + 1.0) / 2.0;
        for (int n = 0; n < around; ++n) {
            const double phi = two_pi * n / around;
            const double R = std::hypot(p.x - r * std::cos(phi), p.y - r * std::sin(phi), p.z);
            face += rule.weights[m] * a / 2.0 * r * two_pi / around * std::exp(-gamma * R) / R;
        }
    }
    return face;
}

// The pressure of a disc in a lossy medium over a period T, by sums over its face, over frequencies
// and over the waveform's samples.
Values literal_transient(const Tank& tank, double T, int frequencies) {
    const double eta = 3.0 / T;
    constexpr int steps = 4000;
    const double dt = tank.waveform->w / steps;
    Values pressure(tank.times.times.size());
    for (int q = 0; q < frequencies; ++q) {
        const Complex s = eta + j * (two_pi * q / T);
        const Complex gamma = literal_gamma(tank.medium, s);
        Complex V = 0.0;
        for (int i = 1; i < steps; ++i) {
            V += tank.waveform->at(i * dt) * std::exp(-s * (i * dt)) * dt;
        }
        const Complex P = tank.medium._rho_density * s / two_pi * literal_face(tank, gamma, 64) * V;
        for (std::size_t i = 0; i < pressure.size(); ++i) {
            pressure[i] +=
                (q == 0 ? 1.0 : 2.0) / T * (P * std::exp(s * tank.times.times[i])).real();
        }
    }
    return pressure;
}

Tank disc_in(double beta, double y, int ntimes = 300) {
    Tank tank;
    tank.sources = {{.shape = "circ", .sizes = {4e-3}, .exact = true}};
    tank.medium._dBcmMHz = beta;
    tank.medium._b = y;
    tank.medium._reference_frequency = 1e6;
    tank.waveform = std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0.0);
    tank.set_points({{2e-3, 1e-3, 16e-3}});
    tank.set_order(48);
    tank.set_axis(5e-8, 9e-6, ntimes);
    return tank;
}

TEST(Spectral, IsTheSurfaceIntegralWrittenDown) {
    for (const double y : {0.6, 1.0, 1.5, 2.0}) {
        SCOPED_TRACE(y);
        Tank tank = disc_in(1.0, y, 120);
        const Values expected = literal_transient(tank, 24e-6, 320);
        for (const double tolerance : {1e-3, 1e-5}) {
            EXPECT_TRUE(close_to(solved(tank, tolerance), expected, tolerance));
        }
    }
}

// Quadrature stands in for the closed form where a waveform of a user's own has none.
TEST(Spectral, EveryWaveformHasItsTransform) {
    const Complex s[] = {0.0, 1e5, {2e5, 1e4}, {3e4, 6e6}, {1e5, 4e7}, {-1e5, 1e6}};
    constexpr int count = 6;
    std::vector<Waveform> waveforms = exact_waveforms();
    waveforms.push_back(sampled(noise(15, 5), 1.3e-7, 1.7e-6, 0.1));  // reference, odd, cut
    waveforms.push_back(std::make_shared<Ramp>(2e-6));
    for (const Waveform& waveform : waveforms) {
        Complex found[count];
        waveform->transform(found, s, count);
        const double dt = waveform->w / 100'000;
        double scale = 0.0;
        Complex expected[count] = {};
        for (int i = 0; i < 100'000; ++i) {
            const double t = (i + 0.5) * dt;
            const double v = waveform->at(t);
            scale += std::fabs(v) * dt;
            for (int k = 0; k < count; ++k) {
                expected[k] += v * std::exp(-s[k] * t) * dt;
            }
        }
        for (int k = 0; k < count; ++k) {
            EXPECT_LE(std::abs(found[k] - expected[k]), 1e-6 * scale) << k;
        }
    }
}

// ---- physics

TEST(Spectral, LossesThatVanishLeaveTheDecomposition) {
    Tank tank = disc_in(0.0, 1.3);
    tank.set_order(64);
    tank.sources[0].tolerance = 1e-7;
    const Values lossless = measured(tank, operation_named("fnm_tsd"));
    EXPECT_TRUE(same_bits(solved(tank, 1e-7), lossless));
    double former = 0.0;
    for (const double beta : {1e-2, 1e-3, 1e-4}) {
        tank.medium._dBcmMHz = beta;
        const double off = largest_difference(solved(tank, 1e-7), lossless) / peak_of(lossless);
        EXPECT_LE(off, 0.3 * beta);
        EXPECT_GE(off, 0.03 * beta);
        if (former > 0.0) {
            EXPECT_NEAR(former / off, 10.0, 1.0);
        }
        former = off;
    }
}

// Of a point-like source, losses like the square of frequency make a convolution with a Gaussian.
TEST(Spectral, TheSquareOfFrequencyIsAGaussian) {
    Tank tank = disc_in(0.5, 2.0);
    tank.sources[0].sizes = {1e-5};
    const double R = 30e-3;
    tank.set_points({{0, 0, R}});
    tank.set_axis(2e-8, 18e-6, 400);
    tank.set_order(8);
    const double c = tank.medium._soundspeed;
    const double A = 50.0 / 8.685889638065037 / std::pow(two_pi * 1e6, 2);
    const double variance = 2.0 * A * R;
    Values expected;
    for (const double t : tank.times.times) {
        double p = 0.0;
        constexpr int steps = 600;
        for (int i = -steps; i <= steps; ++i) {
            const double u = 9.0 * std::sqrt(variance) * i / steps;
            const double gauss = std::exp(-u * u / (2.0 * variance)) *
                                 (9.0 * std::sqrt(variance) / steps) / std::sqrt(two_pi * variance);
            p += gauss * tank.waveform->derivative(t - R / c - u);
        }
        expected.push_back(tank.medium._rho_density * 1e-10 / (2.0 * R) * p);
    }
    EXPECT_TRUE(close_to(solved(tank, 1e-7), expected, 1e-5));
}

// ---- the axis

TEST(Spectral, AxesOfAnyKindHoldTheSameField) {
    for (const double y : {1.1, 2.0}) {
        Tank tank = disc_in(0.5, y);
        const Values fine = solved(tank, 1e-6);
        Tank coarse = tank;
        coarse.set_axis(16 * 5e-8, 9e-6, 19);  // half a period of the carrier's
        const Values folded = solved(coarse, 1e-6);
        Tank list = tank;
        list.set_list(tank.times.times);
        const Values listed = solved(list, 1e-6);
        Tank late = tank;
        late.set_axis(5e-8, 9e-6 + 100 * 5e-8, 200);  // begins within the pulse
        const Values rest = solved(late, 1e-6);
        const double peak = peak_of(fine);
        ASSERT_GT(peak, 0.0);
        for (std::size_t i = 0; i < fine.size(); ++i) {
            EXPECT_NEAR(listed[i], fine[i], 2e-6 * peak);
            if (i % 16 == 0) {
                EXPECT_NEAR(folded[i / 16], fine[i], 2e-6 * peak);
            }
            if (i >= 100) {
                EXPECT_NEAR(rest[i - 100], fine[i], 2e-6 * peak);
            }
        }
    }
}

TEST(Spectral, SilenceIsExact) {
    Tank tank = disc_in(0.5, 1.1);
    tank.set_axis(5e-8, 0.0, 2000);
    const Values found = solved(tank, 1e-4);
    EXPECT_EQ(peak_of({found.begin(), found.begin() + 100}), 0.0);  // until 5 us of 9.6
    EXPECT_EQ(peak_of({found.end() - 800, found.end()}), 0.0);
    EXPECT_GT(peak_of(found), 0.0);
}

// ---- spectra

TEST(Spectral, SpectraAreContinuousWavesAtEachFrequency) {
    const Values even = {2e5, 4e5, 6e5, 8e5, 1e6, 1.2e6, 1.4e6, 1.6e6, 1.8e6, 2e6};
    for (const kavro::Shape& shape : kavro::shapes()) {
        SCOPED_TRACE(shape.name);
        Tank tank = tank_for(operation_named("fnm_cw"),
                             {{.shape = shape.identifier, .phase = 0.7, .exact = true}});
        tank.medium._b = 1.4;
        tank.medium._dBcmMHz = 0.8;
        tank.medium._reference_frequency = 7e5;
        tank.set_order(32);
        const std::vector<Complex> found = spectrum(tank, even);
        const auto n = static_cast<std::size_t>(tank.grid.npoints);
        for (std::size_t f = 0; f < even.size(); ++f) {
            tank.medium._f0 = even[f];
            const Values wave = measured(tank, operation_named("fnm_cw"));
            const std::vector<Complex> alone = spectrum(tank, {even[f]});
            for (std::size_t i = 0; i < n; ++i) {
                const Complex expected(wave[i], wave[n + i]);
                const double near = 1e-9 * peak_of(wave);
                EXPECT_LE(std::abs(found[f * n + i] - expected), near) << "point " << i;
                EXPECT_LE(std::abs(alone[i] - expected), near) << "point " << i;
            }
        }
    }
}

// Octaves of a comb and more frequencies than one band holds; elements without a rule.
TEST(Spectral, SpectraKeepATolerance) {
    Tank tank = disc_in(0.5, 1.3);
    tank.set_order(96);
    Values comb;
    for (int f = 1; f <= 5000; ++f) {
        comb.push_back(1.6e3 * f);
    }
    for (const double x : {1e-3, 3.9e-3, 15e-3}) {
        tank.set_points({{x, 0, 16e-3}});
        std::vector<Complex> expected;
        for (std::size_t f = 99; f < comb.size(); f += 700) {
            const Complex s = j * (two_pi * comb[f]);
            expected.push_back(tank.medium._rho_density * s / two_pi *
                               literal_face(tank, literal_gamma(tank.medium, s), 256));
        }
        for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
            Measurement measurement(tank, operation_named("fnm_cw"));
            Values re(comb.size()), im(comb.size());
            kavro::Transducer& element = *measurement.owned[0];
            element.set_complex_pressure_pointers(re.data(), im.data());
            element.set_tolerance(tolerance);
            element.set_integral_pointer(nullptr);
            kavro::QuadratureReport report;
            ASSERT_EQ(kavro::solve_spectrum(measurement.elements(), comb, &report),
                      kavro::status_success);
            EXPECT_EQ(report.points, 1);
            EXPECT_EQ(report.unreached, 0);
            EXPECT_LT(report.fewest, report.most);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                const std::size_t f = 99 + 700 * i;
                EXPECT_LE(std::abs(Complex(re[f], im[f]) - expected[i]),
                          tolerance * std::abs(expected[i]))
                    << x << " " << tolerance << " " << comb[f];
            }
        }
    }
}

// On any number of threads, with any vectors, and each element by itself.
TEST_F(Variants, OfSpectraDoNotDiffer) {
    Tank tank = disc_in(0.5, 1.3);
    tank.sources.push_back({.shape = "rect", .center = {1e-3, 0, 0}, .exact = true});
    tank.sources[0].tolerance = 1e-5;
    std::vector<kavro::CartesianCoordinate> points;
    for (const double x : noise(90, 7)) {
        points.emplace_back(5e-3 * x, 1e-3, 6e-3);
    }
    tank.set_points(points);
    const Values frequencies = {3e5, 6e5, 9e5, 1.2e6};
    const std::vector<Complex> expected = spectrum(tank, frequencies);
    for (const int threads : {1, 5}) {
        kavro::set_thread_count(threads);
        for_every_vector_target([&] { EXPECT_EQ(spectrum(tank, frequencies), expected); });
    }
    Tank first = tank, second = tank;
    first.sources.pop_back();
    second.sources.erase(second.sources.begin());
    std::vector<Complex> sum = spectrum(first, frequencies);
    const std::vector<Complex> other = spectrum(second, frequencies);
    for (std::size_t i = 0; i < sum.size(); ++i) {
        sum[i] += other[i];
    }
    EXPECT_EQ(expected, sum);
}

// A burst's kinks ring where next to no losses end the band: that is told, and how much.
TEST(Spectral, SaysWhereTheBandEndsTooEarly) {
    Tank tank = disc_in(0.0, 1.0);
    tank.waveform = std::make_shared<kavro::ToneBurst>(1e6, 3e-6, 0.0);
    tank.waveform->set_exact(true);
    tank.set_points({{2e-3, 0, 60e-3}});
    tank.set_axis(5e-8, 39e-6, 120);
    tank.set_order(500);
    const Values expected = measured(tank, operation_named("fnm_tsd"));
    tank.medium._dBcmMHz = 1e-6;
    for (const double tolerance : {1e-2, 1e-5}) {
        Measurement measurement(tank, spectral());
        measurement.owned[0]->set_tolerance(tolerance);
        kavro::QuadratureReport report;
        ASSERT_EQ(kavro::solve(kavro::Method::fnm_spectral, measurement.elements(),
                               kavro::Output::accumulate, &report),
                  kavro::status_success);
        const double off = largest_difference(measurement.output, expected) / peak_of(expected);
        EXPECT_LE(off, std::fmax(tolerance, report.worst_error));
        EXPECT_EQ(report.unreached, tolerance < 1e-4 ? 1 : 0);
        EXPECT_LE(report.worst_error, 5.0 * off);
        EXPECT_EQ(report.reason,
                  tolerance < 1e-4 ? kavro::Shortfall::band : kavro::Shortfall::none);
    }
}

// ---- what is refused

TEST(Spectral, LawsThatDoNotExistAreAFailure) {
    Tank tank = disc_in(0.5, 1.1, 8);
    const auto status = [&] {
        Measurement measurement(tank, spectral());
        return measurement.together();
    };
    EXPECT_EQ(status(), kavro::status_success);
    for (double kavro::Medium::*member :
         {&kavro::Medium::_b, &kavro::Medium::_dBcmMHz, &kavro::Medium::_reference_frequency}) {
        for (const double value : {-0.5, std::nan(""), double{INFINITY}}) {
            const double former = std::exchange(tank.medium.*member, value);
            EXPECT_EQ(status(), kavro::status_failure);
            tank.medium.*member = former;
        }
    }
    tank.medium._b = 2.0001;
    EXPECT_EQ(status(), kavro::status_failure);

    kavro::CircularTransducer disc(1e-3);
    for (const double tolerance : {-1e-3, 1e-13, 0.11, std::nan("")}) {
        EXPECT_NE(error_of([&] { disc.set_tolerance(tolerance); }), "(no error)");
    }
}

}  // namespace
}  // namespace kavro_test
