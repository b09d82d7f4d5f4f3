#include "core/time_samples.h"

#include <cstddef>
#include <limits>
#include <optional>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"

namespace kavro {
namespace {

constexpr const char* samples_name = "time samples";

// What a count of NaN shows as: the integer that a NaN converts to, plus the first sample.
constexpr int not_a_number_as_count = std::numeric_limits<int>::min() + 1;

// The messages show numbers through an integer conversion.
int shown_as_integer(double value) {
    constexpr double limit = std::numeric_limits<int>::max();
    return value >= -limit && value <= limit ? static_cast<int>(value)
                                             : std::numeric_limits<int>::min();
}

void require_not_negative(double step, double range) {
    if (step < 0.0) {
        console::print("Input value of deltat is %d\n", shown_as_integer(step));
        throw InputError("deltat must be greater or equal to 0.\n");
    }
    if (range < 0.0) {
        console::print("Input value of tmax - tmin is %d\n", shown_as_integer(range));
        throw InputError("tmax - tmin must be greater than or equal to 0.\n");
    }
}

[[noreturn]] void too_few_samples(int shown) {
    console::print("Illegal number of time samples %d\n", shown);
    throw InputError(
        "Computed number of time samples is less than 1.\n  Check values of tmin, tmax, and "
        "deltat.\n");
}

std::vector<double> evenly_spaced(std::int32_t count, double min, double step) {
    require_memory(static_cast<std::size_t>(count), sizeof(double), samples_name);
    std::vector<double> values(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = i * step + min;
    }
    return values;
}

double value_or_zero(const std::vector<double>& values, int i) {
    return i >= 0 && static_cast<std::size_t>(i) < values.size()
               ? values[static_cast<std::size_t>(i)]
               : 0.0;
}

}  // namespace

TimeSamples::TimeSamples(double deltat, double tmin, double tmax) {
    generatetimevectorfromminmaxdeltat(deltat, tmin, tmax);
}

bool TimeSamples::generatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax) {
    _deltat = deltat;
    _tmin = tmin;
    _tmax = tmax;
    require_not_negative(deltat, tmax - tmin);
    const auto count = count_of_steps(tmin, tmax, deltat, samples_name);
    if (!count) {
        too_few_samples(not_a_number_as_count);
    }
    times = evenly_spaced(*count, tmin, deltat);
    ntimes = *count;
    return true;
}

bool TimeSamples::generatetauvectorfromminmaxdeltatau(double deltatau, double taumin,
                                                      double taumax) {
    _deltatau = deltatau;
    _taumin = taumin;
    _taumax = taumax;
    require_not_negative(deltatau, taumax - taumin);
    // Counted with the limits and the step of the time axis, and checked by the count of time
    // samples, on purpose.
    const bool single = taumin == taumax || deltatau == 0.0;
    const auto count = single ? 1 : count_of_steps(_tmin, _tmax, _deltat, samples_name);
    if (ntimes < 1 || !count) {
        too_few_samples(count.value_or(not_a_number_as_count));
    }
    taus = evenly_spaced(*count, taumin, deltatau);
    ntaus = *count;
    return true;
}

bool TimeSamples::vectoroftimevalues(const double* values, int n) {
    if (n < 0) {
        throw InputError("Number of time samples must be greater than or equal to 0.\n");
    }
    times.assign(values, values + n);
    ntimes = n;
    _deltat = 0.0;
    _tmin = _tmax = n > 0 ? values[0] : 0.0;
    for (int i = 0; i < n; ++i) {
        _tmin = values[i] < _tmin ? values[i] : _tmin;
        _tmax = values[i] > _tmax ? values[i] : _tmax;
        console::print("%i: %e, %e, %e => %e\n", i, _tmin, _tmax, values[i],
                       times[static_cast<std::size_t>(i)]);
    }
    return true;
}

double TimeSamples::time_index_value(int i) const {
    return value_or_zero(times, i);
}

double TimeSamples::tau_index_value(int i) const {
    return value_or_zero(taus, i);
}

}  // namespace kavro
