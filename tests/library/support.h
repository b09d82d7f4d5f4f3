// What the library's tests share: a console recorder, and one scene solved by library and oracle.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kavro.h"
#include "oracle/disc.h"
#include "oracle/product_waveform.h"

namespace kavro_test {

using kavro_oracle::Disc;
using kavro_oracle::Field;
using kavro_oracle::Scene;
using kavro_oracle::Triple;
using kavro_oracle::WindowLog;

using Waveform = std::shared_ptr<kavro::ExcitationFunction>;

// Takes over the console for its lifetime.
class Recorder {
public:
    std::string printed;
    std::vector<std::string> warnings;
    std::vector<double> progress;

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

// ---- scenes

void set_axis(Scene& scene, double deltat, double tmin, int count);
void set_list(Scene& scene, std::vector<double> times);

// A small scene with every kind of point: on the axis, over face and rim, in the plane, behind.
Scene plain_scene();

// Points scattered at random around three discs.
Scene crowded_scene(std::size_t npoints);

// The library's records for a scene, and an output of zeros.
struct Records {
    explicit Records(const Scene& scene);

    // Hands the records to an element.
    void connect(kavro::Transducer& element);
    void connect_continuous_wave(kavro::Transducer& element);

    kavro::CoordinateGrid grid;
    kavro::TimeSamples times;
    kavro::Medium medium;
    kavro::NumericalIntegration rule;
    Field pressure;
    Field pressure_real, pressure_imag;  // continuous wave, one value for each point
};

kavro::CircularTransducer element_of(const Disc& disc);
kavro::CircularTransducer element_of(const Disc& disc, kavro::ExcitationFunction& waveform);

// ---- methods

using Solve = kavro::TransducerStatus (kavro::CircularTransducer::*)();

struct Method {
    const char* name;
    Solve solve;
    void (*oracle)(const Scene& scene, Field& field, WindowLog* log);
    bool single;
};

const std::vector<Method>& real_methods();  // fnm_tsd_sse, fnm_tsd_low_precision, fnm_tsd
const Method& complex_method();             // fnm_fdtsd

// A scene in which every disc is driven by the same waveform.
class Stage {
public:
    Stage(Scene scene, Waveform waveform);

    Field by_library(Solve method) const;
    // With the library's waveform, or with another one in its place.
    Scene for_oracle(const kavro_oracle::Waveform* waveform = nullptr) const;

    const Scene& scene() const { return scene_; }
    const kavro::ExcitationFunction& waveform() const { return *waveform_; }

private:
    Scene scene_;
    Waveform waveform_;
    kavro_oracle::ProductWaveform wrapped_;
};

// What a field is measured by.
struct Yardstick {
    Field field;
    std::vector<char> touched;  // for every value of the field, whether any window reaches it
    std::vector<double> scale;  // of every point, its largest magnitude
    // For every point, the largest sum of magnitudes of the decomposition's terms.
    std::vector<double> terms_scale;
};

// A field and the windows that its waves had, element after element.
Yardstick yardstick_of(Field field, const WindowLog& log, std::size_t npoints);

// The oracle's field, with the library's waveform or another in its place.
Yardstick yardstick_of(const Stage& stage, const Method& method,
                       const kavro_oracle::Waveform* waveform = nullptr);

// Whether the field agrees within `tolerance` of each point's scale (or terms' scale), is not a
// number at the same samples, and is exactly zero wherever no window reaches.
testing::AssertionResult agrees(const Field& field, const Yardstick& yardstick, double tolerance,
                                bool by_terms = false);

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
std::vector<double> noise(std::size_t count, unsigned seed);

Waveform sampled(const std::vector<double>& signal, double ts, double w, double clip_threshold);

// One exact waveform of every kind, of some 1 MHz and 2 us.
std::vector<Waveform> exact_waveforms();

// ---- fields

double peak_of(const Field& field);
double largest_difference(const Field& one, const Field& other);

// Tests that change threads or vectors; the defaults return with their end.
class Variants : public testing::Test {
protected:
    ~Variants() override {
        kavro::set_vector_target(std::nullopt);
        kavro::set_thread_count(0);
    }
};

}  // namespace kavro_test
