// The host's console behind the library's console port.
#pragma once

#include <exception>

#include "core/console.h"

namespace kavro {

// While it lives, the library prints and warns on the host's console. Progress is shown there only
// where the environment variable KAVRO_PROGRESS asks for it (anything but empty and "0").
class HostConsole {
public:
    HostConsole();

    // Completes and ends the progress line, if there is one; to be called after the solver. Throws
    // what the host threw while the solver ran.
    void end_progress(bool success);

private:
    void show_progress(double fraction);
    void show_percent(int percent);

    int shown_percent_ = -1;
    std::exception_ptr host_error_;
    console::Connection connection_;
};

}  // namespace kavro
