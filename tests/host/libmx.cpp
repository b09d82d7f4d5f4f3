// The host double's array functions: what the module finds in libmx.
#include <algorithm>
#include <functional>
#include <memory>
#include <numeric>
#include <string_view>

#include "host_double.h"

namespace {

using host::HostScope;
using host::misuse;

void* data_of(const mxArray* array, const char* function) {
    if (array->is_sparse || host::bytes_of_each(array->class_id) == 0) {
        misuse(std::string(function) + " of an array without full data");
    }
    return array->data.get();
}

// Leaves the module where an array cannot be made; before anything that has a destructor.
void fail_creation_if_due() {
    host::fail_if_due(host::Fault::creation, "The host has no memory left.");
}

mxArray* create(host::Sizes sizes, mxClassID class_id, mxComplexity complexity = mxREAL) {
    std::unique_ptr<mxArray> array = host::array_of(class_id, std::move(sizes));
    if (complexity == mxCOMPLEX) {
        array->is_complex = true;
        array->imaginary_data = std::move(host::array_of(class_id, array->dims)->data);
    }
    return host::keep(std::move(array));
}

}  // namespace

// What makes anything on the heap does it in the host's scope. Null arrays crash, as in a host.
extern "C" {

bool mxIsStruct(const mxArray* array) {
    return array->class_id == mxSTRUCT_CLASS;
}

bool mxIsCell(const mxArray* array) {
    return array->class_id == mxCELL_CLASS;
}

bool mxIsNumeric(const mxArray* array) {
    return array->class_id >= mxDOUBLE_CLASS && array->class_id <= mxUINT64_CLASS;
}

bool mxIsChar(const mxArray* array) {
    return array->class_id == mxCHAR_CLASS;
}

bool mxIsComplex(const mxArray* array) {
    return array->is_complex;
}

bool mxIsSparse(const mxArray* array) {
    return array->is_sparse;
}

bool mxIsClass(const mxArray* array, const char* name) {
    return array->class_id == mxUNKNOWN_CLASS && name == std::string_view("string");
}

mxClassID mxGetClassID(const mxArray* array) {
    return array->class_id;
}

size_t mxGetM(const mxArray* array) {
    return array->dims[0];
}

size_t mxGetN(const mxArray* array) {
    return std::accumulate(array->dims.begin() + 1, array->dims.end(), std::size_t{1},
                           std::multiplies<>());
}

size_t mxGetNumberOfElements(const mxArray* array) {
    return array->count();
}

mwSize mxGetNumberOfDimensions(const mxArray* array) {
    return array->dims.size();
}

int mxGetFieldNumber(const mxArray* array, const char* name) {
    const HostScope scope;
    if (!mxIsStruct(array)) {
        misuse("mxGetFieldNumber of what is no structure");
    }
    const std::size_t index = host::field_index(*array, name);
    return index < array->fields.size() ? static_cast<int>(index) : -1;
}

int mxGetNumberOfFields(const mxArray* array) {
    return static_cast<int>(array->fields.size());
}

const char* mxGetFieldNameByNumber(const mxArray* array, int number) {
    return array->fields.at(static_cast<std::size_t>(number)).first.c_str();
}

mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name) {
    const HostScope scope;
    const std::size_t field = host::field_index(*array, name);
    if (field == array->fields.size() || index >= array->count()) {
        misuse(std::string("mxGetField of an entry or field that is not there: ") + name);
        return nullptr;
    }
    return array->fields[field].second[index].get();
}

mxArray* mxGetCell(const mxArray* array, mwIndex index) {
    return index < array->cells.size() ? array->cells[index].get() : nullptr;
}

void* mxGetData(const mxArray* array) {
    const HostScope scope;
    return data_of(array, "mxGetData");
}

double* mxGetPr(const mxArray* array) {
    const HostScope scope;
    if (array->class_id != mxDOUBLE_CLASS) {
        misuse("mxGetPr of what is not double");
    }
    return static_cast<double*>(data_of(array, "mxGetPr"));
}

double* mxGetPi(const mxArray* array) {
    const HostScope scope;
    if (!array->is_complex) {
        misuse("mxGetPi of what is not complex");
    }
    return reinterpret_cast<double*>(array->imaginary_data.get());
}

double mxGetScalar(const mxArray* array) {
    const HostScope scope;
    const void* data = data_of(array, "mxGetScalar");
    double value = 0.0;
    if (data == nullptr) {
        misuse("mxGetScalar of an empty array");
        return value;
    }
    host::with_number_type(array->class_id, [&](auto number) {
        value = static_cast<double>(*static_cast<const decltype(number)*>(data));
    });
    return value;
}

int mxGetString(const mxArray* array, char* buffer, mwSize buffer_length) {
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
    fail_creation_if_due();
    const HostScope scope;
    return create({rows, columns}, class_id, complexity);
}

mxArray* mxCreateNumericArray(mwSize dimensions, const mwSize* sizes, mxClassID class_id,
                              mxComplexity complexity) {
    fail_creation_if_due();
    const HostScope scope;
    return create({sizes, sizes + dimensions}, class_id, complexity);
}

mxArray* mxCreateDoubleScalar(double value) {
    const HostScope scope;
    mxArray* array = create({1, 1}, mxDOUBLE_CLASS);
    *reinterpret_cast<double*>(array->data.get()) = value;
    return array;
}

mxArray* mxCreateStructMatrix(mwSize rows, mwSize columns, int fields, const char** /* names */) {
    fail_creation_if_due();
    const HostScope scope;
    if (fields != 0) {
        misuse("mxCreateStructMatrix with fields, which this host has no use for");
    }
    return create({rows, columns}, mxSTRUCT_CLASS);
}

int mxAddField(mxArray* array, const char* name) {
    const HostScope scope;
    array->fields.emplace_back(name, std::vector<host::Value>(array->count()));
    return static_cast<int>(array->fields.size()) - 1;
}

// The value goes with the structure from now on.
void mxSetFieldByNumber(mxArray* array, mwIndex index, int number, mxArray* value) {
    const HostScope scope;
    auto& created = host::session().created;
    const auto own = std::find_if(created.begin(), created.end(),
                                  [value](const auto& kept) { return kept.get() == value; });
    if (own == created.end()) {
        misuse("mxSetFieldByNumber with an array that is not the module's");
        return;
    }
    array->fields.at(static_cast<std::size_t>(number)).second.at(index) = std::move(*own);
    created.erase(own);
}

mxArray* mxCreateString(const char* text) {
    fail_creation_if_due();
    const HostScope scope;
    const std::string_view characters(text);
    mxArray* array = create({1, characters.size()}, mxCHAR_CLASS);
    std::copy(characters.begin(), characters.end(),
              reinterpret_cast<std::uint16_t*>(array->data.get()));
    return array;
}

void mxDestroyArray(mxArray* array) {
    const HostScope scope;
    auto& created = host::session().created;
    if (std::erase_if(created, [array](const auto& kept) { return kept.get() == array; }) == 0) {
        misuse("mxDestroyArray of an array that is not the module's");
    }
}
}
