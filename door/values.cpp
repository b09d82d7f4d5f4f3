#include "door/values.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "core/input_error.h"

namespace kavro {
namespace {

template <class Number>
std::vector<double> converted(const mxArray* value, std::size_t count) {
    const auto* data = static_cast<const Number*>(mxGetData(value));
    std::vector<double> numbers(count);
    std::transform(data, data + count, numbers.begin(),
                   [](Number number) { return static_cast<double>(number); });
    return numbers;
}

std::vector<double> first_numbers(const mxArray* value, std::size_t count) {
    switch (mxGetClassID(value)) {
        case mxDOUBLE_CLASS:
            return converted<double>(value, count);
        case mxSINGLE_CLASS:
            return converted<float>(value, count);
        case mxINT8_CLASS:
            return converted<std::int8_t>(value, count);
        case mxUINT8_CLASS:
            return converted<std::uint8_t>(value, count);
        case mxINT16_CLASS:
            return converted<std::int16_t>(value, count);
        case mxUINT16_CLASS:
            return converted<std::uint16_t>(value, count);
        case mxINT32_CLASS:
            return converted<std::int32_t>(value, count);
        case mxUINT32_CLASS:
            return converted<std::uint32_t>(value, count);
        case mxINT64_CLASS:
            return converted<std::int64_t>(value, count);
        case mxUINT64_CLASS:
            return converted<std::uint64_t>(value, count);
        default:
            throw std::logic_error("Numbers of an unknown class.");
    }
}

// All characters of an array of at most `longest`.
std::optional<std::string> characters_of(const mxArray* array, std::size_t longest) {
    std::string text(longest + 1, '\0');
    if (mxGetString(array, text.data(), static_cast<mwSize>(text.size())) != 0) {
        return std::nullopt;
    }
    text.resize(mxGetNumberOfElements(array));
    return text;
}

}  // namespace

const mxArray* field_of(const mxArray* structure, std::size_t i, const char* name) {
    // The hosts do not check the index, and not every one looks the name up without complaint.
    if (i >= mxGetNumberOfElements(structure) || mxGetFieldNumber(structure, name) < 0) {
        return nullptr;
    }
    return mxGetField(structure, static_cast<mwIndex>(i), name);
}

bool holds_numbers(const mxArray* value) {
    return value != nullptr && mxIsNumeric(value) && !mxIsSparse(value) &&
           mxGetNumberOfElements(value) > 0;
}

bool holds_real_numbers(const mxArray* value) {
    return holds_numbers(value) && !mxIsComplex(value);
}

std::optional<double> first_number(const mxArray* value) {
    if (!holds_numbers(value)) {
        return std::nullopt;
    }
    return first_numbers(value, 1).front();
}

std::optional<double> single_number(const mxArray* value) {
    if (!holds_real_numbers(value) || mxGetNumberOfElements(value) != 1) {
        return std::nullopt;
    }
    return first_number(value);
}

std::vector<double> numbers_of(const mxArray* value) {
    const std::size_t count = mxGetNumberOfElements(value);
    return count > 0 ? first_numbers(value, count) : std::vector<double>();
}

std::optional<std::string> text_of(const mxArray* value, std::size_t longest) {
    if (value == nullptr || !mxIsChar(value)) {
        return std::nullopt;
    }
    const std::optional<std::string> text = characters_of(value, longest);
    return text ? std::optional<std::string>(text->c_str()) : std::nullopt;
}

std::optional<std::string> text_of(const mxArray* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    if (mxIsChar(value)) {
        return characters_of(value, mxGetNumberOfElements(value));
    }
    mxArray* characters = nullptr;
    auto* string = const_cast<mxArray*>(value);  // as the host's call takes it
    if (!mxIsClass(value, "string") || mxGetNumberOfElements(value) != 1 ||
        mexCallMATLABWithTrap(1, &characters, 1, &string, "char") != nullptr) {
        return std::nullopt;
    }
    std::optional<std::string> text = characters_of(characters, mxGetNumberOfElements(characters));
    mxDestroyArray(characters);
    return text;
}

std::string shown(std::string text) {
    std::replace(text.begin(), text.end(), '\0', '?');
    return text;
}

std::optional<bool> switch_of(const mxArray* value) {
    const bool logical = mxGetClassID(value) == mxLOGICAL_CLASS;
    if (mxGetNumberOfElements(value) != 1 || mxIsSparse(value) ||
        (!logical && !holds_real_numbers(value))) {
        return std::nullopt;
    }
    const double number = mxGetScalar(value);
    return number == 0.0 || number == 1.0 ? std::optional(number == 1.0) : std::nullopt;
}

int count_of(std::size_t entries, const char* what) {
    if (entries > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw InputError(std::string("Computed number of ") + what + " is too large.");
    }
    return static_cast<int>(entries);
}

double HostRecord::number(const char* name) const {
    const mxArray* value = field(name);
    if (!holds_real_numbers(value)) {
        refuse(name, "must hold 1 real number(s)");
    }
    return *first_number(value);
}

CartesianCoordinate HostRecord::triple(const char* name) const {
    const mxArray* value = field(name);
    if (!holds_real_numbers(value) || mxGetNumberOfElements(value) != 3) {
        refuse(name, "must hold 3 real number(s)");
    }
    const std::vector<double> xyz = numbers_of(value);
    return {xyz[0], xyz[1], xyz[2]};
}

void HostRecord::refuse(const char* name, const std::string& expectation) const {
    throw InputError(std::string(title_) + " field '" + name + "' " + expectation + " (" + word_ +
                     " " + std::to_string(index_ + 1) + ").");
}

}  // namespace kavro
