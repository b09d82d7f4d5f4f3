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

}  // namespace kavro_bench
