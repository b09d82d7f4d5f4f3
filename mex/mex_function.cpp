// The module's two exported functions.
//
// Nothing but the host's own exceptions leaves `mexFunction`: a host aborts on others.
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>

#include "core/input_error.h"
#include "mex.h"
#include "mex/transient_pressure.h"

#if defined(_WIN32)
#define KAVRO_EXPORT extern "C" __declspec(dllexport)
#else
#define KAVRO_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace kavro {
namespace {

// What a call comes to. It has no destructor: `mexErrMsgTxt` may leave without running any.
struct Outcome {
    mxArray* output;
    char error[1024];  // the text for the host, empty for success

    void fail(const char* text) { std::snprintf(error, sizeof error, "%s", text); }
};

// The running call. A host may abandon it from within one of its own functions (an allocation that
// fails, an interrupt while it prints) and not unwind; the next call then releases what was left.
std::unique_ptr<TransientPressure> running;

void transient_pressure(Outcome& outcome, int nlhs, int nrhs, const mxArray* const prhs[]) {
    struct Release {
        ~Release() { running.reset(); }
    } release;
    try {
        running.reset();
        running = std::make_unique<TransientPressure>();
        outcome.output = running->run(nlhs, nrhs, prhs);
    } catch (const InputError& error) {
        outcome.fail(error.what());
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
    kavro::transient_pressure(outcome, nlhs, nrhs, prhs);
    if (outcome.error[0] != '\0') {
        mexErrMsgTxt(outcome.error);
    }
    plhs[0] = outcome.output;
}

// The release whose interface the module was built for, and the interface's generation: large
// arrays, real and imaginary parts apart. MATLAB's loader compares them.
KAVRO_EXPORT void mexfilerequiredapiversion(unsigned int* built_by_release,
                                            unsigned int* target_api_version) {
    *built_by_release = 0x0002019A;
    *target_api_version = 0x07300000;
}
