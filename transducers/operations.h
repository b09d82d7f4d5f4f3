// The solution methods by name: what each computes and what it needs.
#pragma once

#include <span>
#include <string_view>

#include "array.h"
#include "method.h"
#include "output.h"
#include "shapes.h"
#include "transducer.h"

namespace kavro {

// What an operation computes, and so the form of its result. Elements add to the first three and
// store the last two.
enum class OperationKind {
    continuous_wave,   // complex pressure at each point, Pa
    transient,         // pressure at each point and instant, Pa
    impulse_response,  // spatial impulse response at each point and instant, m/s
    arrival_times,     // when the impulse response begins and ends, s; one pair for each element
    kzk_transient,     // nonlinear pressure on an nx x nz plane at each instant, Pa
    kzk_cw,            // complex pressure of each harmonic on an nx x nz plane, Pa
};

// What an operation reads beside the element, the points and the medium; joined by |.
enum OperationInput : unsigned {
    input_time = 1u << 0,         // the time axis
    input_excitation = 1u << 1,   // the waveform
    input_frequency = 1u << 2,    // Medium::_f0
    input_quadrature = 1u << 3,   // the order of the quadrature rule
    input_apodization = 1u << 4,  // the element's piston_apodization_index
    input_kzk = 1u << 5,          // the march's parameters in the quadrature rule
};

// Which waveforms an operation can solve.
enum class WaveformDemand { none, sampled, centre_frequency };

struct Operation {
    const char* name;
    Method method;
    TransducerStatus (Transducer::*solve)();
    OperationKind kind;
    unsigned inputs;    // OperationInput
    int default_ndiv;   // abscissas that suffice for elements of a few wavelengths
    int ndiv_multiple;  // the number of abscissas must be a multiple of this
    WaveformDemand waveform_demand;
    const char* summary;

    bool uses(OperationInput input) const { return (inputs & input) != 0; }

    // The same over an array, see array.h.
    TransducerStatus solve_array(std::span<Transducer* const> elements, Output output,
                                 QuadratureReport* report = nullptr) const {
        return kavro::solve(method, elements, output, report);
    }
};

// All operations of Transducer, in its order.
std::span<const Operation> operations();

// The operation of this name; null where there is none.
const Operation* operation_of(std::string_view name);

// Whether the shape offers the operation.
bool implements(const Operation& operation, const Shape& shape);

}  // namespace kavro
