// The host's console behind the library's console port.
#pragma once

#include <exception>
#include <functional>
#include <utility>

#include "core/console.h"
#include "mex.h"

namespace kavro {

// While it lives, the library prints and warns on the host's console, and asks it for Ctrl-C.
class HostConsole {
public:
    // `function` is what the progress line begins with. The line is shown where the environment
    // variable KAVRO_PROGRESS asks for it (anything but empty and "0").
    explicit HostConsole(const char* function);

    // Instead: the line or no line, or calls of a function handle with the fraction done, at most
    // one for each percent, the last with 1.
    void show_progress_line(bool on);
    void hand_progress_to(const mxArray* function_handle);

    // Instead of printing: `print` is given every text.
    void hand_prints_to(std::function<void(const char*)> print) { print_ = std::move(print); }

    // Completes the progress; to be called after the solver. Throws what the host or the user's
    // function threw while the solver ran.
    void end_progress(bool success);

    bool runs_user_code() const { return runs_user_code_; }

private:
    void show_progress(double fraction);
    void show_percent(double fraction);
    void call_handle(double fraction);
    bool interrupted() const;

    const char* function_;
    std::function<void(const char*)> print_;
    bool line_wanted_;
    mxArray* handle_ = nullptr;
    int shown_percent_ = -1;
    bool runs_user_code_ = false;
    std::exception_ptr host_error_;
    console::Connection connection_;
};

}  // namespace kavro
