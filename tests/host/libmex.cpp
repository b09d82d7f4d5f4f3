// The host double's console and errors: what the module finds in libmex.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "host_double.h"

extern "C" {

void mexErrMsgTxt(const char* text) {
    host::raise(text);
}

void mexWarnMsgTxt(const char* text) {
    const host::HostScope scope;
    host::session().outcome.warnings.emplace_back(text);
}

int mexPrintf(const char* format, ...) {
    host::fail_if_due(host::Fault::print, "Interrupted.");
    const host::HostScope scope;
    std::array<char, 1024> line{};
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    host::session().outcome.printed += line.data();
    return length;
}

// Knows the three functions that the modules call.
mxArray* mexCallMATLABWithTrap(int, mxArray* plhs[], int nrhs, mxArray* prhs[], const char* name) {
    const host::HostScope scope;
    const std::string_view function(name);
    try {
        if (function == "feval" && nrhs == 2 && prhs[0]->class_id == mxFUNCTION_CLASS) {
            prhs[0]->body(mxGetScalar(prhs[1]));
        } else if (function == "char" || function == "getReport") {
            plhs[0] = mxCreateString(prhs[0]->characters.c_str());
        } else {
            host::misuse("call of the host's function " + std::string(name));
        }
        return nullptr;
    } catch (const std::exception& error) {
        auto exception = host::array_of(mxUNKNOWN_CLASS, {1, 1});
        exception->characters = error.what();
        return host::keep(std::move(exception));
    }
}
}
