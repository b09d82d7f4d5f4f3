// What Python handed over, behind the door's values and results.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cstddef>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "door/host.h"

namespace kavro {

namespace py = pybind11;

// Numbers in column order, as a matrix: a plain number is 1 by 1, a vector of n is 1 by n.
struct Array {
    const double* numbers;  // real parts
    std::size_t rows;
    std::size_t columns;
    std::size_t dimensions;
    bool logical;
    bool complex;
    bool list;  // had a dimension
};

// A field of all entries of a record. An array of doubles serves as it lies; of other sequences
// each entry is converted when it is asked for.
struct Column {
    std::string name;
    py::object entries;
    const double* numbers;         // of such an array; else null
    std::size_t width;             // its numbers in an entry
    std::unique_ptr<Value> shown;  // the entry that was asked for last; it lives until the next one
};

struct Record {
    std::size_t entries;
    std::vector<Column> columns;
};

struct Function {};

using Texts = std::vector<std::string>;

struct Value {
    py::object object = {};  // which holds the numbers, or is called
    std::variant<std::monostate, Array, Record, std::string, Texts, Function> content = {};
};

// Text, list of texts, function, or what NumPy takes for numbers of a real or complex type.
// Anything else is a value of no kind. An argument may also be a record: a tuple of the number of
// its entries and a dictionary of columns.
Value value_from(const py::object& object);
Value argument_from(const py::object& object);

// An array, a text or a dictionary.
struct Result {
    py::object object;
    py::array imaginary_parts = {};  // of a complex array, whose second half holds the real parts
    double* real = nullptr;
    double* imaginary = nullptr;

    // The object, complete.
    py::object finished();
};

}  // namespace kavro
