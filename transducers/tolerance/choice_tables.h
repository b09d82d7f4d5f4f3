// What the choice of rules reads and notes.
#pragma once

#include <array>

#include "core/rule_ladder.h"
#include "transducers/blocks/lane_quadrature.h"

namespace kavro {

// 1/eta and growth(eta)/eta at heights eta over the real axis, close enough to each other that the
// least of a line over them is within some per cent of the true one.
struct Growth {
    static constexpr int heights = 14;
    std::array<float, heights> inverse, relative;
};

struct ChoiceTables {
    Growth sine;      // of the midpoint rule, and of a phase that is linear along a piece
    Growth gauss;     // Gauss's rule over a rim
    Growth parabola;  // a phase that is quadratic along a piece
    const RungOffsets* midpoint;
    const RungOffsets* rim_gauss;
    const RungOffsets* line_gauss;
};

// What a rim or piece asks for, and of which a lane got less.
struct Asked {
    Lanes<float> spectrum, margin;  // abscissas; Lambda
    Lanes<float> kink, kink_order;
    Lanes<float> jump;
    Lanes<float> given;
};

const ChoiceTables& choice_tables();

// Notes the error where a lane got less than it asked for.
void note_shortfall(const Asked& asked, double tolerance, LaneQuadrature& out);

}  // namespace kavro
