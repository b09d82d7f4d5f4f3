// The module `kavro.transient_pressure`: host arguments in, the array's transient pressure out.
#include <cmath>

#include "core/console.h"
#include "core/input_error.h"
#include "door/excitation.h"
#include "door/request.h"
#include "door/transducers.h"
#include "door/values.h"
#include "transducers/array.h"

namespace kavro {
namespace {

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

// The number of abscissas: truncated, then rounded up to a multiple of four. What is below 1 stays
// so for the quadrature to refuse, as does what is not a number.
int quadrature_order(const mxArray* ndiv) {
    if (!holds_real_numbers(ndiv)) {
        throw InputError("ndiv must a real number.\n");
    }
    return abscissas(std::trunc(*first_number(ndiv)), 4);
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

class TransientPressure : public SolverCall {
public:
    TransientPressure() : SolverCall("kavro.transient_pressure") {}

    // The pressure of all elements: nx x ny x nz x ntimes for a regular grid, npoints x ntimes for
    // a list of points.
    mxArray* run(int nlhs, int nrhs, const mxArray* const prhs[]) override {
        check_argument_counts(nlhs, nrhs);
        const int n = read_element_count(prhs[0]);
        read_grid(prhs[1]);
        read_medium(prhs[2]);
        warn_of_ignored_attenuation();
        read_times(prhs[3]);
        const int ndiv = quadrature_order(prhs[4]);

        mxArray* output = new_transient_output();
        if (!quadrature_.allocate_memory(ndiv)) {
            throw InputError("Out of Memory");
        }
        quadrature_.gauss_quadrature();
        excitation_vector(excitations_, prhs[5], n);
        if (nrhs == 7) {
            warn_of_display_flag(prhs[6]);
        }
        elements_ = transducers_from(prhs[0], n);
        attach_records();
        for (const std::unique_ptr<Transducer>& element : elements_) {
            element->set_transient_pressure_pointer(real_parts(output));
        }
        solve();
        return output;
    }

private:
    void solve() {
        apply_thread_setting();
        const TransducerStatus status = fnm_tsd_sse(element_pointers(), Output::all_zero);
        console_.end_progress(status == status_success);
        check_status(status);
    }
};

}  // namespace

std::unique_ptr<HostCall> new_host_call() {
    return std::make_unique<TransientPressure>();
}

}  // namespace kavro
