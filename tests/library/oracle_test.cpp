// Every shape by every fast nearfield method against the oracle, in scenes made to hurt.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "literal.h"

namespace kavro_test {
namespace {

using kavro::CartesianCoordinate;
using kavro::Operation;
using kavro::OperationKind;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

bool is_decomposition(const Operation& operation) {
    return std::string_view(operation.name).find("tsd") != std::string_view::npos;
}

// An apodized face is compared in tests/python, as are sums over samples of the face; the method by
// frequencies has losses, and tests of its own.
bool is_literal(const Operation& operation, OperationKind kind) {
    return operation.kind == kind && std::string_view(operation.name).starts_with("fnm") &&
           operation.method != kavro::Method::fnm_cw_apodized &&
           operation.method != kavro::Method::fnm_spectral;
}

// On one thread: the contract's tests show that their number does not matter.
class Oracle : public Variants {
protected:
    Oracle() { kavro::set_thread_count(1); }
};

// ---- waveforms

// As the contract wants it, zero outside; the ramp itself is there for the windows' last samples.
class ShortRamp : public Ramp {
public:
    using Ramp::Ramp;
    double at(double const& t) const override { return t > 0 && t < w ? Ramp::at(t) : 0.0; }
    double derivative(double const& t) const override {
        return t > 0 && t < w ? Ramp::derivative(t) : 0.0;
    }
};

struct Kind {
    std::string name;
    Waveform waveform;
    // Whether the terms of the decomposition are much larger than their sum, as those of an
    // expanded cube are: rounding is then of their size.
    bool cancels = false;
    bool decomposed_only = false;
};

// The few are enough to see a window or a coefficient.
std::vector<Kind> kinds(bool all) {
    const Values even = noise(12, 1), odd = noise(9, 2);
    // The bin of frequency zero is exactly zero too.
    const Values zero_mean = {3, -1, 4, -1, -5, 2, -6, 4};
    const auto signal = [](const Values& values, double clip) {
        return sampled(values, 1e-7, static_cast<double>(values.size()) * 1e-7, clip);
    };
    std::vector<Kind> found;
    for (const bool exact : {false, true}) {
        std::vector<Kind> some = {
            {"t cubed", std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, 4e5), true},
            {"odd signal", signal(odd, exact ? 0.0 : 0.2)}};
        const std::vector<Kind> more = {
            {"Hanning", std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0)},
            {"tone burst", std::make_shared<kavro::ToneBurst>(1e6, 2.3e-6, 0)},
            {"endless tone", std::make_shared<kavro::ToneBurst>(1e6, infinity, 0)},
            {"even signal", signal(even, 0.0)},
            {"clipped signal", signal(even, 0.2)},
            {"signal clipped in dB", signal(odd, -4.0)},
            {"unclipped signal", signal(odd, 0.0)},
            {"signal without mean", signal(zero_mean, 0.0)},
            {"constant signal", signal(Values(6, 2.5), 0.1)},  // one term
            {"silent signal", signal(Values(6, 0.0), 0.1)}};   // none
        some.insert(some.end(), more.begin(), all ? more.end() : more.begin());
        for (Kind& kind : some) {
            kind.name += exact ? ", exact" : "";
            kind.waveform->set_exact(exact);
            found.push_back(kind);
        }
    }
    found.push_back({"ramp", std::make_shared<Ramp>(1.7e-6), false, true});
    found.push_back({"short ramp", std::make_shared<ShortRamp>(1.7e-6)});
    return found;
}

bool fits(const Kind& kind, const Operation& operation) {
    const bool complex = operation.waveform_demand != kavro::WaveformDemand::sampled ||
                         kind.waveform->has_complex_decomposition();
    return complex && (is_decomposition(operation) || !kind.decomposed_only);
}

// Every transient operation that the tank's shape offers.
void compare(const std::string& what, Tank tank, const std::vector<Kind>& kinds, Measure measure) {
    for (const Operation& operation : kavro::operations()) {
        for (const Kind& kind : kinds) {
            if (!is_literal(operation, OperationKind::transient) ||
                !offers(tank.sources[0], operation) || !fits(kind, operation)) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << what << ", " << tank.sources[0].shape << ", "
                                            << kind.name << ", " << operation.name);
            tank.waveform = kind.waveform;
            const bool by_terms = kind.cancels || !is_decomposition(operation);
            ASSERT_TRUE(is_like_the_oracle(tank, operation, by_terms ? Measure::terms : measure));
        }
    }
}

// Peaks say something of fields that are no difference of larger waves.
Measure measure_of(const Source& source) {
    return source.shape == "circ" || source.shape == "rect" ? Measure::peak : Measure::terms;
}

Tank tank_around(const Source& source, int ndiv) {
    Tank tank = tank_of(source);
    tank.set_points(points_around(source));
    tank.set_order(ndiv);
    return tank;
}

std::vector<Source> turned(Source source) {
    std::vector<Source> all;
    const auto add = [&](CartesianCoordinate center, CartesianCoordinate euler, double amplitude,
                         double phase, double delay, int apodization) {
        source.center = center;
        source.euler = euler;
        source.amplitude = amplitude;
        source.phase = phase;
        source.time_delay = delay;
        source.apodization = apodization;
        all.push_back(source);
    };
    add({1e-3, -2e-3, 5e-4}, {0.3, -0.4, 0.7}, 1.5, 0.4, 4e-7, 2);
    add({-3e-3, 0, 0}, {-0.2, 0.1, 2.0}, -0.25, -2.0, -3e-7, 3);
    add({0, 1e-3, -1e-3}, {3.0, 0.05, -1.0}, 1, 0, 0, 0);
    add({0, 0, 0}, {0, 0, 0}, 1e-10, 0, 0, 1);
    add({2e-3, 2e-3, 1e-3}, {0, 0, 0}, std::nextafter(1e-10, 1), 1, 1e-6, 4);
    return all;
}

// ---- transients

TEST_F(Oracle, TransientsOfEveryWaveform) {
    for (const Source& source : every_source()) {
        // Sanitizers, which compare nothing, see all waveforms with one shape, and all shapes.
        const bool all = !KAVRO_SANITIZED || source.shape == "circ";
        compare("plain", tank_around(source, 11), kinds(all), measure_of(source));
    }
}

TEST_F(Oracle, TransientsOfTurnedElementsThatOverlapInTime) {
    for (const Source& source : every_source()) {
        Tank tank = tank_around(source, 7);
        tank.sources = turned(source);
        tank.medium._soundspeed = 1540.7;
        tank.medium._rho_density = 1060.3;
        compare("turned", tank, kinds(false), Measure::terms);
        for (Source& one : tank.sources) {
            one.exact = true;
        }
        if (source.shape == "circ") {  // the only one whose series depart
            compare("turned, exact", tank, kinds(false), Measure::terms);
        }
    }
}

TEST_F(Oracle, TransientsOnEveryTimeAxis) {
    for (const Source& source : every_source()) {
        const auto with = [&](const char* what, double delay, int ndiv, const auto& set) {
            Tank tank = tank_around(source, ndiv);
            tank.sources[0].time_delay = delay;
            tank.sources[0].amplitude = -0.5;
            set(tank);
            compare(what, tank, kinds(false), Measure::terms);
        };
        with("late start, early end", 1e-7, 3, [](Tank& t) { t.set_axis(1 / 37e6, 3.1e-6, 97); });
        with("over before", 1e-7, 3, [](Tank& t) { t.set_axis(1 / 37e6, -4e-6, 60); });
        with("negative delay", -2.2e-6, 5, [](Tank& t) { t.set_axis(1 / 37e6, -1e-6, 130); });
        for (int count = 1; count <= 11; count += 1 + count / 5) {
            with("few samples", 0.0, count, [=](Tank& t) { t.set_axis(1.7e-7, 2.6e-6, count); });
        }
        with("list", 1.1e-7, 4, [](Tank& t) {
            Values times = t.times.times;
            std::reverse(times.begin(), times.end());
            std::rotate(times.begin(), times.begin() + 41, times.end());
            times.resize(150);
            // To the last bit the arrival at the centre of the face, and a moment before.
            times.insert(times.end(), {times[0], 1.1e-7, std::nextafter(1.1e-7, 0)});
            t.set_list(times);
        });
        with("list of one", 1.1e-7, 4, [](Tank& t) { t.set_list({4.4e-6}); });
    }
}

// Delays that are whole numbers of steps but for rounding, and windows as long: whether a sample
// belongs to a wave hangs on the last bit.
TEST_F(Oracle, ArrivalsThatFallOnSamples) {
    for (const Source& source : every_source()) {
        const double a = is_bowl(source) ? source.sizes.end()[-2] : source.sizes.back();
        const double side = source.shape == "rect" ? a / 2 : a;
        for (const double dt : {1e-7, 1.3e-7}) {
            std::vector<CartesianCoordinate> points;
            for (int k = 1; k <= 30; ++k) {
                const double distance = k * dt * 1500.0;
                const double height = std::sqrt(std::fmax(distance * distance - a * a, 0.0));
                points.insert(points.end(), {{0, 0, distance},
                                             {0, 0, height},
                                             {side + distance, 0, 0},
                                             {0, side, distance}});
            }
            Tank tank = tank_of(source);
            tank.set_points(points);
            tank.set_order(5);
            tank.sources[0].time_delay = 3 * dt;
            tank.set_axis(dt, 2 * dt, 60);
            compare("on samples", tank, kinds(false), Measure::terms);
        }
    }
}

TEST_F(Oracle, TransientsWhereNumbersRunOut) {
    for (const Source& source : {every_source()[0], every_source()[1]}) {
        Tank tank = tank_of(source);
        tank.set_order(12);
        tank.set_points({{0, 0, 5e-3},
                         {not_a_number, 0, 5e-3},
                         {0, 0, not_a_number},
                         {infinity, 0, 5e-3},
                         {0, -infinity, infinity},
                         {0, 0, -infinity},
                         {1e5, 0, 2e5},
                         {0, 0, 1e18},
                         {1e25, 1e25, 0},
                         {1e200, 0, 1e200}});
        std::vector<Kind> decomposed = kinds(false);
        std::erase_if(decomposed, [](const Kind& kind) { return !kind.decomposed_only; });
        compare("not finite", tank, decomposed, Measure::terms);
        for (const double delay : {1e4, -1e4}) {  // sample numbers beyond 32 bits
            tank.sources[0].time_delay = delay;
            compare("late or early", tank, decomposed, Measure::terms);
        }
        tank.sources[0].time_delay = 0.0;
        tank.set_list({4e-6, not_a_number, infinity, -infinity, 4.1e-6});
        compare("times that are not finite", tank, decomposed, Measure::terms);
    }
}

// Counts that fill no block of lanes and no tile, and neighbours whose waves are tens of thousands
// of samples apart.
TEST_F(Oracle, TransientsOfEveryNumberOfPoints) {
    const Kind ramp = kinds(false).end()[-2];
    for (const Source& source : every_source()) {
        for (const int count : {1, 2, 15, 16, 17, 31, 33, 127, 150}) {
            Tank tank = crowded_tank(operation_named("fnm_tsd"), {source}, count);
            compare(std::to_string(count) + " points", tank, {ramp}, Measure::terms);
        }
        Tank tank = tank_of(source);
        tank.set_order(4);
        tank.set_points({{0, 0, 1e-3}, {0, 0, 0.6}, {1e-3, 0, 1.2}, {0, 1e-3, 2e-3}});
        tank.set_axis(1e-8, 0, 90000);
        compare("far apart", tank, {ramp}, Measure::terms);
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

TEST_F(Oracle, CoefficientsHaveItsBits) {
    for (const double radius : {2e-3, 1.1e-3, 2.7e-4}) {
        Tank tank = crowded_tank(operation_named("fnm_tsd"), {}, 60);
        tank.sources = {{.sizes = {radius}, .euler = {0.1, 0.2, 0.3}, .amplitude = 1.5}};
        tank.set_order(1);
        tank.medium._soundspeed += 1e4 * radius;
        tank.medium._rho_density -= 7e3 * radius;
        tank.waveform = std::make_shared<Step>(9e-7);
        const Literal literal(tank);
        Values quotient = silence(literal.scene), product = quotient;
        add_single(literal.scene, kavro_oracle::DelayBy::quotient, quotient);
        add_single(literal.scene, kavro_oracle::DelayBy::reciprocal, product);
        EXPECT_EQ(measured(tank, "fnm_tsd_sse"), quotient);
        EXPECT_EQ(measured(tank, "fnm_tsd_low_precision"), product);
    }
}

// The edge wave of the second point leaves the range of single precision before it arrives, which
// must not touch its direct wave nor its neighbour.
TEST_F(Oracle, OverflowStaysWithWhatOverflows) {
    Tank tank = tank_of({.sizes = {3e-4}});
    tank.set_order(12);
    tank.set_points({{0, 0, 0}, {0, 0, 6e-4}});
    tank.set_axis(4e-9, 0, 111);
    tank.waveform = std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, 2e8);
    Tank alone = tank;
    alone.set_points({{0, 0, 0}});
    for (const char* name : {"fnm_tsd", "fnm_tsd_sse", "fnm_tsd_low_precision"}) {
        SCOPED_TRACE(name);
        const Values field = measured(tank, name);
        EXPECT_TRUE(same_bits(at_point(field, 0, 2), measured(alone, name)));
        const Complexes literal = expected_of(tank, operation_named(name)).values;
        Values expected;
        for (std::size_t j = 1; j < literal.size(); j += 2) {
            expected.push_back(literal[j].real());
        }
        EXPECT_GT(peak_of(expected), 0.0);
        EXPECT_TRUE(close_to(at_point(field, 1, 2), expected, 1e-6));
    }
}

TEST_F(Oracle, Arrivals) {
    for (const Source& source : every_source()) {
        Tank tank = tank_around(source, 4);
        tank.sources = turned(source);
        const Values found = measured(tank, "impulse_begin_and_end_times");
        const Literal literal(tank);
        for (std::size_t i = 0; i < tank.sources.size(); ++i) {
            const auto [begin, end] = arrivals_of(literal.scene, literal.scene.elements[i]);
            EXPECT_EQ(found[2 * i], begin) << source.shape;
            EXPECT_EQ(found[2 * i + 1], end) << source.shape;
        }
    }
}

// ---- continuous waves

TEST_F(Oracle, ContinuousWaves) {
    for (const Source& source : every_source()) {
        Tank plain = tank_around(source, 1);
        Tank lossy = plain;
        lossy.medium._f0 = 1.3e6;
        lossy.medium._dBcmMHz = 3.0;
        lossy.sources = {turned(source)[0]};
        Tank many = lossy;
        many.sources = turned(source);
        many.medium._soundspeed = 1540.7;
        many.medium._rho_density = 1060.3;
        for (Tank tank : {plain, lossy, many}) {
            for (const bool exact : {false, true}) {
                for (Source& one : tank.sources) {
                    one.exact = exact;
                }
                for (const int ndiv : {1, 4, 15, 24}) {
                    tank.set_order(ndiv);
                    for (const Operation& operation : kavro::operations()) {
                        if (is_literal(operation, OperationKind::continuous_wave) &&
                            offers(source, operation)) {
                            SCOPED_TRACE(testing::Message()
                                         << source.shape << ", " << operation.name
                                         << ", n = " << ndiv << ", " << tank.sources.size()
                                         << " sources" << (exact ? ", exact" : ""));
                            EXPECT_TRUE(is_like_the_oracle(tank, operation));
                        }
                    }
                }
            }
        }
    }
}

// Along the rim the reference's rule is refilled for half a turn and left there; over a flat face
// it only counts.
TEST_F(Oracle, RefillsTheReferenceRule) {
    for (const char* name : {"fnm_cw", "fnm_cw_sse", "rayleigh_cw", "fnm_tsd"}) {
        Tank tank = tank_around({.sizes = {3e-3}}, 12);
        tank.waveform = std::make_shared<Ramp>(1e-6);
        tank.rule.midpoint_rule(-7, 9);
        kavro::NumericalIntegration expected = tank.rule;
        Measurement measurement(tank, operation_named(name));
        EXPECT_EQ(measurement.one_by_one(), kavro::status_success);
        if (name[0] == 'f') {
            expected.gauss_quadrature(0, 3.14159265358979);
        }
        EXPECT_EQ(measurement.tank.rule.abscissas, expected.abscissas) << name;
        EXPECT_EQ(measurement.tank.rule.weights, expected.weights) << name;
    }
}

TEST_F(Oracle, TheRadiatorLeavesTheRuleOfItsLastPoint) {
    Tank tank = tank_of({.shape = "rect", .sizes = {4e-3, 6e-3}});
    tank.set_order(12);
    tank.set_points({{0, 0, 1e-3}, {1e-3, 0, 2.1e-3}, {0, 0, 0}, {0, 0, -1e-3}});
    const auto left = [&tank] {
        Measurement measurement(tank, operation_named("radiator_cw"));
        EXPECT_EQ(measurement.one_by_one(), kavro::status_success);
        return measurement.tank.rule;
    };
    kavro::NumericalIntegration expected;
    expected.allocate_memory(4 * 6);  // parts of sqrt(4 * 1.5 mm * 2.1 mm / 12) and smaller
    expected.gauss_quadrature();
    EXPECT_EQ(left().abscissas, expected.abscissas);
    EXPECT_EQ(left().weights, expected.weights);
    tank.set_points({{0, 0, 0}, {0, 0, -1e-3}});
    EXPECT_EQ(left().npoints, 12);
}

TEST_F(Oracle, RayleighSumsInSinglePrecisionLeaveOutWhatIsBeyondFours) {
    for (const Source& source : every_source()) {
        const Operation& operation = operation_named("rayleigh_cw_sse");
        for (const bool exact : {false, true}) {
            Tank tank = tank_around(source, 3);
            tank.sources[0].exact = exact;
            if (offers(source, operation)) {
                EXPECT_EQ(peak_of(measured(tank, operation)) > 0.0, exact) << source.shape;
            }
        }
    }
}

// Close to the face the rule has more abscissas than there is memory, or time.
TEST_F(Oracle, TheRadiatorNeitherOverflowsNorHangs) {
    Tank tank = tank_of({.shape = "rect", .sizes = {4e-3, 6e-3}});
    tank.set_order(12);
    for (const double z : {1e-300, 1e-30, 1e-17}) {
        tank.set_points({{0, 0, z}});
        Measurement measurement(tank, operation_named("radiator_cw"));
        EXPECT_EQ(measurement.one_by_one(), kavro::status_out_of_memory) << z;
        EXPECT_EQ(measurement.tank.rule.npoints, 12);
    }
    // Given up within the rule, within the sum, and while the calling thread has nothing left to
    // do.
    kavro::set_thread_count(2);
    for (const double z : {1e-8, 1.6e-5}) {
        for (const std::size_t idle : {0u, 31u}) {
            int asked = 0;
            const kavro::console::Connection impatient(
                {{}, {}, {}, [&asked] { return ++asked > 3; }});
            std::vector<CartesianCoordinate> points(idle, {0, 0, -1.0});
            points.insert(points.begin() + static_cast<std::ptrdiff_t>(idle / 2), {0, 0, z});
            tank.set_points(points);
            EXPECT_EQ(Measurement(tank, operation_named("radiator_cw")).one_by_one(),
                      kavro::status_interrupted)
                << z;
        }
    }
}

TEST_F(Oracle, ProfilesAndTheirDerivatives) {
    namespace profiles = kavro::piston_apodization;
    constexpr double a = 2.5e-3, h = 1e-7;
    for (const int index : {-1, 0, 1, 2, 3, 4, 5}) {
        for (const double r : {0.0, 1e-4, 1.3e-3, -2e-3, 2.4999e-3, a, -a, 3e-3}) {
            const double slope = profiles::derivative(index, r, a);
            const bool weighted = index >= 1 && index <= 4;
            if (weighted && std::fabs(r) >= a) {
                EXPECT_EQ(profiles::evaluate(index, r, a), 0.0);
                EXPECT_EQ(slope, 0.0);
            }
            if (std::fabs(r) < 2.4e-3) {
                EXPECT_TRUE(weighted || profiles::evaluate(index, r, a) == 1.0);
                const double difference =
                    profiles::evaluate(index, r + h, a) - profiles::evaluate(index, r - h, a);
                EXPECT_NEAR(slope, difference / (2 * h), 1e-6 / a);
            }
        }
        EXPECT_EQ(profiles::evaluate(index, not_a_number, a), index >= 1 && index <= 4 ? 0.0 : 1.0);
    }
    using Function = double (*)(double, double);
    const Function by_name[] = {profiles::cosine, profiles::raisedcosine, profiles::quadratic,
                                profiles::quartic};
    const Function slopes_by_name[] = {profiles::derivativecosine, profiles::derivativeraisedcosine,
                                       profiles::derivativequadratic, profiles::derivativequartic};
    for (int index = 1; index <= 4; ++index) {
        EXPECT_EQ(by_name[index - 1](0.3, 1.0), profiles::evaluate(index, 0.3, 1.0));
        EXPECT_EQ(slopes_by_name[index - 1](0.3, 1.0), profiles::derivative(index, 0.3, 1.0));
    }
}

}  // namespace
}  // namespace kavro_test
