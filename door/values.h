// Checked reading of what the host hands over: nothing is read before its class and its size are
// known, and numbers of any class arrive as double.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/cartesian_coordinate.h"
#include "mex.h"

namespace kavro {

// Field `name` of entry i of a structure array; null where there is no such entry or field.
const mxArray* field_of(const mxArray* structure, std::size_t i, const char* name);

// Whether a value is numeric, neither sparse nor empty (null is not), and for the second one also
// real.
bool holds_numbers(const mxArray* value);
bool holds_real_numbers(const mxArray* value);

// The real part of the first number, or nothing where the value does not hold numbers.
std::optional<double> first_number(const mxArray* value);

// The number, where the value holds real numbers and exactly one of them.
std::optional<double> single_number(const mxArray* value);

// All numbers in column order. The value must be numeric, real and not sparse; it may be empty.
std::vector<double> numbers_of(const mxArray* value);

// A text of at most `longest` characters, up to a NUL among them; nothing where the value is not
// text or is longer.
std::optional<std::string> text_of(const mxArray* value, std::size_t longest);

// All of a text of any length, a string object of MATLAB's too; nothing where the value is neither.
std::optional<std::string> text_of(const mxArray* value);

// A text for a message, which a NUL would end: '?' in its place.
std::string shown(std::string text);

// A logical or a number, which must be 0 or 1; nothing where the value is not one of them.
std::optional<bool> switch_of(const mxArray* value);

// Number of entries as a 32-bit count. Throws InputError "Computed number of <what> is too large."
// beyond.
int count_of(std::size_t entries, const char* what);

// One entry of a structure array whose fields must hold real numbers. Complaints name the field and
// the entry, counted from 1: "<Title> field '<field>' must hold 3 real number(s) (<word> 7)."
class HostRecord {
public:
    HostRecord(const mxArray* structure, std::size_t index, const char* title, const char* word)
        : structure_(structure), index_(index), title_(title), word_(word) {}

    const mxArray* field(const char* name) const { return field_of(structure_, index_, name); }
    double number(const char* name) const;               // the first value counts
    CartesianCoordinate triple(const char* name) const;  // exactly three, a row or a column
    [[noreturn]] void refuse(const char* name, const std::string& expectation) const;

private:
    const mxArray* structure_;
    std::size_t index_;
    const char* title_;
    const char* word_;
};

}  // namespace kavro
