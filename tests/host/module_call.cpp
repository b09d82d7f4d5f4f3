#include "module_call.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live = 0;
std::atomic<long> until_failure = 0;

void* allocate(std::size_t size, std::size_t alignment) {
    if (host::in_module()) {
        if (until_failure > 0 && until_failure.fetch_sub(1) == 1) {
            throw std::bad_alloc();
        }
        ++live;
    }
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) / alignment;
    void* memory = std::aligned_alloc(alignment, rounded * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void release(void* memory) {
    if (memory != nullptr && host::in_module()) {
        --live;
    }
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}

namespace host {

long live_allocations() {
    return live;
}

long fail_allocation(long n) {
    return until_failure.exchange(n);
}

Arguments::Arguments()
    : elements(discs(1)),
      grid(structure(1, 1)),
      medium(structure(1, 1)),
      times(structure(1, 1)),
      ndiv(scalar(8)),
      excitation(structure(1, 1)) {
    set(grid, "xmin", scalar(-1e-3));
    set(grid, "xmax", scalar(1e-3));
    set(grid, "ymin", scalar(0));
    set(grid, "ymax", scalar(0));
    set(grid, "zmin", scalar(1e-3));
    set(grid, "zmax", scalar(2e-3));
    set(grid, "delta", row({1e-3, 1e-3, 1e-3}));
    for (const char* field :
         {"attenuationdBcmMHz", "powerlawexponent", "specificheat", "specificheatofblood",
          "thermalconductivity", "bloodperfusion", "nonlinearityparameter"}) {
        set(medium, field, scalar(0));
    }
    set(medium, "soundspeed", scalar(1500));
    set(medium, "density", scalar(1000));
    set(times, "tmin", scalar(0));
    set(times, "tmax", scalar(4e-6));
    set(times, "deltat", scalar(1e-7));
    set(excitation, "type", scalar(2));
    set(excitation, "f0", scalar(1e6));
    set(excitation, "pulse_width", scalar(2e-6));
    set(excitation, "B", scalar(0));
}

Value discs(std::size_t n) {
    Value array = structure(1, n);
    for (std::size_t i = 0; i < n; ++i) {
        set(array, "shape", text("circ"), i);
        set(array, "radius", scalar(2e-3), i);
        set(array, "center", row({1e-3 * static_cast<double>(i), 0, 0}), i);
        set(array, "euler", row({0, 0, 0}), i);
    }
    return array;
}

Value sampled_excitation(std::vector<double> signal) {
    Value excitation = structure(1, 1);
    set(excitation, "signal", row(std::move(signal)));
    set(excitation, "ts", scalar(1e-7));
    set(excitation, "w", scalar(2e-6));
    set(excitation, "clip_threshold", scalar(0));
    return excitation;
}

Value list_of_points(std::vector<double> x, std::vector<double> y, std::vector<double> z) {
    const std::size_t n = x.size();
    x.insert(x.end(), y.begin(), y.end());
    x.insert(x.end(), z.begin(), z.end());
    Value grid = structure(1, 1);
    set(grid, "coordinates", numbers(x, n, 3));
    return grid;
}

Outcome run_with(const std::vector<Value>& arguments, int nlhs, Leaving leaving, Fault fault) {
    const long before = live_allocations();
    Outcome outcome = call(mexFunction, nlhs, arguments, leaving, fault);
    EXPECT_EQ(live_allocations(), before) << "left on the heap";
    EXPECT_EQ(outcome.misuses, std::vector<std::string>());
    EXPECT_NE(outcome.error.has_value(), outcome.output != nullptr);
    return outcome;
}

Outcome run(const Arguments& arguments, Leaving leaving, Fault fault) {
    std::vector<Value> all{arguments.elements, arguments.grid, arguments.medium,
                           arguments.times,    arguments.ndiv, arguments.excitation};
    all.insert(all.end(), arguments.further.begin(), arguments.further.end());
    return run_with(all, arguments.nlhs, leaving, fault);
}

std::vector<double> pressure(const Arguments& arguments) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.error, std::nullopt);
    return outcome.output ? values(outcome.output) : std::vector<double>();
}

void expect_error(const Arguments& arguments, const std::string& error,
                  const std::string& printed) {
    for (const Leaving leaving : {Leaving::exception, Leaving::jump}) {
        const Outcome outcome = run(arguments, leaving);
        EXPECT_EQ(outcome.error, error);
        EXPECT_EQ(outcome.printed, printed);
    }
}

double largest(const std::vector<double>& values) {
    double magnitude = 0.0;
    for (const double value : values) {
        magnitude = std::max(magnitude, std::abs(value));
    }
    return magnitude;
}

}  // namespace host
