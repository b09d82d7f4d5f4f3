// The host double's console and errors: what the module finds in libmex.
#include <array>
#include <cstdarg>
#include <cstdio>

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
}
