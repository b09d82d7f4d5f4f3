// The exceptions of the library: a fault in what a user gave.
#pragma once

#include <stdexcept>

namespace kavro {

// what() is the message a host shows, to the letter (line feeds included).
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What was asked for does not fit into the machine's memory; told before any is taken.
class MemoryError : public InputError {
public:
    using InputError::InputError;
};

}  // namespace kavro
