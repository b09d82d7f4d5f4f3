// The module `kavro.solve`: every operation of the library, by its name.
#include "door/solve.h"

#include "core/input_error.h"
#include "door/read.h"
#include "mex/host_call.h"

namespace kavro {

const char* const module_name = "kavro.solve";
const bool module_explains = true;

Outputs answer(HostCall& call, int nlhs) {
    if (nlhs > 2) {
        throw InputError("This function has two results.");
    }
    read(call.request, call.console, call.arguments);
    call.result = new_result(call.request);
    solve(call.request, call.console, call.result);
    finish(call.console, call.result.warnings, call.result.status);
    Result* report = nlhs == 2 ? new_report(call.request, call.result) : nullptr;
    return {array_of(call.result.values), array_of(report)};
}

}  // namespace kavro
