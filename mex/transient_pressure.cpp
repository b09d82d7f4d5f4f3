// The module `kavro.transient_pressure`: host arguments in, the array's transient pressure out.
#include <algorithm>
#include <cmath>

#include "core/console.h"
#include "core/input_error.h"
#include "door/checks.h"
#include "door/coordinate_grid.h"
#include "door/excitation.h"
#include "door/medium.h"
#include "door/read.h"
#include "door/solve.h"
#include "door/time_samples.h"
#include "door/transducers.h"
#include "door/values.h"
#include "mex/host_call.h"

namespace kavro {
namespace {

void check_argument_counts(int nlhs, std::size_t nrhs) {
    if (nlhs != 1) {
        throw InputError("This function requires exactly one output parameter.\n");
    }
    if (nrhs < 6 || nrhs > 8) {
        throw InputError(
            "This function requires at least 6 and no more than 8 arguments. See the documentation "
            "for details.\n");
    }
}

// The number of abscissas: truncated, then rounded up to a multiple of four.
int quadrature_order(const Value* ndiv) {
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

// Another shape is answered with "not implemented", whatever its sizes.
void check_sizes_of_discs(const Value* array, const SolveRequest& request) {
    if (std::all_of(request.elements.begin(), request.elements.end(), [&](const auto& element) {
            return implements(*request.operation, *element.shape);
        })) {
        check_sizes(array, request.elements);
    }
}

}  // namespace

const char* const module_name = "kavro.transient_pressure";
const bool module_explains = false;  // scripts match its messages to the letter

// The pressure of all elements: nx x ny x nz x ntimes for a regular grid, npoints x ntimes for a
// list of points. The arguments are looked at in this order, and the output is made on the way.
Outputs answer(HostCall& call, int nlhs) {
    const std::vector<const Value*>& arguments = call.arguments;
    SolveRequest& request = call.request;
    check_argument_counts(nlhs, arguments.size());
    request.operation = operation_of("fnm_tsd_sse");
    const auto n = static_cast<std::size_t>(count_of_elements(arguments[0]));
    if (n == 0) {
        console::warn("The transducer array has no elements: the pressure is zero.\n");
    }
    read_grid(request.points, arguments[1]);
    request.medium = medium_from(arguments[2]);
    warn_of_ignored_attenuation(request.medium);
    read_times(request.times, arguments[3]);
    const int ndiv = quadrature_order(arguments[4]);

    call.result = new_result(request);
    request.rule.allocate_memory(ndiv);
    request.rule.gauss_quadrature();
    request.waveforms = waveforms_from(arguments[5], n, false);
    if (arguments.size() == 7) {
        warn_of_display_flag(array_of(arguments[6]));
    }
    request.elements = elements_from(arguments[0], ShapeName::up_to_nul);
    check_sizes_of_discs(arguments[0], request);
    for (std::size_t i = 0; i < n; ++i) {  // each is of the kind of its waveform
        const ExcitationFunction& own = *request.waveforms[request.waveforms.size() > 1 ? i : 0];
        request.elements[i].transducer->set_exact(own.exact());
    }
    solve(request, call.console, call.result);
    finish(call.console, call.result.warnings, call.result.status);
    return {array_of(call.result.values)};
}

}  // namespace kavro
