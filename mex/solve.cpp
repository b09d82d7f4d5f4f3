// The module `kavro.solve`: every operation of the library, by its name.
#include "door/solve.h"

#include <new>
#include <span>
#include <string>

#include "core/input_error.h"
#include "door/march.h"
#include "door/methods.h"
#include "door/read.h"
#include "mex/host_call.h"

namespace kavro {
namespace {

mxArray* text_array(const std::string& text) {
    mxArray* array = mxCreateString(text.c_str());
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    return array;
}

}  // namespace

const char* const module_name = "kavro.solve";
const bool module_explains = true;

mxArray* answer(HostCall& call, int nlhs) {
    if (nlhs > 2) {
        throw InputError("This function has two results.");
    }
    // For kavro.methods, which asks the library through this module.
    if (call.arguments.size() == 1 && text_of(call.arguments[0]) == "methods") {
        return text_array(table_of_methods());
    }
    // For kavro.kzk_parameters: the march of the arguments that follow.
    if (!call.arguments.empty() && text_of(call.arguments[0]) == "kzk_parameters") {
        read(call.request, call.console, std::span(call.arguments).subspan(1));
        return text_array(table_of_march(call.request));
    }
    read(call.request, call.console, call.arguments);
    call.result = new_result(call.request);
    solve(call.request, call.console, call.result);
    finish(call.console, call.result);
    if (nlhs == 2) {
        call.second = array_of(new_report(call.request, call.result));
    }
    return array_of(call.result.values);
}

}  // namespace kavro
