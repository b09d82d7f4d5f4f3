// What the disc's tests share: one scene solved by library and oracle.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kavro.h"
#include "oracle/disc.h"
#include "oracle/product_waveform.h"
#include "stage.h"

namespace kavro_test {

using kavro_oracle::Disc;
using kavro_oracle::Field;
using kavro_oracle::Scene;
using kavro_oracle::Triple;
using kavro_oracle::WindowLog;

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

}  // namespace kavro_test
