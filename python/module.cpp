// The compiled part of the Python package: one function for every method of the library.
#include <new>
#include <stdexcept>
#include <string>

#include "core/input_error.h"
#include "core/interrupted.h"
#include "core/version.h"
#include "door/options.h"
#include "door/read.h"
#include "door/solve.h"
#include "python/call.h"
#include "python/turn.h"

namespace kavro {
namespace {

// OpenMP's threads do not survive a fork, but it counts on them where it had started some.
class Threads {
public:
    static void start() { started_ = true; }
    static void forget() { lost_ = started_; }
    static void limit(int& threads) { threads = lost_ ? 1 : threads; }

private:
    static inline bool started_ = false;
    static inline bool lost_ = false;
};

void after_fork_in_child() {
    Turn::forget();
    Threads::forget();
}

// The answer, and where it is asked for a report of what was done.
std::vector<const Value*> values_of(Call& call, const py::list& arguments) {
    call.given.reserve(arguments.size());
    std::vector<const Value*> values;
    for (const auto& argument : arguments) {
        call.given.push_back(argument_from(py::reinterpret_borrow<py::object>(argument)));
        values.push_back(&call.given.back());
    }
    return values;
}

py::tuple answer(Call& call, const py::list& arguments, bool report) {
    read(call.request, call.console, values_of(call, arguments));
    Threads::limit(call.request.threads);
    call.result = new_result(call.request);
    {
        const py::gil_scoped_release others_may_run;
        Threads::start();
        solve(call.request, call.console, call.result);
    }
    call.console.rethrow();
    finish(call.console, call.result.warnings, call.result.status);
    const py::object field = call.results.front().finished();
    const auto one_more = [](Result* result) -> py::object {
        return result != nullptr ? result->finished() : py::none();
    };
    return py::make_tuple(field, one_more(call.result.velocity),
                          one_more(report ? new_report(call.request, call.result) : nullptr));
}

py::tuple solve_for_python(const py::list& arguments, const py::object& out, bool report) {
    const Turn turn;
    Call call(out);
    try {
        return answer(call, arguments, report);
    } catch (const Interrupted&) {
        call.console.rethrow();
        throw;
    }
}

// All results of a command; the first argument is its name.
py::tuple call_for_python(const py::list& arguments, const py::object& out) {
    const Turn turn;
    Call call(out);
    try {
        call.command.read(call.console, values_of(call, arguments));
        Threads::limit(call.command.threads());
        {
            const py::gil_scoped_release others_may_run;
            Threads::start();
            call.command.run(call.console);
        }
        call.console.rethrow();
        py::list results;
        for (Result* result : call.command.finish(call.console)) {
            results.append(result->finished());
        }
        return py::tuple(results);
    } catch (const Interrupted&) {
        call.console.rethrow();
        throw;
    }
}

void translate(std::exception_ptr thrown) {
    const auto raise = [](const py::handle& type, const std::exception& error,
                          const std::string& more = "") {
        std::string text = error.what();
        text.erase(text.find_last_not_of('\n') + 1);
        text.append(more.empty() ? "" : " ").append(more);
        PyErr_SetString(type.ptr(), text.c_str());
    };
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const MemoryError& error) {
        raise(PyExc_MemoryError, error, error.more());
    } catch (const OptionError& error) {
        raise(PyExc_TypeError, error);
    } catch (const InputError& error) {
        raise(py::module_::import("kavro._errors").attr("InputError"), error, error.more());
    } catch (const Interrupted& error) {
        raise(PyExc_KeyboardInterrupt, error);
    } catch (const std::length_error&) {
        PyErr_NoMemory();
    }
}

}  // namespace
}  // namespace kavro

PYBIND11_MODULE(_kavro, module) {
    namespace py = pybind11;
    using namespace py::literals;
    py::register_exception_translator(&kavro::translate);
    module.attr("__version__") = KAVRO_VERSION;
    module.def("solve", &kavro::solve_for_python, "arguments"_a, "out"_a, "report"_a);
    module.def("call", &kavro::call_for_python, "arguments"_a, "out"_a = py::none());
    module.def("after_fork_in_child", &kavro::after_fork_in_child);
}
