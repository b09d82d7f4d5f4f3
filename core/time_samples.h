// The time axis: the instants at which transient pressures are computed.
#pragma once

#include <cstdint>
#include <vector>

namespace kavro {

// All times in seconds. The axis is either evenly spaced (`deltat()` > 0) or an explicit list in
// any order (`deltat()` = 0). The tau axis is a second, independent one, used by the nonlinear
// marches.
class TimeSamples {
public:
    std::int32_t ntimes = 0;    // number of time samples
    std::int32_t ntaus = 0;     // number of tau samples
    std::vector<double> times;  // the time instants, ntimes long
    std::vector<double> taus;   // the tau instants, ntaus long
    double _tmin = 0.0;         // first (evenly spaced) or smallest (list) time
    double _tmax = 0.0;         // end as requested, or largest time
    double _deltat = 0.0;       // step; 0 for a list
    double _taumin = 0.0;
    double _taumax = 0.0;
    double _deltatau = 0.0;

    TimeSamples() = default;
    TimeSamples(double deltat, double tmin, double tmax);

    // Becomes the axis i * deltat + tmin with floor((tmax - tmin)/deltat + 1e-10) + 1 samples; one
    // sample where the limits agree or the step is 0. Note that the step comes first. Returns true.
    // Throws InputError for a negative step or range, for limits that are not numbers, and for
    // counts beyond 32 bits or the memory.
    bool generatetimevectorfromminmaxdeltat(double deltat, double tmin, double tmax);

    // The same for the tau axis. Its number of samples is computed from the time axis's limits and
    // step on purpose, so the time axis comes first.
    bool generatetauvectorfromminmaxdeltatau(double deltatau, double taumin, double taumax);

    // Becomes the list of the given n instants and prints one line for each. Returns true. Throws
    // InputError if n is negative.
    bool vectoroftimevalues(const double* values, int n);

    double tmin() const { return _tmin; }
    double tmax() const { return _tmax; }
    double deltat() const { return _deltat; }
    double taumin() const { return _taumin; }
    double taumax() const { return _taumax; }
    double deltatau() const { return _deltatau; }

    // Sample i, or 0.0 where there is none.
    double time_index_value(int i) const;
    double tau_index_value(int i) const;
};

}  // namespace kavro
