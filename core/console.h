// The console port: everything the library prints, warns about or reports goes through here.
//
// The library knows no host. A front end connects the port to its own console; until it does,
// prints go to the standard output, warnings to the standard error stream, and progress nowhere.
// Only the thread that called into the library uses the port.
#pragma once

#include <functional>

#if defined(__GNUC__)
#define KAVRO_PRINTF_FORMAT(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define KAVRO_PRINTF_FORMAT(format_index, first_argument)
#endif

namespace kavro::console {

struct Port {
    std::function<void(const char* text)> print = {};    // ordinary output, text as it stands
    std::function<void(const char* text)> warn = {};     // a warning; the work goes on
    std::function<void(double fraction)> progress = {};  // share of the work done, 0 to 1
    std::function<bool()> interrupted = {};              // whether the user wants the work to stop
};

// Connects the given functions; an empty one restores the quiet default of that hook.
void connect(Port port);

// Connects a port for the lifetime of the object and restores the former one afterwards. Progress
// counts from 0 to 1 again meanwhile, whatever part of the former port's whole is under way.
class Connection {
public:
    explicit Connection(Port port);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

private:
    Port former_;
    double former_begin_, former_end_;
};

// What the library calls: each hands on to the connected port. Text may be of any length.
void print(const char* format, ...) KAVRO_PRINTF_FORMAT(1, 2);
void warn(const char* text);
void progress(double fraction);
bool interrupted();  // false where nothing is connected

// While it lives, the progress 0 to 1 of what is called counts as begin to end of the whole.
class ProgressPart {
public:
    ProgressPart(double begin, double end);
    ~ProgressPart();
    ProgressPart(const ProgressPart&) = delete;
    ProgressPart& operator=(const ProgressPart&) = delete;

private:
    double former_begin_, former_end_;
};

}  // namespace kavro::console
