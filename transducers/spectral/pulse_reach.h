// How far a pulse reaches in frequency and in time once it has come a long way through losses.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/interrupted.h"
#include "excitation/excitation_function.h"
#include "transducers/spectral/power_law.h"

namespace kavro {

// Steps (interrupted.h) that a value of the transform takes, about.
std::int64_t steps_of_transform(const ExcitationFunction& waveform);

// Answers for paths from a micrometre to a thousand kilometres, tabulated in steps of half an
// octave so that they depend on the path alone.
class PulseReach {
public:
    // What is left out shall stay below the tolerance, relative to the pulse's peak.
    PulseReach(const ExcitationFunction& waveform, const PowerLaw& law, double tolerance);

    // The angular frequency beyond which nothing that matters arrives over the shortest path.
    double band(double nearest) const { return steps_[below(nearest)].band; }

    // By how much the pulse begins before its nominal arrival, and lasts beyond the nominal arrival
    // plus its duration, over the longest path (s).
    double early(double farthest) const { return steps_[above(farthest)].early; }
    double late(double farthest) const { return steps_[above(farthest)].late; }

    // What a comb that ends at this angular frequency leaves out over the path, as a share of the
    // pulse's peak: of a pulse that is its own derivative's shape, as far away, or, where that is
    // less, of one `gain` times as small as its terms, which have its own shape.
    double left_out(double path, double band, double gain) const;

private:
    // Of a step in half octaves; the first for a path that is none, of a point behind a face.
    static std::size_t rung(double step);

    static constexpr int lowest = -40;  // half octaves from 1 m
    static constexpr int count = 81;

    struct Step {
        double band = 0.0, early = 0.0, late = 0.0;
    };

    static std::size_t below(double path);
    static std::size_t above(double path);

    std::array<Step, count> steps_;
    // |j omega V| at angular frequencies in a constant ratio, times the interval, and the loss.
    std::vector<double> omega_, part_, alpha_;
};

}  // namespace kavro
