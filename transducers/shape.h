// What a shape tells the solvers of itself, beside what transducer.h names.
#pragma once

#include "core/quadrature_rule.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/blocks/share.h"
#include "transducers/method.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/power/far_pattern.h"
#include "transducers/surface/surface_rows.h"
#include "transducers/tolerance/demand.h"
#include "transducers/transducer.h"

namespace kavro {

// What an edge generator or surface samples are wanted for.
struct Wanted {
    Method method;
    int order;  // abscissas of the element's rule
    // The rule on the interval that the shape asks for; empty where it asks for none.
    const QuadratureRule& rule;
    // What a tolerance asks for, instead of a rule; null for none.
    const QuadratureDemand* demand = nullptr;

    // Continuous wave counts in lengths.
    EdgeUnits units() const;
};

// A method that only this shape knows, as a rectangle's far field.
struct OwnMethod {
    Method method;
    WaveParameters wave;
};

}  // namespace kavro
