#include "door/call_threads.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "core/console.h"
#include "core/threads.h"

namespace kavro {
namespace {

int asked = 0;

void ask(int n) {
    asked = n;
    set_thread_count(n);
}

int count_of(const char* setting) {
    constexpr long most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(std::strtol(setting, nullptr, 10), 0L, most));
}

void warn_of_too_many_threads() {
    if (threads_asked_for() > thread_limit()) {
        console::warn((std::to_string(threads_asked_for()) + " threads were asked for, " +
                       std::to_string(thread_limit()) +
                       " are used: four for each processor. More would gain nothing.\n")
                          .c_str());
    }
}

}  // namespace

// The host's OpenMP runtime has read its own variables when it was loaded.
CallThreads::CallThreads(int n, int former) : former_(former) {
    const char* setting = std::getenv("KAVRO_THREADS");
    ask(n == 0 && setting != nullptr ? count_of(setting) : n);
}

CallThreads::CallThreads(int n) : CallThreads(n, asked) {
    warn_of_too_many_threads();
}

CallThreads::~CallThreads() {
    ask(former_);
}

}  // namespace kavro
