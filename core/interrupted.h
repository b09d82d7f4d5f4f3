// How a long computation ends early when the user wants it to stop.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>

namespace kavro {

// Thrown from within a computation that the console port asked to stop. Solvers turn it into
// status_interrupted; what a C++ program calls itself, as a Gauss rule of very many abscissas, lets
// it through.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "The call was interrupted."; }
};

// Steps, of a few nanoseconds each, between two looks at whether the user wants to stop.
inline constexpr std::int64_t steps_between_looks = 1'000'000;

// What a part of a long work calls with the steps it is about to make. Throws Interrupted where the
// work is given up.
using Spend = std::function<void(std::int64_t steps)>;

// Counts the steps of what the calling thread computes by itself, and throws Interrupted where the
// console port asks to stop.
class InterruptCheck {
public:
    void spend(std::int64_t steps) {
        steps_ += steps;
        if (steps_ >= steps_between_looks) {
            look();
        }
    }

private:
    void look();

    std::int64_t steps_ = 0;
};

}  // namespace kavro
