// The host double's array functions: what the module finds in libmx.
#include <algorithm>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host_double.h"

namespace {

using host::HostScope;

bool is_number_class(mxClassID class_id) {
    return class_id >= mxDOUBLE_CLASS && class_id <= mxUINT64_CLASS;
}

// False, with a note, for the null pointers that crash a host.
bool present(const mxArray* array, const char* function) {
    if (array == nullptr) {
        host::misuse(std::string(function) + " of a null array");
    }
    return array != nullptr;
}

void* data_of(const mxArray* array, const char* function) {
    if (!present(array, function)) {
        return nullptr;
    }
    const bool has_data = is_number_class(array->class_id) || array->class_id == mxCHAR_CLASS ||
                          array->class_id == mxLOGICAL_CLASS;
    if (array->is_sparse || !has_data) {
        host::misuse(std::string(function) + " of an array without full data");
    }
    return array->data.get();
}

mxArray* create(std::vector<std::size_t> dims, mxClassID class_id, mxComplexity complexity) {
    std::unique_ptr<mxArray> array = host::array_of(class_id, std::move(dims));
    if (complexity == mxCOMPLEX) {
        array->is_complex = true;
        array->imaginary_data = std::move(host::array_of(class_id, array->dims)->data);
    }
    return host::keep(std::move(array));
}

}  // namespace

extern "C" {

bool mxIsStruct(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxIsStruct") && array->class_id == mxSTRUCT_CLASS;
}

bool mxIsNumeric(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxIsNumeric") && is_number_class(array->class_id);
}

bool mxIsChar(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxIsChar") && array->class_id == mxCHAR_CLASS;
}

bool mxIsComplex(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxIsComplex") && array->is_complex;
}

bool mxIsSparse(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxIsSparse") && array->is_sparse;
}

bool mxIsClass(const mxArray* array, const char* name) {
    const HostScope scope;
    if (name != std::string_view("string")) {
        host::misuse(std::string("mxIsClass for ") + name);
    }
    return present(array, "mxIsClass") && array->class_id == mxUNKNOWN_CLASS;
}

mxClassID mxGetClassID(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxGetClassID") ? array->class_id : mxUNKNOWN_CLASS;
}

size_t mxGetM(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxGetM") ? array->dims[0] : 0;
}

size_t mxGetN(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxGetN") ? std::accumulate(array->dims.begin() + 1, array->dims.end(),
                                                      std::size_t{1}, std::multiplies<>())
                                    : 0;
}

size_t mxGetNumberOfElements(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxGetNumberOfElements") ? array->count() : 0;
}

mwSize mxGetNumberOfDimensions(const mxArray* array) {
    const HostScope scope;
    return present(array, "mxGetNumberOfDimensions") ? array->dims.size() : 0;
}

int mxGetFieldNumber(const mxArray* array, const char* name) {
    const HostScope scope;
    if (!mxIsStruct(array)) {
        host::misuse("mxGetFieldNumber of what is no structure");
        return -1;
    }
    const std::size_t index = host::field_index(*array, name);
    return index < array->fields.size() ? static_cast<int>(index) : -1;
}

int mxGetNumberOfFields(const mxArray* array) {
    const HostScope scope;
    return mxIsStruct(array) ? static_cast<int>(array->fields.size()) : 0;
}

const char* mxGetFieldNameByNumber(const mxArray* array, int number) {
    const HostScope scope;
    return array->fields.at(static_cast<std::size_t>(number)).c_str();
}

mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name) {
    const HostScope scope;
    const int field = mxGetFieldNumber(array, name);
    if (field < 0 || index >= array->count()) {
        host::misuse(std::string("mxGetField of an entry or field that is not there: ") + name);
        return nullptr;
    }
    return array->field_data[index * array->fields.size() + static_cast<std::size_t>(field)].get();
}

void* mxGetData(const mxArray* array) {
    const HostScope scope;
    return data_of(array, "mxGetData");
}

double* mxGetPr(const mxArray* array) {
    const HostScope scope;
    if (present(array, "mxGetPr") && array->class_id != mxDOUBLE_CLASS) {
        host::misuse("mxGetPr of what is not double");
    }
    return static_cast<double*>(data_of(array, "mxGetPr"));
}

double* mxGetPi(const mxArray* array) {
    const HostScope scope;
    if (present(array, "mxGetPi") && !array->is_complex) {
        host::misuse("mxGetPi of what is not complex");
    }
    return reinterpret_cast<double*>(array->imaginary_data.get());
}

double mxGetScalar(const mxArray* array) {
    const HostScope scope;
    const void* data = data_of(array, "mxGetScalar");
    if (data == nullptr) {
        host::misuse("mxGetScalar of an empty array");
        return 0.0;
    }
    return host::with_number_type(array->class_id, [&](auto number) {
        return static_cast<double>(*static_cast<const decltype(number)*>(data));
    });
}

int mxGetString(const mxArray* array, char* buffer, mwSize buffer_length) {
    const HostScope scope;
    if (!mxIsChar(array) || buffer_length == 0) {
        return 1;
    }
    const auto* characters = reinterpret_cast<const std::uint16_t*>(array->data.get());
    const std::size_t kept = std::min<std::size_t>(array->count(), buffer_length - 1);
    std::transform(characters, characters + kept, buffer,
                   [](std::uint16_t character) { return static_cast<char>(character); });
    buffer[kept] = '\0';
    return kept < array->count() ? 1 : 0;
}

mxArray* mxCreateNumericMatrix(mwSize rows, mwSize columns, mxClassID class_id,
                               mxComplexity complexity) {
    host::fail_if_due(host::Fault::creation, "The host has no memory left.");
    const HostScope scope;
    return create({rows, columns}, class_id, complexity);
}

mxArray* mxCreateNumericArray(mwSize dimensions, const mwSize* sizes, mxClassID class_id,
                              mxComplexity complexity) {
    host::fail_if_due(host::Fault::creation, "The host has no memory left.");
    const HostScope scope;
    return create({sizes, sizes + dimensions}, class_id, complexity);
}

mxArray* mxCreateDoubleScalar(double value) {
    const HostScope scope;
    mxArray* array = create({1, 1}, mxDOUBLE_CLASS, mxREAL);
    *reinterpret_cast<double*>(array->data.get()) = value;
    return array;
}

mxArray* mxCreateString(const char* text) {
    host::fail_if_due(host::Fault::creation, "The host has no memory left.");
    const HostScope scope;
    const std::string_view characters(text);
    mxArray* array = create({1, characters.size()}, mxCHAR_CLASS, mxREAL);
    std::copy(characters.begin(), characters.end(),
              reinterpret_cast<std::uint16_t*>(array->data.get()));
    return array;
}

void mxDestroyArray(mxArray* array) {
    const HostScope scope;
    auto& created = host::session().created;
    const auto found = std::find_if(created.begin(), created.end(),
                                    [array](const auto& kept) { return kept.get() == array; });
    if (found == created.end()) {
        host::misuse("mxDestroyArray of an array that is not the module's");
    } else {
        created.erase(found);
    }
}
}
