#include "mex/host_console.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <string_view>

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

bool interrupted() {
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

}  // namespace

HostConsole::HostConsole()
    : connection_({print, warn,
                   progress_wanted() ? std::function<void(double)>(
                                           [this](double fraction) { show_progress(fraction); })
                                     : nullptr,
                   interrupted}) {}

void HostConsole::show_progress(double fraction) {
    // Solvers report from within parallel regions, which no exception may leave.
    try {
        show_percent(static_cast<int>(fraction * 100.0));
    } catch (...) {
        host_error_ = std::current_exception();
    }
}

void HostConsole::show_percent(int percent) {
    if (percent != shown_percent_ && !host_error_) {
        shown_percent_ = percent;
        mexPrintf("\rkavro.transient_pressure: %d %% done", percent);
    }
}

void HostConsole::end_progress(bool success) {
    if (host_error_) {
        std::rethrow_exception(host_error_);
    }
    if (shown_percent_ >= 0) {
        show_percent(success ? 100 : shown_percent_);
        mexPrintf("\n");
    }
}

}  // namespace kavro
