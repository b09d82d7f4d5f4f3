// What a module does when its host calls it.
#pragma once

#include <memory>

#include "mex.h"

namespace kavro {

// One call: it holds everything that the call needs, and releases it when it goes.
class HostCall {
public:
    HostCall() = default;
    virtual ~HostCall() = default;
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    // The result. Throws InputError with the text for the host, Interrupted, std::bad_alloc, and
    // what the host throws.
    virtual mxArray* run(int nlhs, int nrhs, const mxArray* const prhs[]) = 0;

    // Whether a function of the user's runs within the call, which may call the module again.
    virtual bool runs_user_code() const { return false; }
};

// Each module has its own.
std::unique_ptr<HostCall> new_host_call();

}  // namespace kavro
