// A case of the fuzz: an array of one or two elements and all that they read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kavro.h"

namespace fuzz {

using Values = std::vector<double>;

class Dice;

// The same numbers make the same case.
struct Case {
    const kavro::Operation* operation;
    std::vector<std::unique_ptr<kavro::Transducer>> elements;
    kavro::CoordinateGrid grid;
    kavro::Medium medium;
    kavro::TimeSamples times;
    kavro::NumericalIntegration rule;
    std::unique_ptr<kavro::ExcitationFunction> waveform;
    std::string text;
    std::size_t values = 0;  // of the output
    bool moderate = true;
    bool is_wave = false;

    Case(std::uint64_t seed, std::uint64_t number);

    // Whether points depend on each other: in a march; where a reference radiator leaves the rule
    // of the last point to the next element; where zeros of a neighbour are multiplied by infinity.
    bool hangs_together() const;

private:
    explicit Case(Dice dice);
    void make_elements(Dice& dice);
    void make_points(Dice& dice, const Values& sizes);
    void make_times(Dice& dice);
    void make_waveform(Dice& dice);
    void make_rule(Dice& dice);
    void forget_a_record(Dice& dice);

    bool exact_ = false;
};

}  // namespace fuzz
