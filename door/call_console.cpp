#include "door/call_console.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace kavro {
namespace {

bool progress_wanted() {
    const char* setting = std::getenv("KAVRO_PROGRESS");
    return setting != nullptr && setting != std::string_view() && setting != std::string_view("0");
}

}  // namespace

CallConsole::CallConsole(const char* function)
    : function_(function),
      line_wanted_(progress_wanted()),
      connection_({[this](const char* text) { print_(text); },
                   [this](const char* text) { warn(text); },
                   [this](double fraction) { show_progress(fraction); },
                   [this] { return interrupted(); }}) {}

void CallConsole::hand_progress_to(const Value* function) {
    handle_ = function;
    line_wanted_ = false;
}

std::vector<std::string> CallConsole::release_warnings() {
    warnings_held_ = false;
    return std::exchange(warnings_, {});
}

void CallConsole::warn(const char* text) {
    if (warnings_held_) {
        warnings_.emplace_back(text);
    } else {
        host_warn(text);
    }
}

void CallConsole::show_progress(double fraction) {
    // Solvers report from within parallel regions, which no exception may leave.
    try {
        show_percent(fraction);
    } catch (...) {
        host_error_ = std::current_exception();
    }
}

void CallConsole::show_percent(double fraction) {
    const int percent = static_cast<int>(fraction * 100.0);
    if (percent <= shown_percent_ || host_error_) {
        return;
    }
    if (handle_ != nullptr) {
        shown_percent_ = percent;
        call_handle(fraction);
    } else if (line_wanted_) {
        shown_percent_ = percent;
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(), "\r%s: %d %% done", function_, percent);
        host_print(line.data());
    }
}

void CallConsole::call_handle(double fraction) {
    struct Running {
        explicit Running(bool& flag) : flag_(flag) { flag_ = true; }
        ~Running() { flag_ = false; }
        bool& flag_;
    } running(runs_user_code_);
    host_call(handle_, fraction);
}

// Solvers ask from within parallel regions, too.
bool CallConsole::interrupted() {
    try {
        return host_error_ || host_interrupted();
    } catch (...) {
        host_error_ = std::current_exception();
        return true;
    }
}

void CallConsole::rethrow() const {
    if (host_error_) {
        std::rethrow_exception(host_error_);
    }
}

void CallConsole::end_progress(bool success) {
    if (success && (handle_ != nullptr || shown_percent_ >= 0)) {
        show_progress(1.0);
    }
    rethrow();
    if (shown_percent_ >= 0 && handle_ == nullptr) {
        host_print("\n");
    }
}

}  // namespace kavro
