// The scenes of the benchmark: a set of records for the library and the same as data for the
// oracle.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kavro.h"
#include "oracle/literal_waveforms.h"
#include "oracle/scene.h"

namespace kavro_bench {

// One scene. The records own everything the elements point to.
struct BenchScene {
    std::string name;
    std::string what;

    kavro::CoordinateGrid grid;
    kavro::TimeSamples times;
    kavro::Medium medium;
    kavro::NumericalIntegration rule;
    std::vector<std::unique_ptr<kavro::ExcitationFunction>> waveforms;
    std::vector<std::unique_ptr<kavro::CircularTransducer>> discs;
    std::vector<kavro::Transducer*> elements;

    // The literal transcription sees every `literal_stride`th point and the first `literal_discs`
    // discs: it would take minutes over the whole of the larger scenes.
    int literal_stride = 1;
    int literal_discs = 1;
    std::unique_ptr<kavro_oracle::Waveform> literal_waveform;
    kavro_oracle::Scene literal;

    int ndiv() const { return rule.npoints; }
    std::size_t output_values() const;
};

// The names of all scenes, in order.
std::vector<std::string> scene_names();

std::unique_ptr<BenchScene> make_scene(const std::string& name);

// The scene of which the scaling and memory modes vary one quantity at a time: discs in a row
// of fixed length. Beyond 40 they overlap, which the cost does not notice.
struct ScalingScene {
    int elements = 16;
    bool focused = true;  // each disc has a delay of its own; else none has
    int side = 60;        // points along either side of the plane
    double rate = 32e6;   // Hz
    double duration = 60e-6;
    int ndiv = 32;
    int frequencies = 0;  // of a sampled waveform, exact; 0: a Hanning pulse
};

// For the library alone: the literal transcription is not given the waveform.
std::unique_ptr<BenchScene> make_scaling_scene(const ScalingScene& design);

}  // namespace kavro_bench
