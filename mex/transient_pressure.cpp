#include "mex/transient_pressure.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <optional>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/threads.h"
#include "mex/coordinate_grid_from_host.h"
#include "mex/excitation_from_host.h"
#include "mex/host_values.h"
#include "mex/medium_from_host.h"
#include "mex/time_samples_from_host.h"
#include "mex/transducers_from_host.h"
#include "transducers/array.h"

namespace kavro {
namespace {

#if defined(HAVE_OCTAVE)
constexpr std::size_t output_copies = 2;  // Octave copies the output when the call returns
#else
constexpr std::size_t output_copies = 1;
#endif

void check_argument_counts(int nlhs, int nrhs) {
    if (nlhs != 1) {
        throw InputError("This function requires exactly one output parameter.\n");
    }
    if (nrhs < 6 || nrhs > 8) {
        throw InputError(
            "This function requires at least 6 and no more than 8 arguments. See the documentation "
            "for details.\n");
    }
}

void require_structure(const mxArray* value, const char* complaint) {
    if (!mxIsStruct(value)) {
        throw InputError(complaint);
    }
}

// The number of abscissas: truncated, then rounded up to a multiple of four. What is below 1 stays
// so for the quadrature to refuse, as does what is not a number.
int quadrature_order(const mxArray* ndiv) {
    if (!holds_real_numbers(ndiv)) {
        throw InputError("ndiv must a real number.\n");
    }
    constexpr int smallest = std::numeric_limits<int>::min();
    const double requested = std::trunc(*first_number(ndiv));
    if (!(requested >= smallest)) {
        return smallest;
    }
    const double rounded = requested > 0.0 ? std::ceil(requested * 0.25) * 4.0 : requested;
    if (rounded > std::numeric_limits<int>::max()) {
        throw InputError("Computed number of abscissas is too large.");
    }
    return static_cast<int>(rounded);
}

void warn_of_display_flag(const mxArray* flag) {
    const mxClassID type = mxGetClassID(flag);
    const bool readable = mxIsNumeric(flag) || type == mxLOGICAL_CLASS || type == mxCHAR_CLASS;
    if (!readable || mxIsSparse(flag) || mxGetNumberOfElements(flag) == 0) {
        return;
    }
    if (mxGetScalar(flag) != 0.0) {
        console::warn("The use of the display flag was deprecated.\n");
    }
}

// The number of threads, from an environment variable of our own: the host's OpenMP runtime has read
// its variables when it was loaded.
void apply_thread_setting() {
    const char* setting = std::getenv("KAVRO_THREADS");
    set_thread_count(setting != nullptr ? static_cast<int>(std::strtol(setting, nullptr, 10)) : 0);
}

void check_status(TransducerStatus status) {
    switch (status) {
        case status_success:
            return;
        case status_not_implemented:
            throw InputError("This function is not implemented for this transducer shape.");
        case status_out_of_memory:
            throw InputError("Out of memory.");
        case status_interrupted:
            throw InputError("The call was interrupted.");
        default:
            throw InputError(
                "An unspecified error occurred. See this function's documentation for details.");
    }
}

}  // namespace

mxArray* TransientPressure::run(int nlhs, int nrhs, const mxArray* const prhs[]) {
    check_argument_counts(nlhs, nrhs);
    require_structure(prhs[0], "Transducer array must be a MATLAB structure.\n");
    const int n = count_of(mxGetNumberOfElements(prhs[0]), "transducer elements");
    require_structure(prhs[1], "Coordinate grid must be a MATLAB structure.\n");
    allocate_memory_and_set_values(grid_, prhs[1]);
    require_structure(prhs[2], "Medium must be a MATLAB structure.\n");
    read_medium(prhs[2]);
    require_structure(prhs[3], "Time samples must be a MATLAB structure.\n");
    allocate_memory_and_set_values(times_, prhs[3]);
    const int ndiv = quadrature_order(prhs[4]);

    mxArray* output = create_output();
    if (!quadrature_.allocate_memory(ndiv)) {
        throw InputError("Out of Memory");
    }
    quadrature_.gauss_quadrature();
    excitation_vector(excitations_, prhs[5], n);
    if (nrhs == 7) {
        warn_of_display_flag(prhs[6]);
    }
    elements_ = transducers_from(prhs[0], n);
    attach_records(mxGetPr(output));
    solve();
    return output;
}

void TransientPressure::read_medium(const mxArray* structure) {
    medium_ = medium_from(structure);
    if (medium_._dBcmMHz != 0.0) {
        console::warn("Non-zero attenuation will be ignored. See the documentation for details.\n");
    }
}

mxArray* TransientPressure::create_output() const {
    // Checked here because a host that runs out of memory may not live to tell.
    constexpr const char* what = "output values";
    const int count = checked_product(grid_.npoints, times_.ntimes, what);
    require_memory(static_cast<std::size_t>(count), output_copies * sizeof(double), what);
    mxArray* output = nullptr;
    if (grid_.regular) {
        const mwSize dims[] = {static_cast<mwSize>(grid_.nx), static_cast<mwSize>(grid_.ny),
                               static_cast<mwSize>(grid_.nz), static_cast<mwSize>(times_.ntimes)};
        output = mxCreateNumericArray(4, dims, mxDOUBLE_CLASS, mxREAL);
    } else {
        output = mxCreateNumericMatrix(static_cast<mwSize>(grid_.npoints),
                                       static_cast<mwSize>(times_.ntimes), mxDOUBLE_CLASS, mxREAL);
    }
    if (output == nullptr) {
        throw std::bad_alloc();
    }
    return output;
}

void TransientPressure::attach_records(double* output) {
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        Transducer& element = *elements_[i];
        element.set_transient_pressure_pointer(output != nullptr ? output : &no_output_);
        element.set_global_coordinate_grid(&grid_);
        element.set_time_vector(&times_);
        element.set_medium(&medium_);
        element.set_integral_pointer(&quadrature_);
        element.excitation = excitations_[i].get();
    }
}

void TransientPressure::solve() {
    std::vector<Transducer*> elements;
    for (const std::unique_ptr<Transducer>& element : elements_) {
        elements.push_back(element.get());
    }
    apply_thread_setting();
    const TransducerStatus status = fnm_tsd_sse(elements, Output::all_zero);
    console_.end_progress(status == status_success);
    check_status(status);
}

}  // namespace kavro
