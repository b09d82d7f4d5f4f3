// Calls of the module in the host double, with what every call must keep to.
#pragma once

#include <string>
#include <vector>

#include "host_double.h"

namespace host {

// Number of the module's heap allocations that are alive.
long live_allocations();

// Lets one of the module's allocations fail, the n-th from now on, 0 for none. Returns what was
// left of the former n: 0 where it has failed.
long fail_allocation(long n);

// The arguments of a call that succeeds: one disc, 3 x 1 x 2 points, 41 instants, a Hanning pulse.
struct Arguments {
    Arguments();

    Value elements, grid, medium, times, ndiv, excitation;
    std::vector<Value> further;  // the seventh and what follows
    int nlhs = 1;
};

Value discs(std::size_t n);
Value sampled_excitation(std::vector<double> signal);
Value list_of_points(std::vector<double> x, std::vector<double> y, std::vector<double> z);

// Calls the module and checks what holds for every call: the host was not misused, an error leaves
// no output, and nothing that was allocated is left.
Outcome run_with(const std::vector<Value>& arguments, int nlhs = 1,
                 Leaving leaving = Leaving::exception, Fault fault = Fault::none);
Outcome run(const Arguments& arguments, Leaving leaving = Leaving::exception,
            Fault fault = Fault::none);

// The output of a call that must succeed.
std::vector<double> pressure(const Arguments& arguments);

// The call must end with this error, after printing this, however the host leaves the module.
void expect_error(const Arguments& arguments, const std::string& error,
                  const std::string& printed = "");

double largest(const std::vector<double>& values);

}  // namespace host
