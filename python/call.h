// One call from Python.
#pragma once

#include <deque>
#include <utility>
#include <vector>

#include "door/call_console.h"
#include "door/command.h"
#include "door/request.h"
#include "python/values.h"

namespace kavro {

// Holds everything that the call needs. Calls nest where a progress function calls the solver.
struct Call {
    explicit Call(py::object out) : out(std::move(out)) { innermost_ = this; }
    ~Call() { innermost_ = outer_; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    static Call& innermost() { return *innermost_; }

    py::object out;  // the array that the user gave for the answer, or None
    std::vector<Value> given;
    std::deque<Result> results;  // all that the call has made, the answer first
    CallConsole console{"kavro.solve"};
    SolveRequest request;
    SolveResult result;
    CommandCall command;

private:
    static inline Call* innermost_ = nullptr;
    Call* outer_ = innermost_;
};

}  // namespace kavro
