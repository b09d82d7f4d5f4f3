#include "door/call_console.h"

#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/input_error.h"
#include "door/values.h"
#include "mex.h"

// What the hosts know of a pending Ctrl-C. Each has one of the two; the other stays null.
#if defined(__GNUC__) && !defined(_WIN32)
extern "C" {
extern volatile std::sig_atomic_t octave_signal_caught __attribute__((weak));
bool utIsInterruptPending() __attribute__((weak));
}
#endif

namespace kavro {
namespace {

void print(const char* text) {
    mexPrintf("%s", text);
}

void warn(const char* text) {
    mexWarnMsgTxt(text);
}

bool interrupt_pending() {
#if defined(__GNUC__) && !defined(_WIN32)
    if (&octave_signal_caught != nullptr) {
        return octave_signal_caught != 0;
    }
    return utIsInterruptPending != nullptr && utIsInterruptPending();
#else
    return false;
#endif
}

bool progress_wanted() {
    const char* setting = std::getenv("KAVRO_PROGRESS");
    return setting != nullptr && setting != std::string_view() && setting != std::string_view("0");
}

// Calls the function with the fraction. Throws what went wrong in it.
void call_with_fraction(mxArray* handle, double fraction) {
    mxArray* arguments[] = {handle, mxCreateDoubleScalar(fraction)};
#if defined(HAVE_OCTAVE)
    mexCallMATLAB(0, nullptr, 2, arguments, "feval");  // its errors are exceptions
#else
    // Errors are trapped, because they may leave without unwinding.
    if (mxArray* exception = mexCallMATLABWithTrap(0, nullptr, 2, arguments, "feval")) {
        mxArray* report = nullptr;
        mexCallMATLABWithTrap(1, &report, 1, &exception, "getReport");
        throw InputError("The progress function failed: " + text_of(report).value_or(""));
    }
#endif
    mxDestroyArray(arguments[1]);
}

}  // namespace

HostConsole::HostConsole(const char* function)
    : function_(function),
      print_(print),
      line_wanted_(progress_wanted()),
      connection_({[this](const char* text) { print_(text); }, warn,
                   [this](double fraction) { show_progress(fraction); },
                   [this] { return interrupted(); }}) {}

void HostConsole::show_progress_line(bool on) {
    line_wanted_ = on;
}

void HostConsole::hand_progress_to(const mxArray* function_handle) {
    handle_ = const_cast<mxArray*>(function_handle);  // as the host's call takes it
    line_wanted_ = false;
}

bool HostConsole::interrupted() const {
    return host_error_ || interrupt_pending();
}

void HostConsole::show_progress(double fraction) {
    // Solvers report from within parallel regions, which no exception may leave.
    try {
        show_percent(fraction);
    } catch (...) {
        host_error_ = std::current_exception();
    }
}

void HostConsole::show_percent(double fraction) {
    const int percent = static_cast<int>(fraction * 100.0);
    if (percent <= shown_percent_ || host_error_) {
        return;
    }
    if (handle_ != nullptr) {
        shown_percent_ = percent;
        call_handle(fraction);
    } else if (line_wanted_) {
        shown_percent_ = percent;
        mexPrintf("\r%s: %d %% done", function_, percent);
    }
}

void HostConsole::call_handle(double fraction) {
    struct Running {
        explicit Running(bool& flag) : flag_(flag) { flag_ = true; }
        ~Running() { flag_ = false; }
        bool& flag_;
    } running(runs_user_code_);
    call_with_fraction(handle_, fraction);
}

void HostConsole::end_progress(bool success) {
    if (success && (handle_ != nullptr || shown_percent_ >= 0)) {
        show_progress(1.0);
    }
    if (host_error_) {
        std::rethrow_exception(host_error_);
    }
    if (shown_percent_ >= 0 && handle_ == nullptr) {
        mexPrintf("\n");
    }
}

}  // namespace kavro
