// What the library's tests share: a tank in which elements of any shape are measured by any
// operation, ways to compare what was measured, waveforms, and a console recorder.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kavro.h"

namespace kavro_test {

using Values = std::vector<double>;
using Waveform = std::shared_ptr<kavro::ExcitationFunction>;

// ---- scenes

// A radiating element, described.
struct Source {
    std::string shape = "circ";  // an identifier of kavro::shapes()
    Values sizes = {};           // in the shape's order; sizes of a few millimetres where empty
    kavro::CartesianCoordinate center = {};
    kavro::CartesianCoordinate euler = {};
    double amplitude = 1.0;
    double phase = 0.0;
    double time_delay = 0.0;
    bool exact = false;
    int apodization = 1;
    Waveform waveform = {};  // the tank's where there is none
    double tolerance = 0.0;  // of the quadrature, with which the rule is null
};

// Everything that an operation reads, as values that may be copied and changed. The empty tank is
// water, with a tone of 1 MHz.
struct Tank {
    Tank();

    std::vector<Source> sources;
    kavro::CoordinateGrid grid;
    kavro::Medium medium;
    kavro::TimeSamples times;
    kavro::NumericalIntegration rule;
    Waveform waveform;
    int harmonics = 3;  // that the output of kzk_cw has room for

    void set_points(const std::vector<kavro::CartesianCoordinate>& points);
    std::vector<kavro::CartesianCoordinate> points() const;
    void set_axis(double deltat, double tmin, int count);
    void set_list(const Values& instants);
    void set_order(int ndiv);  // the rule's, which is left on [-1, 1]
};

// A tank that the operation can work in: points on the axis, over the face and the rim, outside,
// close to the face, in its plane and behind it, where the last is; for the marches a plane.
Tank tank_for(const kavro::Operation& operation, const std::vector<Source>& sources);

// The same, with `count` points strewn in front of the sources.
Tank crowded_tank(const kavro::Operation& operation, const std::vector<Source>& sources, int count);

std::unique_ptr<kavro::Transducer> element_of(const Source& source);

// A tank of its own with an element for every source, connected to one output. The output is one
// list: a pressure for every point and instant (point fastest); real parts, then imaginary parts;
// or begin and end of each element's response.
class Measurement {
public:
    Measurement(const Tank& of, const kavro::Operation& by, double former = 0.0);
    Measurement(const Measurement&) = delete;
    Measurement& operator=(const Measurement&) = delete;

    // Element after element, to the first that does not succeed; or all in one call.
    kavro::TransducerStatus one_by_one();
    kavro::TransducerStatus together(kavro::Output knowing = kavro::Output::accumulate);

    std::vector<kavro::Transducer*> elements() const;

    Tank tank;
    const kavro::Operation& operation;
    std::vector<std::unique_ptr<kavro::Transducer>> owned;
    Values output;

private:
    void note_arrivals();
};

// What the sources' field adds up to, by an operation that succeeds.
Values measured(const Tank& tank, const kavro::Operation& operation);

// Calls the test for every operation of every shape that offers it, as reference and exact, with
// all three named in the trace.
void for_everything_offered(
    const std::function<void(const kavro::Operation&, const Source&)>& test);

const kavro::Operation& operation_named(const char* name);
inline bool stores(const kavro::Operation& o) {
    return o.kind >= kavro::OperationKind::kzk_transient;
}
// Whether the output has values for each point.
inline bool is_field(const kavro::Operation& o) {
    return o.kind != kavro::OperationKind::arrival_times;
}

// The values of point i of `npoints`.
Values at_point(const Values& output, std::size_t i, std::size_t npoints);

// ---- comparisons

// Zeros of either sign differ, values that are not numbers agree with themselves.
testing::AssertionResult same_bits(const Values& found, const Values& expected);
// Within `tolerance` of the largest magnitude expected.
testing::AssertionResult close_to(const Values& found, const Values& expected, double tolerance);

double peak_of(const Values& values);
double largest_difference(const Values& one, const Values& other);

// ---- waveforms

// A waveform of a user's own: 1 at t = 0, rising by one over its width, so that it jumps at both
// ends and every sample that is missing or too many shows.
class Ramp : public kavro::ExcitationFunction {
public:
    explicit Ramp(double width) : ExcitationFunction(0.0, width, 0.0) {}

    void spatial_tsd(double* out, double const& tau) const override;
    void spatial_tsd(float* out, float const& tau) const override;
    void temporal_tsd(double* out, kavro::TimeSamples const* times, int const& ntimes,
                      double const& delay) const override;
    void temporal_tsd(float* out, kavro::TimeSamples const* times, int const& ntimes,
                      float const& delay) const override;
    double at(double const& t) const override;
    double derivative(double const& t) const override;
    int number_of_tsd_terms() const override { return 2; }
};

// Reproducible noise in [-1, 1].
Values noise(std::size_t count, unsigned seed);

Waveform sampled(const Values& signal, double ts, double w, double clip_threshold);

// One exact waveform of every kind, of some 1 MHz and 2 us.
std::vector<Waveform> exact_waveforms();

// ---- the process

// Takes over the console for its lifetime.
class Recorder {
public:
    std::string printed;
    std::vector<std::string> warnings;
    std::vector<double> progress;

    bool is_silent() const { return printed.empty() && warnings.empty(); }

private:
    kavro::console::Connection connection_{
        {[this](const char* text) { printed += text; },
         [this](const char* text) { warnings.emplace_back(text); },
         [this](double fraction) { progress.push_back(fraction); }}};
};

// The message of the InputError that the act throws.
template <class Act>
std::string error_of(Act act) {
    try {
        act();
    } catch (const kavro::InputError& error) {
        return error.what();
    }
    return "(no error)";
}

// The n-th allocation from now on fails, none for 0. Returns how many were left until the failure
// that was asked for last.
long fail_allocation(long n);

// Bytes that were in use at once, at most, since it was made, beyond those in use then.
class HeapWatch {
public:
    HeapWatch();
    std::size_t peak() const;

private:
    std::size_t before_;
};

// Calls the test once with each kind of vectors that the processor has, named in the trace.
void for_every_vector_target(const std::function<void()>& test);

// Tests that change threads or vectors; the defaults return with their end.
class Variants : public testing::Test {
protected:
    ~Variants() override {
        kavro::set_vector_target(std::nullopt);
        kavro::set_thread_count(0);
    }
};

}  // namespace kavro_test
