// Calls of the modules in the host double, with what every call must keep to.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host_double.h"
#include "transducers/operations.h"

namespace host {

// Number of the module's heap allocations that are alive.
long live_allocations();

// Lets one of the module's allocations fail, the n-th from now on, 0 for none. Returns what was
// left of the former n: 0 where it has failed.
long fail_allocation(long n);

Value discs(std::size_t n);
const Value& sampled_excitation();

// Elements of every shape that has the operation, two of each, with weights and delays of their
// own (for the marches with amplitudes alone), and one of a further shape.
Value elements_with(const kavro::Operation& operation, const kavro::Shape* further = nullptr);

// What a module is called with. Changes leave the values of copies alone.
class Call {
public:
    // A call of `transient_pressure` that succeeds: one disc, 3 x 1 x 2 points, 41 instants, a
    // Hanning pulse.
    Call();

    // A call of `solve` in the same scene, with the options that the operation cannot do without.
    explicit Call(const kavro::Operation& operation);
    explicit Call(const std::string& method);

    // A call of a command that is given the arguments of these names, which are to be set in this
    // order, and then options.
    static Call command(const std::string& name, const std::vector<std::string>& arguments);

    // Changes an argument or option ("grid") or a field of its last entry ("grid.xmin"). What is
    // new is appended; null takes away.
    Call& set(const std::string& place, const Value& value);

    // The same for several: "grid.xmin = 1, ndiv = 4".
    Call& set(const std::string& changes);
    Call with(const std::string& changes) const { return Call(*this).set(changes); }
    Call with(const std::string& place, const Value& value) const;

    Value operator[](const std::string& place) const;
    std::vector<std::string> places() const;
    std::string method() const;  // empty of `transient_pressure`
    std::vector<Value> all() const;

private:
    Value arguments_ = structure(1, 1);                   // by their names, in order
    std::size_t unnamed_ = static_cast<std::size_t>(-1);  // arguments before the options
};

// Calls the module and checks what holds for every call: the host was not misused, an error leaves
// no output, and nothing that was allocated is left.
Outcome run(const std::vector<Value>& arguments, int nlhs = 1, Leaving leaving = Leaving::exception,
            Fault fault = Fault::none);
Outcome run(const Call& call, Leaving leaving = Leaving::exception, Fault fault = Fault::none);

// The output of a call that must succeed.
std::vector<double> pressure(const Call& call);

// The call must end with this error, after printing this, however the host leaves the module. An
// error that ends in '*' is the beginning of one.
void expect_error(const std::vector<Value>& arguments, const std::string& error,
                  const std::string& printed = "", int nlhs = 1);
void expect_error(const Call& call, const std::string& error, const std::string& printed = "");

// Calls that must end with an error, a row each: places | values | error | what is printed. Each
// place, changed to each value, must lead to the error.
//
// Values are written as `value` takes them; `no_structure`, `no_number` and `no_real` stand for
// several. In the texts, '@' is the name of the argument or field, '#' the value and '$' the
// method; '^' is the error of the row above.
void expect_errors(const Call& call, const std::string& table);

// Whichever of its allocations fails, the call runs out of memory or has the result that it has.
void expect_no_harm_of_failing_allocations(const Call& call);

// Calls like these with senseless values in their arguments and fields end in a result or in an
// error that says something; there are more than so many of either.
void expect_results_or_errors(const std::vector<Call>& calls, std::size_t results,
                              std::size_t errors);

double largest(const std::vector<double>& values);

}  // namespace host
