// A tank as the oracle has it, and how close to the oracle a measurement must come.
#pragma once

#include <complex>
#include <deque>
#include <vector>

#include "oracle/continuous_wave.h"
#include "oracle/decomposition.h"
#include "oracle/product_waveform.h"
#include "oracle/transient.h"
#include "stage.h"

namespace kavro_test {

using Complexes = std::vector<std::complex<double>>;

// The scene of a tank, whose waveforms it shares.
class Literal {
public:
    explicit Literal(const Tank& tank);
    Literal(const Literal&) = delete;
    Literal& operator=(const Literal&) = delete;

    kavro_oracle::Scene scene;

private:
    std::deque<kavro_oracle::ProductWaveform> waveforms_;
};

// What the oracle makes of a tank, one value for each point or for each point and instant.
struct Expected {
    Complexes values;
    Values terms;               // sums of magnitudes of all that a value is the sum of
    std::vector<char> touched;  // where any wave's samples reach; empty where that is everywhere
    std::size_t npoints = 0;
};

Expected expected_of(const Tank& tank, const kavro::Operation& operation);

// Rounding is measured by each point's peak, or, where an axis of few samples may miss the peak or
// only catch what direct and edge wave leave of each other, by the magnitude of the terms.
enum class Measure { peak, terms };

// Within `tolerance` of the measure at each point, not a number where the oracle's is none, and
// zero where no wave reaches.
testing::AssertionResult agrees(const Complexes& found, const Expected& expected, double tolerance,
                                Measure measure);

// What is measured in the tank against the oracle, with the tolerance of operation and shape.
testing::AssertionResult is_like_the_oracle(const Tank& tank, const kavro::Operation& operation,
                                            Measure measure = Measure::terms);

// A measured field as complex numbers.
Complexes waves_in(const Tank& tank, const kavro::Operation& operation);
Complexes waves_in(const Tank& tank, const char* operation);

Values measured(const Tank& tank, const char* operation);

// ---- tanks

// One source in water, no points yet; the axis has 300 samples of 1/32 us.
Tank tank_of(const Source& source);

// Points of every kind around a source: on the axis, over face, rim and hole, on them, before, in
// and beyond a focus, in the plane, close to the face, behind, and at random.
std::vector<kavro::CartesianCoordinate> points_around(const Source& source);

// A source of every shape, bowls shallow, deep and hemispherical, with and without a hole.
const std::vector<Source>& every_source();

bool is_bowl(const Source& source);
bool offers(const Source& source, const kavro::Operation& operation);

}  // namespace kavro_test
