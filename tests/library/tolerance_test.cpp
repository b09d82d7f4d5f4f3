// Abscissas by tolerance: that it is kept, that nothing but a point's own numbers decides, what the
// report says, and what counts where.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>

#include "stage.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::QuadratureReport;
using kavro::Shortfall;

constexpr double wavelength = 1.5e-3;

// Sources of every shape of random sizes, and points over, beside, close to and far from them.
class Scenes {
public:
    double uniform(double low, double high) {
        return low + (high - low) * std::generate_canonical<double, 53>(random_);
    }
    double decades(double low, double high) { return std::pow(10.0, uniform(low, high)); }

    Source source(const kavro::Shape& shape) {
        const double a = decades(-1.0, 1.0) * wavelength;
        Source source{.shape = shape.identifier, .exact = true};
        if (shape.corners != nullptr) {
            source.sizes = {a, -0.3 * a, -0.8 * a, 0.1 * a, 0.0, 0.6 * a, -0.2 * a, -0.9 * a};
        } else if (source.shape == "rect") {
            source.sizes = {a, decades(-1.0, 1.0) * wavelength};
        } else {
            for (const std::string name : shape.sizes) {
                source.sizes.push_back(name.find("inner") != name.npos ? uniform(0.1, 0.9) * a
                                       : name.find("radius") == name.npos
                                           ? a * (1.008 + decades(-1.5, 1.0))
                                           : a);
            }
        }
        return source;
    }

    std::vector<CartesianCoordinate> points(const Source& source, int count) {
        const double a = *std::max_element(source.sizes.begin(), source.sizes.end());
        std::vector<CartesianCoordinate> points;
        for (int i = 0; i < count; ++i) {
            const double angle = uniform(0.0, kavro::two_pi);
            const double r = i % 3 == 0 ? source.sizes[0] * (1.0 + uniform(-0.02, 0.02))
                                        : a * decades(-1.0, 1.0);
            const double z = i % 3 == 1 ? a * decades(0.0, 1.5) : a * decades(-2.0, 0.5);
            points.emplace_back(r * std::cos(angle), r * std::sin(angle), z);
        }
        return points;
    }

private:
    std::mt19937_64 random_{20240611};
};

Tank tank_of(const Source& source, const std::vector<CartesianCoordinate>& points) {
    Tank tank;
    tank.medium._soundspeed = 1500.0;
    tank.medium._f0 = tank.medium._soundspeed / wavelength;
    tank.sources = {source};
    tank.set_points(points);
    return tank;
}

Tank with_rule(Tank tank, int ndiv) {
    tank.sources[0].tolerance = 0.0;
    tank.set_order(ndiv);
    return tank;
}

QuadratureReport report_of(const Tank& tank, const char* operation, Values* field = nullptr) {
    Measurement measurement(tank, operation_named(operation));
    QuadratureReport report;
    EXPECT_EQ(
        measurement.operation.solve_array(measurement.elements(), kavro::Output::all_zero, &report),
        kavro::status_success);
    if (field != nullptr) {
        *field = measurement.output;
    }
    return report;
}

// Over 0.8 to 1.2 times the frequency, at the same loss per metre.
Values envelope_of(const Tank& tank, int ndiv = 160) {
    Values squares(static_cast<std::size_t>(tank.grid.npoints));
    constexpr int frequencies = 9;
    for (int i = 0; i < frequencies; ++i) {
        Tank at = with_rule(tank, ndiv);
        const double ratio = 0.8 + 0.4 * (i + 0.5) / frequencies;
        at.medium._f0 *= ratio;
        at.medium._dBcmMHz /= ratio;
        const Values field = measured(at, operation_named("fnm_cw"));
        for (std::size_t p = 0; p < squares.size(); ++p) {
            squares[p] +=
                std::norm(std::complex(field[p], field[p + squares.size()])) / frequencies;
        }
    }
    return squares;
}

// The components of the velocity times rho c.
Values velocity_in(const Tank& tank, QuadratureReport* report = nullptr) {
    Measurement measurement(tank, operation_named("fnm_cw"));
    const auto n = static_cast<std::size_t>(tank.grid.npoints);
    Values v(6 * n);
    EXPECT_EQ(kavro::solve_velocity(measurement.elements(), {v.data(), v.data() + 3 * n},
                                    kavro::Output::all_zero, report),
              kavro::status_success);
    for (double& value : v) {
        value *= tank.medium._rho_density * tank.medium._soundspeed;
    }
    return v;
}

TEST(Tolerance, IsKeptByContinuousWaves) {
    Scenes scenes;
    for (const kavro::Shape& shape : kavro::shapes()) {
        for (int trial = 0; trial < 24; ++trial) {
            const Source source = scenes.source(shape);
            Tank tank = tank_of(source, scenes.points(source, 32));
            tank.medium._dBcmMHz = trial % 2 == 0 ? 0.0 : 0.7;
            const Values true_field = measured(with_rule(tank, 500), operation_named("fnm_cw"));
            const Values squares = envelope_of(tank);
            const Values true_velocity = velocity_in(with_rule(tank, 500));
            for (const double tolerance : {1e-2, 1e-5}) {
                SCOPED_TRACE(testing::Message()
                             << shape.name << " of " << source.sizes[0] << " m, " << tolerance);
                tank.sources[0].tolerance = tolerance;
                Values field;
                const QuadratureReport report = report_of(tank, "fnm_cw", &field);
                EXPECT_EQ(report.unreached, 0);
                EXPECT_LT(report.mean, 60.0);  // hundreds would keep any tolerance
                for (std::size_t p = 0; p < squares.size(); ++p) {
                    const std::complex error(
                        field[p] - true_field[p],
                        field[p + squares.size()] - true_field[p + squares.size()]);
                    EXPECT_LE(std::abs(error), tolerance * std::sqrt(squares[p])) << p;
                }
                QuadratureReport of_both;
                const Values velocity = velocity_in(tank, &of_both);
                EXPECT_EQ(of_both.unreached, 0);
                EXPECT_LT(of_both.mean, report.mean + 20.0);
                for (std::size_t i = 0; i < velocity.size(); ++i) {
                    EXPECT_LE(std::abs(velocity[i] - true_velocity[i]),
                              tolerance * std::sqrt(squares[i % squares.size()]))
                        << i;
                }
            }
        }
    }
}

// Faces of up to sixty wavelengths, of four sides and of many, close to their sides and in line
// with them, in the plane and far over it.
TEST(Tolerance, IsKeptNextToLongEdges) {
    Scenes scenes;
    for (int trial = 0; trial < 36; ++trial) {
        const double a = scenes.decades(-1.0, 1.8) * wavelength;
        const double b = scenes.decades(0.7, 1.8) * wavelength;
        Source source{.shape = "rect", .sizes = {a, b}, .exact = true};
        if (trial % 3 == 0) {
            const auto corners = static_cast<std::size_t>(3 + trial % 10);
            source = {.shape = "poly", .sizes = Values(2 * corners), .exact = true};
            for (std::size_t i = 0; i < corners; ++i) {
                const double angle = kavro::two_pi *
                                     (static_cast<double>(i) + scenes.uniform(-0.4, 0.4)) /
                                     static_cast<double>(corners);
                source.sizes[i] = 0.5 * a * std::cos(angle);
                source.sizes[corners + i] = 0.5 * b * std::sin(angle);
            }
        }
        std::vector<CartesianCoordinate> points;
        for (int i = 0; i < 32; ++i) {
            const double past = 0.5 * a * scenes.decades(-4.0, 0.5);
            points.emplace_back(0.5 * a + (i % 2 == 0 ? past : -past),
                                0.5 * b * (i % 3 == 0 ? 1.0 : scenes.uniform(-1.1, 1.1)),
                                i % 4 == 0 ? 0.0 : b * scenes.decades(-4.0, 0.5));
        }
        Tank tank = tank_of(source, points);
        tank.medium._dBcmMHz = 0.0;
        const Values true_field = measured(with_rule(tank, 4000), operation_named("fnm_cw"));
        const Values squares = envelope_of(tank, 320);
        for (const double tolerance : {1e-4, 1e-7, 1e-10}) {
            tank.sources[0].tolerance = tolerance;
            Values field;
            const QuadratureReport report = report_of(tank, "fnm_cw", &field);
            EXPECT_LT(report.mean, 150.0);
            for (std::size_t p = 0; p < squares.size(); ++p) {
                const std::complex error(
                    field[p] - true_field[p],
                    field[p + squares.size()] - true_field[p + squares.size()]);
                const double left =
                    report.unreached > 0 ? std::max(tolerance, report.worst_error) : tolerance;
                EXPECT_LE(std::abs(error), left * std::sqrt(squares[p]))
                    << source.shape << ' ' << a << " x " << b << ", " << tolerance << ", " << p;
            }
        }
    }
}

TEST(Tolerance, IsKeptOverTime) {
    Scenes scenes;
    constexpr double us = 1e-6;
    const auto sine = std::make_shared<kavro::ToneBurst>(1e6, 3 * us, 0.0);
    const auto hanning = std::make_shared<kavro::HanningPulse>(1e6, 4 * us, 0.0);
    Values signal;
    for (int i = 0; i < 64; ++i) {
        const double t = (i - 31.5) * 0.1;
        signal.push_back(std::exp(-t * t) * std::cos(kavro::two_pi * t));
    }
    const Waveform waveforms[] = {hanning, sine, sampled(signal, 0.1 * us, 6.3 * us, 0.0)};
    for (const kavro::Shape& shape : kavro::shapes()) {
        const Source source = scenes.source(shape);
        Tank tank = tank_of(source, scenes.points(source, 20));
        for (const Waveform& waveform : waveforms) {
            waveform->set_exact(true);
            tank.waveform = waveform;
            const double end = 400.0 * wavelength / tank.medium._soundspeed;
            tank.set_axis(0.13 * us, 0.0, static_cast<int>(std::min(end / us, 500.0) / 0.13));
            const Values true_field = measured(with_rule(tank, 1500), operation_named("fnm_tsd"));
            tank.sources[0].tolerance = 3e-3;
            const auto expect_kept = [&](const char* operation, const Values& true_field) {
                SCOPED_TRACE(testing::Message()
                             << operation << " of a " << shape.name << " of " << source.sizes[0]
                             << " m, duration " << waveform->w);
                Values field;
                const QuadratureReport report = report_of(tank, operation, &field);
                EXPECT_EQ(report.unreached, 0);
                const auto npoints = static_cast<std::size_t>(tank.grid.npoints);
                for (std::size_t p = 0; p < npoints; ++p) {
                    const Values expected = at_point(true_field, p, npoints);
                    EXPECT_LE(largest_difference(at_point(field, p, npoints), expected),
                              3e-3 * peak_of(expected))
                        << p;
                }
            };
            expect_kept("fnm_tsd", true_field);
            expect_kept("fnm_transient", true_field);
            tank.medium._dBcmMHz = 0.5;
            tank.medium._b = 1.1;
            expect_kept("fnm_spectral",
                        measured(with_rule(tank, 600), operation_named("fnm_spectral")));
        }
    }
}

// Blocks that mix points of all kinds, solved whole, in one point's company and alone.
class ToleranceOfAPoint : public Variants {};

TEST_F(ToleranceOfAPoint, DependsOnNothingElse) {
    Scenes scenes;
    for (const char* operation :
         {"fnm_cw", "fnm_cw_sse", "fnm_tsd", "fnm_tsd_sse", "fnm_fdtsd", "fnm_spectral"}) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            if (!implements(operation_named(operation), shape)) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << operation << " of a " << shape.name);
            Source source = scenes.source(shape);
            source.tolerance = 1e-3;
            const std::vector<CartesianCoordinate> points = scenes.points(source, 70);
            Tank tank = tank_of(source, points);
            tank.waveform = exact_waveforms().back();
            tank.set_axis(0.3e-6, 0.0, 60);
            Values expected;
            const QuadratureReport whole = report_of(tank, operation, &expected);
            kavro::set_thread_count(3);
            for_every_vector_target([&] {
                Values field;
                const QuadratureReport report = report_of(tank, operation, &field);
                EXPECT_TRUE(same_bits(field, expected));
                EXPECT_EQ(report.mean, whole.mean);
                EXPECT_EQ(report.unreached, whole.unreached);
                EXPECT_EQ(report.worst_point, whole.worst_point);
                EXPECT_EQ(report.worst_error, whole.worst_error);
            });
            for (const std::size_t p : {std::size_t{0}, std::size_t{31}, points.size() - 1}) {
                Tank alone = tank;
                alone.set_points({points[p]});
                Values field;
                report_of(alone, operation, &field);
                EXPECT_TRUE(same_bits(field, at_point(expected, p, points.size()))) << p;
            }
        }
    }
}

TEST(Tolerance, IsReportedWhereTheLadderEnds) {
    Source disc{.shape = "circ", .sizes = {5e-3}, .exact = true};
    Tank tank = tank_of(disc, {{0, 0, 20e-3}, {5.2e-3, 0, 1e-3}, {0, 0, -1e-3}, {9e-3, 0, 5e-3}});
    // Two and a half cycles: the error falls with 1/n only.
    tank.waveform = std::make_shared<kavro::ToneBurst>(1e6, 2.25e-6, 0.0);
    tank.set_axis(0.01e-6, 0.0, 2500);
    tank.sources[0].tolerance = 1e-4;
    Values field;
    const QuadratureReport report = report_of(tank, "fnm_tsd", &field);
    EXPECT_EQ(report.points, 3);     // one is behind the face
    EXPECT_EQ(report.unreached, 2);  // on the axis, all of the rim is heard at once
    EXPECT_EQ(report.reason, Shortfall::jump);
    EXPECT_STREQ(text_of(report.reason), "The waveform begins or ends with a jump.");
    EXPECT_GE(report.most, 64);
    ASSERT_EQ(report.worst_point, 1);
    // The estimate bounds what is left, and not by far.
    const Values expected =
        at_point(measured(with_rule(tank, 6000), operation_named("fnm_tsd")), 1, 4);
    const double left = largest_difference(at_point(field, 1, 4), expected) / peak_of(expected);
    EXPECT_LT(left, report.worst_error);
    EXPECT_GT(left, 0.02 * report.worst_error);

    // Of two elements of one grid, both of which miss it, a point counts once.
    tank.sources.push_back(tank.sources[0]);
    EXPECT_EQ(report_of(tank, "fnm_tsd").unreached, 2);
    // On the rim itself nothing is missed: what is singular has no size there.
    tank.sources.pop_back();
    tank.set_points({{5e-3, 0, 0}, {0, 0, 0}});
    EXPECT_EQ(report_of(tank, "fnm_cw").unreached, 0);
}

// Micrometres from a bowl's rim, where velocities are large: kept, or as far missed as is said.
TEST(Tolerance, OfVelocitiesEndsAsReported) {
    const Source bowl{.shape = "shel", .sizes = {30e-3, 60e-3}, .exact = true};
    const double height = 60e-3 - std::sqrt(60e-3 * 60e-3 - 30e-3 * 30e-3);
    int missed = 0;
    for (const double away : {1e-3, 1e-4, 2e-5, 5e-6, 1e-6, 1e-7}) {
        Tank tank = tank_of(bowl, {{30e-3 - away, 0, height + 0.5 * away}});
        const Values expected = velocity_in(with_rule(tank, 6000));
        const double envelope = std::sqrt(envelope_of(tank, 2000)[0]);
        for (const double tolerance : {1e-4, 1e-8}) {
            tank.sources[0].tolerance = tolerance;
            QuadratureReport report;
            const double error = largest_difference(velocity_in(tank, &report), expected);
            missed += report.unreached > 0 ? 1 : 0;
            EXPECT_LE(error, std::max(tolerance, report.worst_error) * envelope)
                << away << ", " << tolerance << ", " << report.worst_error;
        }
    }
    EXPECT_GE(missed, 1);
    EXPECT_LE(missed, 5);
}

TEST(Tolerance, CountsWhereItIsSaidTo) {
    kavro::CircularTransducer disc(1e-3);
    for (const double value : {-1e-3, 1e-13, 0.11, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_NE(error_of([&] { disc.set_tolerance(value); }), "(no error)") << value;
    }
    EXPECT_EQ(disc.get_tolerance(), 0.0);

    const auto status = [](const char* operation, bool exact, double tolerance) {
        const Source source{.shape = "circ", .exact = exact, .tolerance = tolerance};
        return Measurement(tank_for(operation_named(operation), {source}),
                           operation_named(operation))
            .together();
    };
    // Without a rule, which a tolerance stands for in some methods of exact elements only.
    EXPECT_EQ(status("fnm_cw", true, 1e-6), kavro::status_success);
    EXPECT_EQ(status("fnm_cw", false, 1e-6), kavro::status_failure);
    EXPECT_EQ(status("fnm_cw_apodized", true, 1e-6), kavro::status_failure);
    EXPECT_EQ(status("rayleigh_cw", true, 1e-6), kavro::status_failure);
    EXPECT_EQ(status("rayleigh_transient", true, 1e-6), kavro::status_failure);
    EXPECT_EQ(status("fnm_tsd_sse", true, 1e-5), kavro::status_success);
    EXPECT_EQ(status("fnm_tsd_sse", true, 9e-6), kavro::status_failure);

    // What is not a number, and a waveform that knows nothing of its spectrum, end as well.
    Source source{.shape = "shel", .exact = true, .tolerance = 1e-4};
    Tank odd = tank_of(source, {{1e-3, 0, 5e-3}, {std::nan(""), 0, 1e-3}, {1e300, 0, 1e-3}});
    odd.waveform = std::make_shared<Ramp>(1e-6);
    odd.set_axis(1e-7, 0.0, 40);
    EXPECT_EQ(report_of(odd, "fnm_transient").most, 1024);
}

}  // namespace
}  // namespace kavro_test
