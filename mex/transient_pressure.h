// The operation behind the module: host arguments in, the array's transient pressure out.
#pragma once

#include <memory>
#include <vector>

#include "core/coordinate_grid.h"
#include "core/medium.h"
#include "core/numerical_integration.h"
#include "core/time_samples.h"
#include "excitation/excitation_function.h"
#include "mex.h"
#include "mex/host_console.h"
#include "transducers/transducer.h"

namespace kavro {

// Everything that one call holds.
class TransientPressure {
public:
    // The pressure of all elements: nx x ny x nz x ntimes for a regular grid, npoints x ntimes for
    // a list of points. Throws InputError with the text for the host, and std::bad_alloc.
    mxArray* run(int nlhs, int nrhs, const mxArray* const prhs[]);

private:
    void read_medium(const mxArray* structure);
    mxArray* create_output() const;
    void attach_records(double* output);
    void solve();

    HostConsole console_;
    CoordinateGrid grid_;
    Medium medium_;
    NumericalIntegration quadrature_;
    TimeSamples times_;
    std::vector<std::unique_ptr<ExcitationFunction>> excitations_;  // one for each element
    std::vector<std::unique_ptr<Transducer>> elements_;
    double no_output_ = 0.0;  // what elements point to where the output has no values
};

}  // namespace kavro
