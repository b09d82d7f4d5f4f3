// A small host for the module's tests: the array and module functions of MATLAB's binary interface
// over plain C++ values, with everything observable that a host hides.
//
// It is strict. Where a real host would read past an array, crash, or answer nonsense (a field of
// an entry that does not exist, the data of a sparse matrix as if it were full), it notes a misuse.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mex.h"

namespace host {

using Value = std::shared_ptr<mxArray>;
using Sizes = std::vector<std::size_t>;

// ---- values
Value numbers(const std::vector<double>& values, Sizes sizes, mxClassID class_id = mxDOUBLE_CLASS);
Value row(const std::vector<double>& values, mxClassID class_id = mxDOUBLE_CLASS);
Value text(const std::string& characters);
Value string_object(const std::string& characters);      // which is no array of characters
Value function(std::function<void(double)> body);        // a function handle; it may throw
Value structure(std::size_t rows, std::size_t columns);  // an array without fields

// A value as the hosts write it: 1, 1i, NaN, [], [1 2; 3 4], 'abc', true, {}; and sparse[1 2];
// struct[3 1], an array of this size without fields. Null for `missing`.
Value value(const std::string& written);

// A structure of one entry: "radius = 1, center = [0 0 0]".
Value record(const std::string& fields);

// What lies between the separators, without the spaces around it and the empty.
std::vector<std::string> parts_of(const std::string& text, const std::string& separator);

// Sets the field of one entry; the other entries of a new field hold []. An array without entries
// only takes the field's name. Null takes the field away from all.
void set(const Value& structure, const std::string& field, Value value, std::size_t entry = 0);
Value get(const Value& structure, const std::string& field, std::size_t entry = 0);
Value copy_of(const Value& structure);               // with the same values
Value repeated(const Value& record, std::size_t n);  // n entries with the values of the first

std::vector<double> values(const Value& array);  // of a double array, the imaginary parts at last
std::string characters(const Value& array);      // of a text

// ---- calls
// How mexErrMsgTxt leaves the module: by an exception, or by a jump that runs no destructors.
enum class Leaving { exception, jump };

// What fails during the next call.
enum class Fault { none, creation, print };

struct Outcome {
    std::optional<std::string> error;
    std::string printed;
    std::vector<std::string> warnings;
    std::vector<std::string> misuses;
    Value output;
};

using Entry = void(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

Outcome call(Entry* entry, int nlhs, const std::vector<Value>& arguments,
             Leaving leaving = Leaving::exception, Fault fault = Fault::none);

// Whether the module's own code runs in this thread (and not the host's functions that it called).
bool in_module();

// ---- between the two libraries
struct Session {
    Leaving leaving = Leaving::exception;
    Fault fault = Fault::none;
    Outcome outcome;
    std::vector<std::unique_ptr<mxArray>> created;
};
Session& session();
std::unique_ptr<mxArray> array_of(mxClassID class_id, Sizes sizes);
mxArray* keep(std::unique_ptr<mxArray> array);  // until the call ends or it is destroyed
std::size_t field_index(const mxArray& structure, const std::string& name);  // past end: none
std::size_t bytes_of_each(mxClassID class_id);  // 0 of what is no number, character or logical
void misuse(const std::string& what);
[[noreturn]] void raise(const char* text);  // the host's error, which leaves as the session says
void fail_if_due(Fault fault, const char* text);

// Marks the host's own code, so that what it allocates is not counted as the module's.
extern thread_local bool in_host;
struct HostScope {
    HostScope() { in_host = true; }
    ~HostScope() { in_host = former; }
    const bool former = in_host;
};

// Calls `visit` with a zero of the C++ type that numbers, characters or logical values of the class
// are stored in; not at all for other classes.
template <class Visitor>
void with_number_type(mxClassID class_id, Visitor visit) {
    const auto try_all = [&]<class... T>(std::pair<mxClassID, T>... types) {
        ((class_id == types.first ? visit(types.second) : void()), ...);
    };
    try_all(std::pair{mxDOUBLE_CLASS, double()}, std::pair{mxSINGLE_CLASS, float()},
            std::pair{mxINT8_CLASS, std::int8_t()}, std::pair{mxUINT8_CLASS, std::uint8_t()},
            std::pair{mxINT16_CLASS, std::int16_t()}, std::pair{mxUINT16_CLASS, std::uint16_t()},
            std::pair{mxINT32_CLASS, std::int32_t()}, std::pair{mxUINT32_CLASS, std::uint32_t()},
            std::pair{mxINT64_CLASS, std::int64_t()}, std::pair{mxUINT64_CLASS, std::uint64_t()},
            std::pair{mxCHAR_CLASS, std::uint16_t()}, std::pair{mxLOGICAL_CLASS, std::uint8_t()});
}

}  // namespace host

struct mxArray_tag {
    mxClassID class_id = mxDOUBLE_CLASS;
    bool is_complex = false;
    bool is_sparse = false;
    host::Sizes dims;
    std::unique_ptr<std::byte[]> data;            // exactly as long as the array, null for none
    std::unique_ptr<std::byte[]> imaginary_data;  // likewise, of a complex array
    std::string characters;                       // of a string object, or of an exception
    std::function<void(double)> body;             // of a function handle
    // Of a structure array: each field's name and its value in each entry.
    std::vector<std::pair<std::string, std::vector<host::Value>>> fields;
    std::vector<host::Value> cells;  // of a cell array

    std::size_t count() const;
};
