// How Python prints, warns, is interrupted and calls a user's function, and its words. The library
// calls these while other threads of Python run: each takes the interpreter's lock for itself.
#include <chrono>
#include <string>

#include "door/host.h"
#include "python/call.h"
#include "python/turn.h"

namespace kavro {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds between_looks{50};

Clock::time_point last_look;

std::string without_line_end(std::string text) {
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

}  // namespace

const Words host_words{
    .first = 0,
    .record = "dataclass of kavro",
    .made_record = "dataclass",
    .options = "dict",
    .list = "list",
    .function = "function",
    .grid_page = "kavro.Grid",
    .times_page = "kavro.Times",
    .times_maker = "kavro.Times",
    .waveform_page = "kavro.waveform",
    .waveform_maker = "kavro.waveform",
    .smaller_output =
        "Take fewer points or instants, ask for a measure= instead of a field over time, or "
        "compute "
        "in parts: see kavro.split_grid.",
};

void host_print(const char* text) {
    const py::gil_scoped_acquire lock;
    const py::object out = py::module_::import("sys").attr("stdout");
    out.attr("write")(text);
    out.attr("flush")();
}

void host_warn(const char* text) {
    const py::gil_scoped_acquire lock;
    py::module_::import("kavro._errors").attr("warn")(without_line_end(text));
}

bool host_interrupted() {
    const Clock::time_point now = Clock::now();
    if (now - last_look < between_looks) {
        return false;
    }
    last_look = now;
    if (PyGILState_Check() == 1) {  // while arguments are read
        const py::gil_scoped_release others_may_run;
    }
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
    return false;
}

void host_call(const Value* function, double fraction) {
    const Turn::Lent others_may_compute;
    const py::gil_scoped_acquire lock;
    function->object(fraction);
}

}  // namespace kavro
