// The host's arrays behind the door's values and results.
#include <algorithm>
#include <cstdint>
#include <new>
#include <numeric>
#include <stdexcept>

#include "core/counts.h"
#include "door/host.h"
#include "mex/host_call.h"

namespace kavro {
namespace {

template <class Number>
std::vector<double> converted(const Value* value, std::size_t count) {
    const auto* data = static_cast<const Number*>(mxGetData(array_of(value)));
    std::vector<double> numbers(count);
    std::transform(data, data + count, numbers.begin(),
                   [](Number number) { return static_cast<double>(number); });
    return numbers;
}

// All characters of an array of them.
std::optional<std::string> characters_of(const mxArray* array) {
    std::string text(mxGetNumberOfElements(array) + 1, '\0');
    if (mxGetString(array, text.data(), static_cast<mwSize>(text.size())) != 0) {
        return std::nullopt;
    }
    text.pop_back();
    return text;
}

mxArray* array_of_zeros(std::span<const int> extents, mxComplexity complexity) {
    mwSize dims[5] = {1, 1};  // nothing here that a host could abandon on the heap
    std::copy(extents.begin(), extents.end(), dims);
    mxArray* output = extents.size() <= 2
                          ? mxCreateNumericMatrix(dims[0], dims[1], mxDOUBLE_CLASS, complexity)
                          : mxCreateNumericArray(static_cast<mwSize>(extents.size()), dims,
                                                 mxDOUBLE_CLASS, complexity);
    if (output == nullptr) {
        throw std::bad_alloc();
    }
    return output;
}

#if defined(HAVE_OCTAVE)
// Octave copies what its interface made when the call returns, but takes back as it is what came
// from one of its own functions: its own, whatever the user calls `zeros`. Null where that is not
// an array as asked for.
mxArray* zeros_from_interpreter(std::span<const int> extents, std::size_t count) {
    mxArray* arguments[6] = {mxCreateString("zeros")};
    std::transform(extents.begin(), extents.end(), arguments + 1,
                   [](int extent) { return mxCreateDoubleScalar(extent); });
    int count_of_arguments = static_cast<int>(extents.size()) + 1;
    if (extents.size() == 1) {
        arguments[count_of_arguments++] = mxCreateDoubleScalar(1);
    }
    mxArray* output = nullptr;
    mxArray* error = mexCallMATLABWithTrap(1, &output, count_of_arguments, arguments, "builtin");
    for (mxArray* argument : arguments) {
        if (argument != nullptr) {
            mxDestroyArray(argument);
        }
    }
    const bool usable = error == nullptr && output != nullptr && mxIsDouble(output) &&
                        !mxIsComplex(output) && !mxIsSparse(output) &&
                        mxGetNumberOfElements(output) == count;
    if (!usable && output != nullptr) {
        mxDestroyArray(output);
    }
    return usable ? output : nullptr;
}
#endif

}  // namespace

bool is_record(const Value* value) {
    return mxIsStruct(array_of(value));
}

bool has_field(const Value* record, const char* name) {
    return mxGetFieldNumber(array_of(record), name) >= 0;
}

std::vector<std::string> field_names(const Value* record) {
    std::vector<std::string> names;
    for (int i = 0; i < mxGetNumberOfFields(array_of(record)); ++i) {
        names.emplace_back(mxGetFieldNameByNumber(array_of(record), i));
    }
    return names;
}

const Value* field_of(const Value* record, std::size_t i, const char* name) {
    // The hosts do not check the index, and not every one looks the name up without complaint.
    if (i >= entries_of(record) || !has_field(record, name)) {
        return nullptr;
    }
    return value_of(mxGetField(array_of(record), static_cast<mwIndex>(i), name));
}

std::size_t entries_of(const Value* value) {
    return mxGetNumberOfElements(array_of(value));
}

std::size_t dimensions_of(const Value* value) {
    return static_cast<std::size_t>(mxGetNumberOfDimensions(array_of(value)));
}

bool is_list(const Value* value) {
    return entries_of(value) != 1;
}

std::size_t rows_of(const Value* value) {
    return mxGetM(array_of(value));
}

std::size_t columns_of(const Value* value) {
    return mxGetN(array_of(value));
}

bool is_numeric(const Value* value) {
    return value != nullptr && mxIsNumeric(array_of(value)) && !mxIsSparse(array_of(value));
}

bool is_logical(const Value* value) {
    return value != nullptr && mxGetClassID(array_of(value)) == mxLOGICAL_CLASS &&
           !mxIsSparse(array_of(value));
}

bool is_complex(const Value* value) {
    return mxIsComplex(array_of(value));
}

const double* doubles_of(const Value* value) {
    const mxArray* array = array_of(value);
    return mxGetClassID(array) == mxDOUBLE_CLASS ? mxGetPr(array) : nullptr;
}

std::vector<double> first_numbers(const Value* value, std::size_t count) {
    struct Conversion {
        mxClassID from;
        std::vector<double> (*convert)(const Value*, std::size_t);
    };
    static constexpr Conversion conversions[] = {
        {mxDOUBLE_CLASS, converted<double>},        {mxSINGLE_CLASS, converted<float>},
        {mxLOGICAL_CLASS, converted<std::uint8_t>}, {mxINT8_CLASS, converted<std::int8_t>},
        {mxUINT8_CLASS, converted<std::uint8_t>},   {mxINT16_CLASS, converted<std::int16_t>},
        {mxUINT16_CLASS, converted<std::uint16_t>}, {mxINT32_CLASS, converted<std::int32_t>},
        {mxUINT32_CLASS, converted<std::uint32_t>}, {mxINT64_CLASS, converted<std::int64_t>},
        {mxUINT64_CLASS, converted<std::uint64_t>}};
    const mxClassID held = mxGetClassID(array_of(value));
    for (const Conversion& conversion : conversions) {
        if (conversion.from == held) {
            return conversion.convert(value, count);
        }
    }
    throw std::logic_error("Numbers of an unknown class.");
}

bool is_text(const Value* value) {
    return value != nullptr && mxIsChar(array_of(value));
}

std::optional<std::string> text_of(const Value* value) {
    if (is_text(value)) {
        return characters_of(array_of(value));
    }
    // A string object of MATLAB's.
    if (value == nullptr || !mxIsClass(array_of(value), "string") || entries_of(value) != 1) {
        return std::nullopt;
    }
    auto* string = const_cast<mxArray*>(array_of(value));  // as the host's call takes it
    mxArray* characters = nullptr;
    if (mexCallMATLABWithTrap(1, &characters, 1, &string, "char") != nullptr) {
        return std::nullopt;
    }
    std::optional<std::string> text = characters_of(characters);
    mxDestroyArray(characters);
    return text;
}

std::optional<std::vector<std::string>> texts_of(const Value* value) {
    if (value == nullptr || !mxIsCell(array_of(value))) {
        const std::optional<std::string> text = text_of(value);
        return text ? std::optional(std::vector{*text}) : std::nullopt;
    }
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < entries_of(value); ++i) {
        const mxArray* cell = mxGetCell(array_of(value), static_cast<mwIndex>(i));
        const std::optional<std::string> text = text_of(value_of(cell));
        if (!text) {
            return std::nullopt;
        }
        texts.push_back(*text);
    }
    return texts;
}

bool is_function(const Value* value) {
    return mxGetClassID(array_of(value)) == mxFUNCTION_CLASS;
}

Result* new_zeros(std::span<const int> extents, bool complex) {
    const mxComplexity complexity = complex ? mxCOMPLEX : mxREAL;
#if defined(HAVE_OCTAVE)
    const auto count = std::accumulate(
        extents.begin(), extents.end(), std::size_t{1},
        [](std::size_t product, int extent) { return product * static_cast<std::size_t>(extent); });
    mxArray* own = !complex && count > 0 ? zeros_from_interpreter(extents, count) : nullptr;
    if (own != nullptr) {
        return reinterpret_cast<Result*>(own);
    }
    // It will be copied.
    require_memory(count, 2 * (complex ? 2 : 1) * sizeof(double), "output values");
#endif
    return reinterpret_cast<Result*>(array_of_zeros(extents, complexity));
}

Result* new_text(const std::string& text) {
    mxArray* array = mxCreateString(text.c_str());
    if (array == nullptr) {
        throw std::bad_alloc();
    }
    return reinterpret_cast<Result*>(array);
}

Result* new_record() {
    mxArray* record = mxCreateStructMatrix(1, 1, 0, nullptr);
    if (record == nullptr) {
        throw std::bad_alloc();
    }
    return reinterpret_cast<Result*>(record);
}

void add_field(Result* record, const char* name, Result* value) {
    const int field = mxAddField(array_of(record), name);
    if (field < 0) {
        throw std::bad_alloc();
    }
    mxSetFieldByNumber(array_of(record), 0, field, array_of(value));
}

double* real_parts(Result* result) {
    return mxGetPr(array_of(result));
}

double* imaginary_parts(Result* result) {
    return mxGetPi(array_of(result));
}

}  // namespace kavro
