// Every shape against physics that nobody here wrote: closed forms, limits, surface integrals, and
// the ways to compute one field that must agree.
#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <set>
#include <string>

#include "literal.h"
#include "oracle/gauss.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::Operation;
using kavro::OperationKind;
using std::numbers::pi;
using Points = std::vector<CartesianCoordinate>;
using Complex = std::complex<double>;

constexpr double mm = 1e-3, rho = 1000, c = 1500, f0 = 1e6;

Waveform hanning() {
    return std::make_shared<kavro::HanningPulse>(f0, 3e-6, 0);
}

Source disc(double radius) {
    return {.shape = "circ", .sizes = {radius}};
}
Source rectangle(double width, double height) {
    return {.shape = "rect", .sizes = {width, height}};
}
Source shell(double radius, double d) {
    return {.shape = "shel", .sizes = {radius, d}};
}

bool is_one_of(const Operation& operation, const std::set<std::string>& names) {
    return names.contains(operation.name);
}

// A tank with a Hanning pulse.
Tank tank_with(const Source& source, const Points& points, int ndiv) {
    Tank tank = tank_of(source);
    tank.set_points(points);
    tank.set_order(ndiv);
    tank.waveform = hanning();
    return tank;
}

Tank exactly(Tank tank) {
    for (Source& source : tank.sources) {
        source.exact = true;
    }
    return tank;
}

// e^(-(alpha + jk) R)
Complex wave_over(const Tank& tank, double R) {
    const double alpha = tank.medium._dBcmMHz * 100 * tank.medium._f0 / 1e6 * std::log(10.0) / 20;
    return std::exp(-Complex(alpha, 2 * pi * tank.medium._f0 / c) * R);
}

// ---- closed forms

// On the axis the rims radiate the waveform, or without a hole the face does and the rim negated.
TEST(Fields, AxesHaveTheirClosedForm) {
    for (const Source& source :
         {disc(3 * mm), Source{.shape = "ring", .sizes = {4 * mm, 10 * mm}},
          shell(10 * mm, 30 * mm),
          Source{.shape = "sph ring", .sizes = {4 * mm, 10 * mm, 30 * mm}}}) {
        const bool bowl = is_bowl(source);
        const bool holed = source.sizes.size() > (bowl ? 2u : 1u);
        const double a = source.sizes[holed ? 1 : 0], d = bowl ? source.sizes.back() : 1e300;
        for (const double z : {-6 * mm, 0.0, 4e-4, 9 * mm, 29.9 * mm, 45 * mm}) {
            const auto to_rim = [&](double radius) {
                const double depth = bowl ? d - std::sqrt((d - radius) * (d + radius)) : 0.0;
                return std::hypot(radius, z - depth);
            };
            const double out = to_rim(a), in = holed ? to_rim(source.sizes[0]) : std::fabs(z);
            const double gain = rho * c * (bowl ? d / (d - z) : 1.0);
            Tank tank = tank_with(source, {{0, 0, z}}, 4);
            tank.set_axis(5e-8, 0, 900);
            tank.sources[0].time_delay = 1.23e-7;
            const bool behind = z < 0 && source.shape == "shel";
            const bool skipped = z < (bowl && holed ? 2 * mm : 0.0);
            for (const std::string name : {"fnm_tsd", "fnm_transient"}) {
                if (skipped && !behind) {
                    continue;
                }
                const Values field =
                    measured(tank, (name + (behind ? "_behind_source" : "")).c_str());
                for (std::size_t j = 0; j < field.size(); ++j) {
                    const double t = tank.times.times[j] - 1.23e-7;
                    const double p = tank.waveform->at(t - in / c) - tank.waveform->at(t - out / c);
                    ASSERT_NEAR(field[j], gain * p, 2e-11 * std::fabs(gain))
                        << source.shape << ", " << name << ", z = " << z;
                }
            }
            tank.medium._dBcmMHz = 2;
            const Complex expected = gain * (wave_over(tank, in) - wave_over(tank, out));
            if (!skipped) {
                EXPECT_LE(std::abs(waves_in(tank, "fnm_cw")[0] - expected), 1e-11 * std::fabs(gain))
                    << source.shape << ", z = " << z;
            }
        }
    }
}

TEST(Fields, FociHaveTheirClosedFormAndAreApproachedSmoothly) {
    const double d = 30 * mm, s0 = d * 0x1p-18, depth = d - std::sqrt(20 * 40.0) * mm;
    Points points;
    for (const double s : {0.0, 1e-17 * d, 1e-12 * d, 1e-8 * d}) {
        points.emplace_back(0.6 * s, 0.8 * s, d);
    }
    Tank tank = tank_with(shell(10 * mm, d), points, 64);
    tank.medium._dBcmMHz = 1;
    const Complex slope((100 * std::log(10.0) / 20), 2 * pi * f0 / c);
    const Complex focal = rho * c * depth * slope * wave_over(tank, d);
    for (const auto& [name, tolerance] :
         {std::pair("fnm_cw", 1e-12), std::pair("fnm_cw_sse", 2e-6)}) {
        for (const Complex& p : waves_in(tank, name)) {
            EXPECT_LE(std::abs(p - focal), tolerance * std::abs(focal));
        }
    }
    tank.set_points({{0, 0, d},
                     {1e-17 * d, 0, d},
                     {1e-9 * d, 0, d},
                     {0.999999 * s0, 0, d},
                     {1.000001 * s0, 0, d}});
    tank.set_axis(5e-8, 19e-6, 110);
    const double peak = rho * depth * tank.waveform->derivative(1.5e-6);
    for (const char* name : {"fnm_tsd", "fnm_transient"}) {
        const Values field = measured(tank, name);
        for (std::size_t i = 0; i < field.size(); ++i) {
            const double t = tank.times.times[i / 5] - d / c;
            ASSERT_NEAR(field[i], rho * depth * tank.waveform->derivative(t),
                        1e-7 * std::fabs(peak));
        }
    }
    // The impulse response has all of it in one sample.
    tank.set_points({{0, 0, d}});
    tank.set_axis(1e-9, 19e-6, 3000);
    tank.sources[0].amplitude = 2;
    const Values h = measured(tank, "impulse_response");
    EXPECT_NEAR(std::accumulate(h.begin(), h.end(), 0.0) * 1e-9, 2 * depth, 1e-15);
    EXPECT_EQ(std::count(h.begin(), h.end(), 0.0), 2999);
}

TEST(Fields, HemisphereHasItsClosedFormInTheFocalPlane) {
    const double d = 10 * mm, r = 2 * mm, gain = rho * c * d / (2 * r);
    Tank tank = tank_with(shell(d, d), {{r, 0, d}}, 64);
    tank.set_axis(2e-8, 0, 600);
    const Values field = measured(tank, "fnm_tsd");
    for (std::size_t j = 0; j < field.size(); ++j) {
        const double t = tank.times.times[j];
        const double p = tank.waveform->at(t - (d - r) / c) - tank.waveform->at(t - (d + r) / c);
        ASSERT_NEAR(field[j], gain * p, 1e-10 * gain);
    }
}

// ---- limits

// Every linear operation of both shapes, to the last bit. A disc alone looks at the sign of the
// height, rounds windows outwards, and lets its Rayleigh integral grow.
TEST(Fields, WithoutAHoleItIsTheWholeToTheLastBit) {
    for (const auto& [holed, whole] :
         {std::pair(Source{.shape = "ring", .sizes = {0, 3 * mm}}, disc(3 * mm)),
          std::pair(Source{.shape = "sph ring", .sizes = {0, 3 * mm, 9 * mm}},
                    shell(3 * mm, 9 * mm))}) {
        Points points = points_around(whole);
        std::erase_if(points, [](const CartesianCoordinate& p) { return p.z < 0; });
        Tank tank = tank_with(holed, points, 16);
        tank.waveform = sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0);
        tank.medium._dBcmMHz = 1;
        Tank other = tank;
        other.sources = {whole};
        int compared = 0;
        for (const Operation& operation : kavro::operations()) {
            const bool departs =
                whole.shape == "circ" && is_one_of(operation, {"rayleigh_cw", "fnm_transient"});
            const bool linear = !operation.uses(kavro::input_kzk);
            if (offers(holed, operation) && offers(whole, operation) && linear && !departs) {
                EXPECT_TRUE(same_bits(measured(tank, operation), measured(other, operation)))
                    << operation.name;
                ++compared;
            }
        }
        EXPECT_GE(compared, 6);
    }
}

// The largest difference of two operations, of the peak.
double error_of(const Tank& tank, const char* operation, const Values& expected) {
    return largest_difference(measured(tank, operation), expected) / peak_of(expected);
}

TEST(Fields, FarFieldIsTheLimitOfTheRayleighIntegral) {
    Tank tank = tank_with(rectangle(4 * mm, 6 * mm), {}, 64);
    tank.medium._dBcmMHz = 0.2;
    double former = 1;
    for (const double R : {0.1, 1.0, 10.0}) {
        Points points;
        for (const double theta : {0.0, 0.2, 0.5, 1.2}) {
            for (const double phi : {0.0, 0.6, pi / 2, 4.0}) {
                points.emplace_back(R * std::sin(theta) * std::cos(phi),
                                    R * std::sin(theta) * std::sin(phi), R * std::cos(theta));
            }
        }
        tank.set_points(points);
        const double error = error_of(tank, "farfield_cw", measured(tank, "rayleigh_cw"));
        EXPECT_LT(error, 0.15 * former) << R;
        former = error;
    }
    EXPECT_LT(former, 2e-3);
    // Without losses whatever the medium says.
    Measurement lossless(tank, operation_named("farfield_cw"));
    auto& element = dynamic_cast<kavro::RectangularTransducer&>(*lossless.owned[0]);
    EXPECT_EQ(element.farfield_cw_lossless(), kavro::status_success);
    tank.medium._dBcmMHz = 0.0;
    EXPECT_TRUE(same_bits(lossless.output, measured(tank, "farfield_cw")));
    // A small square is a disc of equal area.
    tank.set_points({{0, 0, 3}, {0.1, 0, 3}, {0.1, -0.1, 3}});
    tank.sources = {rectangle(1 * mm, 1 * mm)};
    const Values square = measured(tank, "fnm_cw");
    tank.sources = {disc(1 * mm / std::sqrt(pi))};
    EXPECT_TRUE(close_to(square, measured(tank, "fnm_cw"), 1e-3));
}

// ---- surface integrals

// In front of every face and next to none.
Points points_apart(const Source& source) {
    Points points = points_around(source);
    const double a = source.shape == "rect" ? 0 : source.sizes.end()[is_bowl(source) ? -2 : -1];
    const double d = is_bowl(source) ? source.sizes.back() : a;
    const double depth = is_bowl(source) ? d - std::sqrt((d - a) * (d + a)) : 0;
    std::erase_if(points, [&](const CartesianCoordinate& p) { return p.z <= depth + 1 * mm; });
    return points;
}

// With losses the fast nearfield method comes out right only if its prefactor does.
TEST(Fields, ExactNearfieldMethodsAreTheRayleighIntegral) {
    for (const Source& source : every_source()) {
        if (source.shape == "circ") {
            continue;  // below
        }
        Tank tank = tank_with(source, points_apart(source), 128);
        tank.medium._dBcmMHz = 8;
        const Values expected = measured(exactly(tank), "rayleigh_cw");
        const bool midpoints = source.shape == "ring";
        for (const char* name : {"fnm_cw", "fnm_cw_single", "fnm_cw_sse", "fnm_cw_sse2",
                                 "rayleigh_cw_sse", "radiator_cw"}) {
            const bool single = std::string(name) != "fnm_cw";
            const bool patches = std::string(name) == "radiator_cw";
            if (offers(source, operation_named(name))) {
                EXPECT_LT(error_of(exactly(tank), name, expected), midpoints || patches ? 2e-3
                                                                   : single             ? 1e-5
                                                                                        : 1e-9)
                    << source.shape << ", " << name;
            }
        }
        EXPECT_GT(error_of(tank, "fnm_cw", expected), 1e-3) << source.shape;
        if (source.shape == "rect") {
            double former = 1;
            for (const int n : {8, 16, 32}) {
                tank.set_order(n);
                const double error = error_of(exactly(tank), "fnm_cw", expected);
                EXPECT_LT(error, 0.2 * former) << n << " abscissas";
                former = error;
            }
        }
    }
}

// j omega rho/(2 pi) times the integral of f e^(-(alpha + jk) R)/R over a disc, by Gauss rules in
// angle and, either side of the point's foot, in radius.
Complex surface_integral(const Tank& tank, const CartesianCoordinate& p, auto profile) {
    const Source& source = tank.sources[0];
    const double omega = 2 * pi * tank.medium._f0, a = source.sizes[0];
    const double s = std::hypot(p.x, p.y), split = std::fmin(s, a);
    const kavro_oracle::Rule angles = kavro_oracle::gauss(160, 0, 2 * pi);
    Complex sum;
    for (const auto& [from, to] : {std::pair{0.0, split}, std::pair{split, a}}) {
        const kavro_oracle::Rule radii = kavro_oracle::gauss(80, from, to);
        for (std::size_t i = 0; i < radii.x.size(); ++i) {
            for (std::size_t j = 0; j < angles.x.size(); ++j) {
                const double r = radii.x[i], phi = angles.x[j];
                const double R = std::hypot(s - r * std::cos(phi), r * std::sin(phi), p.z);
                sum += radii.w[i] * angles.w[j] * r * profile(r / a) * wave_over(tank, R) / R;
            }
        }
    }
    return Complex(0, omega * rho / (2 * pi)) * sum * std::polar(source.amplitude, source.phase);
}

TEST(Fields, ExactDiscsAreTheirSurfaceIntegral) {
    using Profile = double (*)(double);
    const Profile profiles[] = {
        [](double) { return 1.0; }, [](double q) { return std::cos(pi * q / 2); },
        [](double q) { return (1 + std::cos(pi * q)) / 2; }, [](double q) { return 1 - q * q; },
        [](double q) { return 1 - q * q * q * q; }};
    // Over the face, near the rim, outside, and far away.
    const Points apart = {{0, 0, 5e-3},       {1e-3, -1e-3, 4e-3},  {0, 3e-3, 2e-3},
                          {5e-3, 1e-3, 6e-3}, {2.5e-3, 1e-3, 2e-3}, {1e-2, 0, 0.1}};
    Tank tank = exactly(tank_with(disc(3 * mm), apart, 48));
    tank.medium._f0 = 1.3e6;
    tank.medium._dBcmMHz = 3;
    tank.sources[0].amplitude = 1.5;
    tank.sources[0].phase = 0.7;
    for (int index = 0; index <= 4; ++index) {
        SCOPED_TRACE(index);
        tank.sources[0].apodization = index;
        Complexes integrals;
        for (const CartesianCoordinate& point : apart) {
            integrals.push_back(surface_integral(tank, point, profiles[index]));
        }
        const auto error = [&](const char* name, int n) {
            tank.set_order(n);
            const Complexes field = waves_in(tank, name);
            double most = 0;
            for (std::size_t p = 0; p < field.size(); ++p) {
                most = std::fmax(most, std::abs(field[p] - integrals[p]) / std::abs(integrals[p]));
            }
            return most;
        };
        // Gauss rules converge faster than any power, midpoints by the square.
        EXPECT_LT(error("fnm_cw_apodized", 48), 1e-10);
        EXPECT_LT(error("fnm_cw_apodized", 16), 1e-3);
        const double fine = error("rayleigh_cw_apodized", 128);
        EXPECT_LT(fine, 2e-3);
        EXPECT_GT(error("rayleigh_cw_apodized", 64), 3.8 * fine);
        if (index == 0) {
            EXPECT_LT(error("fnm_cw", 48), 1e-10);
            EXPECT_LT(error("fnm_cw_sse", 48), 5e-5);
            EXPECT_LT(error("rayleigh_cw", 128), 2e-3);
            EXPECT_LT(error("rayleigh_cw_sse", 128), 2e-3);
        }
    }
}

// Of a pulse the surface integral converges to the edge's, also where it starts or stops with a
// jump that its derivative lacks, and then only if exact.
TEST(Fields, SurfacesOfDiscsRadiateWhatTheirEdgesDo) {
    Tank tank = tank_with(
        disc(3 * mm),
        {{0, 0, 5e-3}, {1e-3, -1e-3, 4e-3}, {0, 3e-3, 2e-3}, {5e-3, 1e-3, 6e-3}, {8e-3, 0, 2e-3}},
        32);
    tank.sources[0].amplitude = 1.7;
    tank.sources[0].time_delay = 3e-7;
    tank.set_axis(7e-8, 1.5e-6, 160);
    const auto errors = [&tank](const Tank& surface) {
        Tank edge = tank;
        edge.set_order(200);
        const Values expected = measured(edge, "fnm_transient");
        const Values field = measured(surface, "rayleigh_transient");
        double off = 0.0, whole = 0.0;
        for (std::size_t i = 0; i < field.size(); ++i) {
            off += (field[i] - expected[i]) * (field[i] - expected[i]);
            whole += expected[i] * expected[i];
        }
        return std::sqrt(off / whole);
    };
    Tank coarse = tank, fine = tank;
    coarse.set_order(40);
    fine.set_order(80);
    EXPECT_LT(errors(fine), 1e-3);
    EXPECT_GT(errors(coarse), 3 * errors(fine));
    Values signal(40);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        signal[i] = 1.0 + std::sin(0.3 * static_cast<double>(i));
    }
    for (const Waveform& waveform :
         {Waveform(std::make_shared<kavro::ToneBurst>(f0, 3.25e-6, 0)),
          Waveform(std::make_shared<kavro::TCubedPulse>(f0, 2.25e-6, 1e5)),
          sampled(signal, 5e-8, 2e-6, 0)}) {
        waveform->set_exact(true);
        tank.waveform = waveform;
        tank.set_order(60);
        EXPECT_LT(errors(exactly(tank)), 0.05);
        EXPECT_GT(errors(tank), 0.2);
    }
}

// ---- siblings

TEST(Fields, DecomposedIsDirectAtEverySample) {
    for (const Source& source : every_source()) {
        Tank tank = tank_with(source, points_around(source), 64);
        tank.set_axis(5.03e-8, 5.0123e-7, 200);  // no sample on a jump
        tank.sources[0].euler = {0.1, -0.2, 0.3};
        // The exact form of sampled and t-cubed pulses equals their values; the reference's not.
        for (const Waveform& waveform : exact_waveforms()) {
            tank.waveform = waveform;
            const Values direct = measured(tank, "fnm_transient");
            EXPECT_TRUE(close_to(measured(tank, "fnm_tsd"), direct, 1e-9)) << source.shape;
            if (is_bowl(source)) {
                EXPECT_TRUE(close_to(measured(tank, "fnm_tsd_low_precision"), direct, 1e-4));
            }
            if (waveform->has_complex_decomposition()) {
                EXPECT_TRUE(close_to(measured(tank, "fnm_fdtsd"), direct, 1e-9)) << source.shape;
            }
        }
    }
}

// p = rho dv/dt * h, here with the waveform's difference quotient.
TEST(Fields, ConvolvedResponseIsThePressure) {
    constexpr std::size_t fine = 256, count = 100;
    const double step = 1e-7;
    const Waveform pulse = hanning();
    Values rise;
    for (std::size_t m = 0; m < 31 * fine; ++m) {
        const auto at = [&](std::size_t i) {
            return pulse->at(static_cast<double>(i) * step / fine);
        };
        rise.push_back(rho * (at(m + 1) - at(m)));
    }
    for (const Source& source : every_source()) {
        Points points = points_apart(source);
        std::erase_if(points, [&](const CartesianCoordinate& p) {
            return is_bowl(source) && std::hypot(p.x, p.y, p.z - source.sizes.back()) < 0.3 * mm;
        });
        Tank tank = tank_with(source, points, 96);
        tank.set_axis(step, 0, count);
        const Values pressure = measured(tank, "fnm_transient");
        tank.set_axis(step / fine, 0.5 * step / fine, count * fine);
        const Values response = measured(tank, "impulse_response");
        Values convolved(pressure.size());
        for (std::size_t i = 0; i < convolved.size(); ++i) {
            const std::size_t now = i / points.size() * fine;
            for (std::size_t m = 0; m < std::min(now, rise.size()); ++m) {
                convolved[i] +=
                    rise[m] * response[i % points.size() + (now - 1 - m) * points.size()];
            }
        }
        EXPECT_TRUE(close_to(convolved, pressure, 3e-3)) << source.shape;
    }
}

// ---- the medium

// A default frequency is one without attenuation, and of no use to surface integrals, whose
// strength is proportional to it.
TEST(Fields, MissingFrequencyOrSpeedIsReplacedWithAWarning) {
    const std::string no_frequency = "f0 not set; using default of 1 MHz to calculate wavelength.";
    const std::string no_speed =
        "Sound speed not set; using default of 1500 m/s to calculate wavenumber.";
    for_everything_offered([&](const Operation& operation, const Source& source) {
        if (operation.kind != OperationKind::continuous_wave) {
            return;
        }
        const bool flat_edges = source.shape == "rect";
        const bool nearfield =
            flat_edges ? operation.name[1] == 'n' : is_one_of(operation, {"fnm_cw"});
        Tank tank = tank_for(operation, {source});
        tank.set_points({{1e-4, 0, 3 * mm}, {2 * mm, 1 * mm, 5 * mm}});
        tank.medium._f0 = 0.0;
        Recorder console;
        const Values field = measured(tank, operation);
        const bool warns = flat_edges || nearfield;
        EXPECT_EQ(console.warnings, std::vector<std::string>(warns ? 1 : 0, no_frequency));
        if (nearfield) {
            tank.medium._f0 = 1e6;
            tank.medium._dBcmMHz = 0;
            EXPECT_TRUE(same_bits(field, measured(tank, operation)));
            EXPECT_GT(peak_of(field), 0.0);
        } else if (warns || is_one_of(operation, {"rayleigh_cw"})) {
            EXPECT_EQ(peak_of(field), 0.0);
        }
        if (is_one_of(operation, {"radiator_cw"})) {
            return;  // without a speed its rule has no size
        }
        console.warnings.clear();
        tank.medium._f0 = 1.3e6;
        tank.medium._soundspeed = 0.0;
        const Values at_default = measured(tank, operation);
        const bool has_default = !flat_edges && is_one_of(operation, {"rayleigh_cw"});
        EXPECT_EQ(console.warnings, std::vector<std::string>(has_default ? 1 : 0, no_speed));
        tank.medium._soundspeed = 1500.0;
        EXPECT_TRUE(!has_default || same_bits(at_default, measured(tank, operation)));
    });
}

TEST(Fields, OddSizesAreNoCrash) {
    const double nan = std::nan("");
    for (const Source& source : every_source()) {
        Tank tank = tank_with(source, points_around(source), 8);
        tank.waveform = sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0);
        for (const Values& pair : {Values{2, 1}, Values{0, 1}, Values{1, 0}, Values{1, -1},
                                   Values{nan, 1}, Values{1, nan}}) {
            Values& sizes = tank.sources[0].sizes;
            sizes.back() = pair[1];
            sizes.front() = pair[0] / 2;
            sizes[sizes.size() > 1 ? sizes.size() - 2 : 0] = pair[0];
            for (const Operation& operation : kavro::operations()) {
                const bool endless = is_one_of(operation, {"radiator_cw"});
                if (operation.kind < OperationKind::kzk_transient && !endless &&
                    offers(source, operation)) {
                    measured(tank, operation);
                }
            }
        }
    }
}

}  // namespace
}  // namespace kavro_test
