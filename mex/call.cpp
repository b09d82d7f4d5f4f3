// The module `kavro.internal.call`: every command, by its name.
#include <algorithm>
#include <cstddef>

#include "core/input_error.h"
#include "mex/host_call.h"

namespace kavro {

const char* const module_name = "kavro";
const bool module_explains = true;

Outputs answer(HostCall& call, int nlhs) {
    call.command.read(call.console, call.arguments);
    call.command.run(call.console);
    const std::vector<Result*> results = call.command.finish(call.console);
    if (nlhs > static_cast<int>(std::min<std::size_t>(results.size(), most_outputs))) {
        throw InputError("This function has " + std::to_string(results.size()) + " result(s).");
    }
    Outputs outputs{};
    const auto wanted = static_cast<std::size_t>(std::max(nlhs, 1));  // one the host calls ans
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (i < wanted) {
            outputs[i] = array_of(results[i]);
        } else {
            mxDestroyArray(array_of(results[i]));
        }
    }
    return outputs;
}

}  // namespace kavro
