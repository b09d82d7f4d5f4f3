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
#include <vector>

#include "mex.h"

namespace host {

using Value = std::shared_ptr<mxArray>;

// ---- values
Value numbers(std::vector<double> values, std::size_t rows, std::size_t columns,
              mxClassID class_id = mxDOUBLE_CLASS);
Value row(std::vector<double> values, mxClassID class_id = mxDOUBLE_CLASS);
Value scalar(double value);
Value complex_scalar(double real);
Value sparse_row(std::vector<double> values);
Value logical(bool value);
Value text(const std::string& characters);
Value string_object(const std::string& characters);  // which is no array of characters
Value function(std::function<void(double)> body);    // a function handle; it may throw
Value cell();
Value structure(std::size_t rows, std::size_t columns);  // a structure array without fields

// Sets the field of one entry; the other entries of a new field hold []. An array without entries
// only takes the field's name.
void set(const Value& structure, const std::string& field, Value value, std::size_t entry = 0);
void remove(const Value& structure, const std::string& field);
Value get(const Value& structure, const std::string& field, std::size_t entry = 0);
Value copy_of(const Value& structure);  // with the same values

std::vector<std::size_t> sizes(const Value& array);
std::vector<double> values(const Value& array);     // real parts of a double array
std::vector<double> imaginary(const Value& array);  // imaginary parts of a complex one
std::string characters(const Value& array);         // of a text

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
std::unique_ptr<mxArray> array_of(mxClassID class_id, std::vector<std::size_t> dims);
mxArray* keep(std::unique_ptr<mxArray> array);  // until the call ends or it is destroyed
std::size_t field_index(const mxArray& structure, const std::string& name);  // past end: none
void misuse(const std::string& what);
[[noreturn]] void raise(const char* text);  // the host's error, which leaves as the session says
void fail_if_due(Fault fault, const char* text);

// Marks the host's own code, so that what it allocates is not counted as the module's.
class HostScope {
public:
    HostScope();
    ~HostScope();
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;

private:
    bool former_;
};

}  // namespace host

namespace host {

// Calls `visit` with a zero of the C++ type that numbers or characters of the class are stored in.
template <class Visitor>
auto with_number_type(mxClassID class_id, Visitor visit) {
    switch (class_id) {
        case mxSINGLE_CLASS:
            return visit(float());
        case mxINT8_CLASS:
            return visit(std::int8_t());
        case mxUINT8_CLASS:
        case mxLOGICAL_CLASS:
            return visit(std::uint8_t());
        case mxINT16_CLASS:
            return visit(std::int16_t());
        case mxUINT16_CLASS:
        case mxCHAR_CLASS:
            return visit(std::uint16_t());
        case mxINT32_CLASS:
            return visit(std::int32_t());
        case mxUINT32_CLASS:
            return visit(std::uint32_t());
        case mxINT64_CLASS:
            return visit(std::int64_t());
        case mxUINT64_CLASS:
            return visit(std::uint64_t());
        default:
            return visit(double());
    }
}

}  // namespace host

struct mxArray_tag {
    mxClassID class_id = mxDOUBLE_CLASS;
    bool is_complex = false;
    bool is_sparse = false;
    std::vector<std::size_t> dims;
    std::unique_ptr<std::byte[]> data;            // exactly as long as the array, null for none
    std::unique_ptr<std::byte[]> imaginary_data;  // likewise, of a complex array
    std::string characters;                       // of a string object, or of an exception
    std::function<void(double)> body;             // of a function handle
    std::vector<std::string> fields;              // of a structure array
    std::vector<host::Value> field_data;          // entry by entry, one for each field

    std::size_t count() const;
};
