// A module's two exported functions.
//
// Nothing but the host's own exceptions leaves `mexFunction`: a host aborts on others.
#include <cstdio>
#include <forward_list>
#include <memory>
#include <new>
#include <stdexcept>

#include "core/input_error.h"
#include "core/interrupted.h"
#include "mex.h"
#include "mex/host_call.h"

#if defined(_WIN32)
#define KAVRO_EXPORT extern "C" __declspec(dllexport)
#else
#define KAVRO_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace kavro {
namespace {

// What a call comes to. It has no destructor: `mexErrMsgTxt` may leave without running any.
struct Outcome {
    Outputs outputs;
    char error[1024];  // the text for the host, empty for success

    void fail(const char* text, const char* more = "") {
        std::snprintf(error, sizeof error, "%s%s%s", text, *more != '\0' ? " " : "", more);
    }
};

// The running calls: more than one where a user's function, called by the first, calls the module
// again. A host may abandon a call from within one of its own functions (an allocation that fails,
// an interrupt while it prints) and not unwind; the next call then releases what was left.
std::forward_list<std::unique_ptr<HostCall>> running;  // the innermost first

void release_abandoned_calls() {
    while (!running.empty() && !running.front()->console.runs_user_code()) {
        running.pop_front();
    }
}

// Releases a call at the end of its scope, with what was abandoned within it.
struct Release {
    const HostCall* call = nullptr;

    ~Release() {
        for (bool released = call == nullptr; !released;) {
            released = running.front().get() == call;
            running.pop_front();
        }
    }
};

void run_call(Outcome& outcome, int nlhs, int nrhs, const mxArray* const prhs[]) {
    Release release;
    try {
        release_abandoned_calls();
        running.push_front(std::make_unique<HostCall>());
        HostCall& call = *running.front();
        release.call = &call;
        for (int i = 0; i < nrhs; ++i) {
            call.arguments.push_back(value_of(prhs[i]));
        }
        outcome.outputs = answer(call, nlhs);
    } catch (const InputError& error) {
        outcome.fail(error.what(), module_explains ? error.more() : "");
    } catch (const Interrupted& interrupted) {
        release.call->console.rethrow();
        outcome.fail(interrupted.what());
    } catch (const std::bad_alloc&) {
        outcome.fail("Out of memory.");
    } catch (const std::length_error&) {
        outcome.fail("Out of memory.");
    } catch (const std::logic_error& error) {
        outcome.fail(error.what());
    }
}

}  // namespace
}  // namespace kavro

KAVRO_EXPORT void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
    kavro::Outcome outcome{};
    kavro::run_call(outcome, nlhs, nrhs, prhs);
    if (outcome.error[0] != '\0') {
        mexErrMsgTxt(outcome.error);
    }
    plhs[0] = outcome.outputs[0];
    for (int i = 1; i < nlhs && i < kavro::most_outputs; ++i) {
        plhs[i] = outcome.outputs[static_cast<std::size_t>(i)];
    }
}

// The release whose interface the module was built for, and the interface's generation: large
// arrays, real and imaginary parts apart. MATLAB's loader compares them.
KAVRO_EXPORT void mexfilerequiredapiversion(unsigned int* built_by_release,
                                            unsigned int* target_api_version) {
    *built_by_release = 0x0002019A;
    *target_api_version = 0x07300000;
}
