// How the host prints, warns, is interrupted and calls a user's function, and its words.
#include <csignal>
#include <string>

#include "core/input_error.h"
#include "door/host.h"
#include "mex/host_call.h"

// What the hosts know of a pending Ctrl-C: the first three are Octave's, the last is MATLAB's. What
// the running host has not stays null.
#if defined(__GNUC__) && !defined(_WIN32)
extern "C" {
extern volatile std::sig_atomic_t octave_signal_caught __attribute__((weak));    // any signal
extern volatile std::sig_atomic_t octave_interrupt_state __attribute__((weak));  // Ctrl-C: above 0
void octave_handle_signal() __attribute__((weak));
bool utIsInterruptPending() __attribute__((weak));
}
#endif

namespace kavro {
namespace {

#if defined(__GNUC__) && !defined(_WIN32)
// A child process that ends is a signal, too: Octave sorts them, as its own loops let it. It throws
// where one asks the program to end. Ctrl-C is left pending, for Octave to answer after the call.
bool octave_interrupted() {
    if (&octave_interrupt_state == nullptr || &octave_handle_signal == nullptr) {
        return octave_signal_caught != 0;
    }
    if (octave_interrupt_state <= 0 && octave_signal_caught != 0) {
        octave_signal_caught = 0;
        octave_handle_signal();
    }
    return octave_interrupt_state > 0;
}
#endif

}  // namespace

const Words host_words{
    .first = 1,
    .record = "MATLAB structure",
    .made_record = "Matlab structure",
    .options = "structure",
    .list = "cell array",
    .function = "function handle",
    .grid_page = "set_coordinate_grid.m",
    .times_page = "set_time_samples.m",
    .times_maker = "kavro.set_time_samples",
    .waveform_page = "set_excitation_function",
    .waveform_maker = "kavro.set_excitation_function",
    .smaller_output =
        "Take fewer points or instants, ask for a 'measure' instead of a field over time, or "
        "compute "
        "in parts: see kavro.split_grid.",
};

void host_print(const char* text) {
    mexPrintf("%s", text);
}

void host_warn(const char* text) {
    mexWarnMsgTxt(text);
}

bool host_interrupted() {
#if defined(__GNUC__) && !defined(_WIN32)
    if (&octave_signal_caught != nullptr) {
        return octave_interrupted();
    }
    return utIsInterruptPending != nullptr && utIsInterruptPending();
#else
    return false;
#endif
}

void host_call(const Value* function, double fraction) {
    auto* handle = const_cast<mxArray*>(array_of(function));  // as the host's call takes it
    mxArray* arguments[] = {handle, mxCreateDoubleScalar(fraction)};
#if defined(HAVE_OCTAVE)
    mexCallMATLAB(0, nullptr, 2, arguments, "feval");  // its errors are exceptions
#else
    // Errors are trapped, because they may leave without unwinding.
    if (mxArray* exception = mexCallMATLABWithTrap(0, nullptr, 2, arguments, "feval")) {
        mxArray* report = nullptr;
        mexCallMATLABWithTrap(1, &report, 1, &exception, "getReport");
        throw InputError("The progress function failed: " + text_of(value_of(report)).value_or(""));
    }
#endif
    mxDestroyArray(arguments[1]);
}

}  // namespace kavro
