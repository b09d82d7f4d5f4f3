// What a module does when its host calls it.
#pragma once

#include <array>
#include <vector>

#include "door/call_console.h"
#include "door/command.h"
#include "door/request.h"
#include "mex.h"

namespace kavro {

// Each module has its own name, with which its progress line begins, ...
extern const char* const module_name;

// One call: it holds everything that the call needs, and releases it when it goes.
struct HostCall {
    std::vector<const Value*> arguments;
    CallConsole console{module_name};
    SolveRequest request;
    SolveResult result;
    CommandCall command;
};

constexpr int most_outputs = 4;
using Outputs = std::array<mxArray*, most_outputs>;  // from the first on, as many as are asked for

// ... says what is known of a fault beside its message, or keeps to the message, ...
extern const bool module_explains;

// ... and has its own answer. Throws InputError with the text for the host, Interrupted,
// std::bad_alloc, and what the host throws.
Outputs answer(HostCall& call, int nlhs);

// ---- The door's values and results are the host's arrays.
inline const Value* value_of(const mxArray* array) {
    return reinterpret_cast<const Value*>(array);
}
inline const mxArray* array_of(const Value* value) {
    return reinterpret_cast<const mxArray*>(value);
}
inline mxArray* array_of(Result* result) {
    return reinterpret_cast<mxArray*>(result);
}

}  // namespace kavro
