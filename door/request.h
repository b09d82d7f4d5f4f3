// What the calls of all modules hold and do alike.
#pragma once

#include <initializer_list>
#include <memory>
#include <vector>

#include "core/coordinate_grid.h"
#include "core/medium.h"
#include "core/numerical_integration.h"
#include "core/time_samples.h"
#include "door/call_console.h"
#include "excitation/excitation_function.h"
#include "mex.h"
#include "mex/host_call.h"
#include "transducers/transducer.h"

namespace kavro {

// The records that elements point to, and the elements.
class SolverCall : public HostCall {
public:
    bool runs_user_code() const override { return console_.runs_user_code(); }

protected:
    explicit SolverCall(const char* function) : console_(function) {}

    // Throw InputError where the argument is no structure, or what it describes is at fault.
    int read_element_count(const mxArray* structure) const;
    void read_grid(const mxArray* structure);
    void read_medium(const mxArray* structure);
    void read_times(const mxArray* structure);
    void warn_of_ignored_attenuation() const;

    // A value for each point and instant: nx x ny x nz x ntimes for a regular grid, npoints x
    // ntimes for a list of points. `new_output` says what it throws.
    mxArray* new_transient_output() const;

    // Points the elements to the records and, where there is one, each to its waveform.
    void attach_records();

    std::vector<Transducer*> element_pointers() const;

    HostConsole console_;
    CoordinateGrid grid_;
    Medium medium_;
    NumericalIntegration quadrature_;
    TimeSamples times_;
    std::vector<std::unique_ptr<ExcitationFunction>> excitations_;  // one for each element, or none
    std::vector<std::unique_ptr<Transducer>> elements_;
};

// An array of zeros of two to four dimensions, whose number is checked against 32 bits and against
// the memory. Throws InputError "Computed number of output values is too large." and
// std::bad_alloc.
mxArray* new_output(std::initializer_list<int> sizes, mxComplexity complexity = mxREAL);

// The real or imaginary parts of an output; a place to point to where it has no values.
double* real_parts(mxArray* output);
double* imaginary_parts(mxArray* output);

// n rounded up to a multiple. Throws InputError beyond 32 bits; n below 1 stays what it is.
int abscissas(double n, int multiple);

// Lets the next solver calls use n threads; 0 for as many as the environment variable KAVRO_THREADS
// says. (The host's OpenMP runtime has read its own variables when it was loaded.)
void apply_thread_setting(int n = 0);

// Throws InputError with the text for every status but success.
void check_status(TransducerStatus status);

}  // namespace kavro
