#include "core/console.h"

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

namespace kavro::console {
namespace {

Port& connected() {
    static Port port;
    return port;
}

struct Range {
    double begin = 0.0;
    double end = 1.0;
};

Range& progress_range() {
    static Range range;
    return range;
}

void deliver(const char* text) {
    if (connected().print) {
        connected().print(text);
    } else {
        std::fputs(text, stdout);
    }
}

}  // namespace

void connect(Port port) {
    connected() = std::move(port);
}

Connection::Connection(Port port)
    : former_(std::exchange(connected(), std::move(port))),
      former_begin_(progress_range().begin),
      former_end_(progress_range().end) {
    progress_range() = {};
}

Connection::~Connection() {
    connected() = std::move(former_);
    progress_range() = {former_begin_, former_end_};
}

void print(const char* format, ...) {
    std::array<char, 512> line{};
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < line.size()) {
        deliver(line.data());
    } else if (length >= 0) {
        std::string longer(static_cast<std::size_t>(length) + 1, '\0');
        std::vsnprintf(longer.data(), longer.size(), format, again);
        deliver(longer.c_str());
    }
    va_end(again);
}

void warn(const char* text) {
    if (connected().warn) {
        connected().warn(text);
    } else {
        std::fprintf(stderr, "Warning: %s\n", text);
    }
}

void progress(double fraction) {
    if (connected().progress) {
        const Range& range = progress_range();
        connected().progress(range.begin + fraction * (range.end - range.begin));
    }
}

bool interrupted() {
    return connected().interrupted && connected().interrupted();
}

ProgressPart::ProgressPart(double begin, double end)
    : former_begin_(progress_range().begin), former_end_(progress_range().end) {
    const double span = former_end_ - former_begin_;
    progress_range() = {former_begin_ + begin * span, former_begin_ + end * span};
}

ProgressPart::~ProgressPart() {
    progress_range() = {former_begin_, former_end_};
}

}  // namespace kavro::console
