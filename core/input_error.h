// The exceptions of the library: a fault in what a user gave.
#pragma once

#include <stdexcept>
#include <string>

namespace kavro {

// what() is the message, to the letter (line feeds included), as scripts match it. more() is what
// else is known, as sentences of their own: what was asked for, what the limit is, what to do. It
// is empty where the message says it all.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    InputError(const std::string& message, const std::string& more)
        : std::runtime_error(message), more_(more) {}

    const char* more() const noexcept { return more_.what(); }

private:
    std::runtime_error more_{""};  // a text that can be copied without failing
};

// What was asked for does not fit into the machine's memory; told before any is taken.
class MemoryError : public InputError {
public:
    using InputError::InputError;
};

}  // namespace kavro
