// The host's console behind the library's console port, for one call.
//
// What belongs to the process, and who owns it:
// - the console port, with the range that its progress counts in: the innermost running call. Its
//   CallConsole connects it, and gives back what the call around it had.
// - the number of threads: the innermost call whose solver runs. `solve` asks for it, and gives
//   back what the call around it had.
// - the width of vectors: no call. The environment variable KAVRO_VECTORS is read once.
// A host with several threads lets one of them into the door at a time.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "core/console.h"
#include "door/host.h"

namespace kavro {

// While it lives, the library prints and warns on the host's console, and asks it for Ctrl-C.
class CallConsole {
public:
    // `function` is what the progress line begins with. The line is shown where the environment
    // variable KAVRO_PROGRESS asks for it (anything but empty and "0").
    explicit CallConsole(const char* function);

    // From now on the line begins with this, which is the caller's.
    void speak_for(const char* function) { function_ = function; }

    // Instead: the line or no line, or calls of a function with the fraction done, at most one for
    // each percent, the last with 1.
    void show_progress_line(bool on) { line_wanted_ = on; }
    void hand_progress_to(const Value* function);

    // Instead of printing: `print` is given every text.
    void hand_prints_to(void (*print)(const char*)) { print_ = print; }

    // Warnings wait from the first on, and are released with the second.
    void hold_warnings() { warnings_held_ = true; }
    std::vector<std::string> release_warnings();

    // Completes the progress; to be called after the solver. Throws as `rethrow`.
    void end_progress(bool success);

    // Throws what the host or the user's function threw while nothing could leave, if anything.
    void rethrow() const;

    bool runs_user_code() const { return runs_user_code_; }

private:
    void warn(const char* text);
    void show_progress(double fraction);
    void show_percent(double fraction);
    void call_handle(double fraction);
    bool interrupted();

    const char* function_;
    void (*print_)(const char*) = host_print;
    bool warnings_held_ = false;
    std::vector<std::string> warnings_;
    bool line_wanted_;
    const Value* handle_ = nullptr;
    int shown_percent_ = -1;
    bool runs_user_code_ = false;
    std::exception_ptr host_error_;
    console::Connection connection_;
};

}  // namespace kavro
