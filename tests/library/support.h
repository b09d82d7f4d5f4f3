// What the tests of one disc share.
#pragma once

#include "oracle/decomposition.h"
#include "stage.h"

namespace kavro_test {

using Disc = kavro_oracle::Element;
using kavro_oracle::Field;
using kavro_oracle::Triple;

struct Scene : kavro_oracle::Scene {
    std::vector<Disc> discs;
};

void set_axis(Scene& scene, double deltat, double tmin, int count);

// A small scene with every kind of point: on the axis, over face and rim, in the plane, behind.
Scene plain_scene();

// The library's records for a scene, and an output of zeros.
struct Records {
    explicit Records(const kavro_oracle::Scene& scene);

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

kavro::CircularTransducer element_of(const Disc& disc, kavro::ExcitationFunction& waveform);

using Solve = kavro::TransducerStatus (kavro::CircularTransducer::*)();

// A scene in which every disc is driven by the same waveform.
class Stage {
public:
    Stage(Scene scene, Waveform waveform);

    Field by_library(Solve method) const;

private:
    Scene scene_;
    Waveform waveform_;
};

}  // namespace kavro_test
