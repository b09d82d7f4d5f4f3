// One call of a solution method: what is asked for, and what comes of it.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/coordinate_grid.h"
#include "core/medium.h"
#include "core/numerical_integration.h"
#include "core/time_samples.h"
#include "door/host.h"
#include "excitation/excitation_function.h"
#include "transducers/measures.h"
#include "transducers/operations.h"
#include "transducers/velocity.h"

namespace kavro {

struct RequestedElement {
    const Shape* shape;
    std::unique_ptr<Transducer> transducer;
};

// By what a march's parameters are chosen.
struct MarchChoice {
    double accuracy;
    int harmonics;
};

// The method and all that it reads, free of the host's values. It stays where it is, because its
// elements point to its records.
struct SolveRequest {
    const Operation* operation = nullptr;
    std::vector<RequestedElement> elements;
    CoordinateGrid points;
    Medium medium;
    TimeSamples times;
    std::vector<std::unique_ptr<ExcitationFunction>> waveforms;  // none, one for all, or one each
    NumericalIntegration rule;                // standard; with the parameters of a march
    std::optional<MarchChoice> march_choice;  // where its parameters were not given
    std::vector<double> frequencies;          // of a continuous wave, where there is a list (Hz)
    bool delays_count = false;                // in a continuous wave at these frequencies
    double tolerance = 0.0;                   // that stands for the rule; 0: the rule counts
    int threads = 0;                          // 0: as many as the environment says
    std::vector<Measure> measures;            // instead of the field over time; none: the field
    bool measures_in_record = false;          // each by its name; or one, by itself
    bool per_element = false;                 // a field for each element; or one of all
    bool velocity = false;                    // the particle velocity, too
    bool explains_silence = false;            // by a warning, where the time axis misses all waves

    NumericalIntegration working_rule;  // the copy that solvers refill

    SolveRequest() = default;
    SolveRequest(const SolveRequest&) = delete;
    SolveRequest& operator=(const SolveRequest&) = delete;

    // Points the elements to the records, and the working rule becomes the rule.
    void attach();

    std::vector<Transducer*> transducers() const;

    // Throw InputError "fnm_cw needs <what>." and "fnm_cw, element 3: <complaint>".
    [[noreturn]] void lack(const std::string& what) const;
    [[noreturn]] void refuse(std::size_t element, const std::string& complaint) const;
};

struct SolveResult {
    OperationKind kind = OperationKind::transient;
    std::array<int, 5> sizes{};
    std::size_t dimensions = 0;
    Result* values = nullptr;     // the host's: an array, or a record of measures
    double* real = nullptr;       // its values; a place to point to where it has none
    double* imaginary = nullptr;  // likewise
    Result* velocity = nullptr;   // likewise: an array, where the velocity is wanted
    VelocityOutput velocity_values{};
    std::array<double*, measure_count> measured{};  // the values of the request's measures
    QuadratureReport quadrature;                    // of a call with a tolerance
    std::vector<std::string> warnings;
    TransducerStatus status = status_failure;

    std::span<const int> extents() const { return {sizes.data(), dimensions}; }
};

}  // namespace kavro
