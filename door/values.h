// Checked reading of what the host hands over: nothing is read before its kind and its size are
// known, and numbers of any class arrive as double.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/cartesian_coordinate.h"
#include "door/host.h"

namespace kavro {

// Whether a value is numeric and not empty (null is not), and for the second one also real.
bool holds_numbers(const Value* value);
bool holds_real_numbers(const Value* value);

// The real part of the first number, or nothing where the value does not hold numbers.
std::optional<double> first_number(const Value* value);

// The same of a field of this name, with a warning where it has an imaginary part.
std::optional<double> first_real_part(const Value* value, const char* name);

// The number, where the value holds real numbers and exactly one of them.
std::optional<double> single_number(const Value* value);

// All numbers of a real numeric value, which may be empty, in column order: where they lie in the
// host if that is possible.
class Numbers {
public:
    explicit Numbers(const Value* value);
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;

    std::span<const double> span() const { return numbers_; }

private:
    std::vector<double> converted_;
    std::span<const double> numbers_;
};

// A text for a message, which a NUL would end: '?' in its place.
std::string shown(std::string text);

// A number as the hosts write it.
std::string shown(double number);

// What a value is that does not hold the numbers wanted: "is missing" (null), "is empty", "is a
// text".
std::string described(const Value* value);

// 'a', 'b', 'c'
std::string quoted_list(std::span<const char* const> names);

// A logical or a number, which must be 0 or 1; nothing where the value is not one of them.
std::optional<bool> switch_of(const Value* value);

// A whole number of at least 1; nothing where the value is none.
std::optional<int> count_from(const Value* value);

// Number of entries as a 32-bit count. Throws InputError "Computed number of <what> is too large."
// beyond.
int count_of(std::size_t entries, const char* what);

// Throws InputError "<title> must be a <record>." where it is none.
void require_record(const Value* value, const char* title);

// The first number of a field in entry 0 of a record that a maker of the host's makes. Where there
// is none, prints which field is missing (and which would have done, too), and throws InputError
// that tells of the maker's page.
double made_number(const Value* record, const char* name, const char* page,
                   const char* instead_of = nullptr);

// Throws InputError that tells where such a record comes from.
[[noreturn]] void refuse_made(const char* page);

// One more field of an answer's record: a row of numbers. Throws as new_zeros.
void add_numbers(Result* record, const char* name, std::initializer_list<double> numbers);

// One entry of a record. Complaints name the field and, where there may be several entries, the
// entry: "<Title> field '<field>' must hold 3 real number(s) (<word> 7)."
class Record {
public:
    Record(const Value* value, const char* title, const char* word = nullptr, std::size_t index = 0)
        : value_(value), title_(title), word_(word), index_(index) {}

    const Value* field(const char* name) const { return field_of(value_, index_, name); }
    double number(const char* name) const;               // the first value counts
    CartesianCoordinate triple(const char* name) const;  // exactly three, a row or a column
    std::vector<double> pairs(const char* name) const;   // n x 2, first all of the first column

    // `instead` is what the field is, for more() of the error.
    [[noreturn]] void refuse(const char* name, const std::string& expectation,
                             const std::string& instead = "") const;

private:
    const Value* value_;
    const char* title_;
    const char* word_;
    std::size_t index_;
};

}  // namespace kavro
