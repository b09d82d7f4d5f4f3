// Measures of a field, without the field; and fields of several outputs in one call.
#include <algorithm>
#include <array>
#include <cmath>

#include "kavro.h"
#include "stage.h"

namespace kavro_test {
namespace {

using kavro::Measure;
using kavro::OperationKind;

constexpr std::array all_measures{Measure::peak,   Measure::peak_positive, Measure::peak_negative,
                                  Measure::energy, Measure::rms,           Measure::time_of_peak};

double measure_of_series(Measure measure, const Values& p, const kavro::TimeSamples& axis) {
    const Values& t = axis.times;
    const auto largest = std::max_element(
        p.begin(), p.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    double sum = 0.0;
    for (std::size_t j = 0; j < p.size(); ++j) {
        double weight = 1.0;
        if (axis.deltat() == 0.0) {
            weight = j > 0 ? 0.5 * (t[j] - t[j - 1]) : 0.0;
            weight += j + 1 < p.size() ? 0.5 * (t[j + 1] - t[j]) : 0.0;
        }
        sum += p[j] * p[j] * weight;
    }
    switch (measure) {
        case Measure::peak:
            return std::fabs(*largest);
        case Measure::peak_positive:
            return *std::max_element(p.begin(), p.end());
        case Measure::peak_negative:
            return *std::min_element(p.begin(), p.end());
        case Measure::energy:
            return axis.deltat() == 0.0 ? sum : sum * axis.deltat();
        case Measure::rms:
            return std::sqrt(sum / (axis.deltat() == 0.0 ? t.back() - t.front()
                                                         : static_cast<double>(p.size())));
        default:
            return t[static_cast<std::size_t>(largest - p.begin())];
    }
}

void expect_measures_of_field(const Tank& tank, const kavro::Operation& operation) {
    const auto points = static_cast<std::size_t>(tank.grid.npoints);
    const Values field = measured(tank, operation);
    EXPECT_GT(peak_of(field), 0.0);
    Measurement measurement(tank, operation);
    measurement.owned.back()->set_transient_pressure_pointer(nullptr);
    std::vector<Values> found(all_measures.size(), Values(points, -1.0));
    std::vector<kavro::MeasureOutput> outputs;
    for (std::size_t m = 0; m < all_measures.size(); ++m) {
        outputs.push_back({all_measures[m], found[m].data()});
    }
    ASSERT_EQ(kavro::measure(operation.method, measurement.elements(), outputs),
              kavro::status_success);
    EXPECT_EQ(peak_of(measurement.output), 0.0);
    for (std::size_t m = 0; m < all_measures.size(); ++m) {
        Values expected;
        for (std::size_t i = 0; i < points; ++i) {
            expected.push_back(
                measure_of_series(all_measures[m], at_point(field, i, points), tank.times));
        }
        EXPECT_TRUE(same_bits(found[m], expected)) << kavro::measure_names()[m];
    }
}

TEST_F(Variants, MeasuresAreThoseOfTheFieldToTheLastBit) {
    for_everything_offered([](const kavro::Operation& operation, const Source& source) {
        if (operation.kind != OperationKind::transient &&
            operation.kind != OperationKind::impulse_response) {
            EXPECT_EQ(kavro::measure(operation.method, {}, {}), kavro::status_not_implemented);
            return;
        }
        Source late = source;
        late.time_delay += 3e-7;
        late.amplitude *= -0.5;
        const Tank tank = crowded_tank(operation, {source, late}, 40);
        expect_measures_of_field(tank, operation);
        Tank listed = tank;
        listed.set_list({0, 1e-6, 3e-6, 3.5e-6, 5e-6, 6e-6, 9e-6});
        kavro::set_thread_count(3);
        expect_measures_of_field(listed, operation);
        kavro::set_thread_count(0);
    });
}

TEST(Measures, OfSilence) {
    Tank tank = tank_for(operation_named("fnm_tsd"), {Source{.amplitude = 0.0}});
    Measurement silent(tank, operation_named("fnm_tsd"));
    const auto points = static_cast<std::size_t>(tank.grid.npoints);
    Values peak(points, -1.0), when(points, -1.0);
    const kavro::MeasureOutput outputs[] = {{Measure::peak, peak.data()},
                                            {Measure::time_of_peak, when.data()}};
    ASSERT_EQ(kavro::measure(kavro::Method::fnm_tsd, silent.elements(), outputs),
              kavro::status_success);
    EXPECT_EQ(peak, Values(points, 0.0));
    EXPECT_EQ(when, Values(points, tank.times.times[0]));
}

TEST(Array, ElementsMayHaveOutputsOfTheirOwn) {
    for (const char* name : {"fnm_tsd", "fnm_transient", "fnm_spectral", "fnm_cw"}) {
        const kavro::Operation& operation = operation_named(name);
        const Source first{.amplitude = 2.0, .exact = true};
        const Source second{.shape = "rect", .exact = true};
        const Tank tank = crowded_tank(operation, {first, second, first}, 70);
        Measurement apart(tank, operation);
        Values others(apart.output.size());
        kavro::Transducer& middle = *apart.owned[1];
        if (operation.kind == OperationKind::transient) {
            middle.set_transient_pressure_pointer(others.data());
        } else {
            middle.set_complex_pressure_pointers(others.data(), others.data() + 70);
        }
        ASSERT_EQ(apart.together(kavro::Output::all_zero), kavro::status_success);
        Tank outer = tank;
        outer.sources = {first, first};
        Tank inner = tank;
        inner.sources = {second};
        EXPECT_TRUE(same_bits(apart.output, measured(outer, operation))) << name;
        EXPECT_TRUE(same_bits(others, measured(inner, operation))) << name;
    }
}

}  // namespace
}  // namespace kavro_test
