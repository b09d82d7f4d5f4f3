// The module `kavro.solve`: every operation of the library, by its name.
#include "door/solve.h"

#include "core/input_error.h"
#include "door/read.h"
#include "mex/host_call.h"

namespace kavro {

const char* const module_name = "kavro.solve";
const bool module_explains = true;

Outputs answer(HostCall& call, int nlhs) {
    read(call.request, call.console, call.arguments);
    const bool velocity = call.request.velocity;
    const int results = velocity ? 3 : 2;
    if (nlhs > results) {
        throw InputError(velocity ? "This function has three results with the option 'velocity'."
                                  : "This function has two results.");
    }
    call.result = new_result(call.request);
    solve(call.request, call.console, call.result);
    finish(call.console, call.result.warnings, call.result.status);
    Result* report = nlhs == results ? new_report(call.request, call.result) : nullptr;
    if (velocity && nlhs < 2) {
        mxDestroyArray(array_of(call.result.velocity));  // nobody takes it
    } else if (velocity) {
        return {array_of(call.result.values), array_of(call.result.velocity), array_of(report)};
    }
    return {array_of(call.result.values), array_of(report)};
}

}  // namespace kavro
