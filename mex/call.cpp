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
    for (std::size_t i = 0; i < std::min<std::size_t>(results.size(), most_outputs); ++i) {
        outputs[i] = array_of(results[i]);
    }
    return outputs;
}

}  // namespace kavro
