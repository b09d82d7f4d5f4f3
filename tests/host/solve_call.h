// Calls of the module `solve` in the host double.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "module_call.h"
#include "transducers/operations.h"

namespace host {

using Options = std::vector<std::pair<std::string, Value>>;

// One call of `solve`: the scene of Arguments, whose times, ndiv and excitation it gives only as
// options.
struct SolveArguments {
    std::string method;
    Arguments scene;
    Options options;

    // What the operation cannot do without: a frequency of 1 MHz, and the scene's times and
    // waveform; for the marches their parameters.
    explicit SolveArguments(const kavro::Operation& operation);
    explicit SolveArguments(const std::string& name);

    void set_option(const std::string& name, Value value);
    void remove_option(const std::string& name);
    std::vector<Value> all() const;
};

Value march_parameters(const kavro::Operation& operation);

// Elements of every shape that has the operation, two of each, with weights and delays of their
// own; for the marches with amplitudes alone.
Value elements_with(const kavro::Operation& operation);

Outcome solve(const SolveArguments& arguments, Leaving leaving = Leaving::exception,
              Fault fault = Fault::none);

// The call must end with this error, however the host leaves the module.
void expect_solve_error(const SolveArguments& arguments, const std::string& error);

}  // namespace host
