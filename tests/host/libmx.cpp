// The host double's array functions: what the module finds in libmx.
#include <algorithm>
#include <functional>
#include <memory>
#include <numeric>
#include <string_view>

#include "host_double.h"

namespace {

using host::HostScope;

// What a function says of an array; of a null one, which crashes a host, nothing but a note.
template <class Answer>
auto ask(const mxArray* array, const char* function, Answer answer) {
    const HostScope scope;
    if (array == nullptr) {
        host::misuse(std::string(function) + " of a null array");
        return decltype(answer(*array))();
    }
    return answer(*array);
}

void* data_of(const mxArray* array, const char* function) {
    return ask(array, function, [function](const mxArray& a) -> void* {
        if (a.is_sparse || host::bytes_of_each(a.class_id) == 0) {
            host::misuse(std::string(function) + " of an array without full data");
        }
        return a.data.get();
    });
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

extern "C" {

bool mxIsStruct(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.class_id == mxSTRUCT_CLASS; });
}

bool mxIsNumeric(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) {
        return a.class_id >= mxDOUBLE_CLASS && a.class_id <= mxUINT64_CLASS;
    });
}

bool mxIsChar(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.class_id == mxCHAR_CLASS; });
}

bool mxIsComplex(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.is_complex; });
}

bool mxIsSparse(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.is_sparse; });
}

bool mxIsClass(const mxArray* array, const char* name) {
    return ask(array, __func__, [name](const mxArray& a) {
        if (name != std::string_view("string")) {
            host::misuse(std::string("mxIsClass for ") + name);
        }
        return a.class_id == mxUNKNOWN_CLASS;
    });
}

mxClassID mxGetClassID(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.class_id; });
}

size_t mxGetM(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.dims[0]; });
}

size_t mxGetN(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) {
        return std::accumulate(a.dims.begin() + 1, a.dims.end(), std::size_t{1},
                               std::multiplies<>());
    });
}

size_t mxGetNumberOfElements(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.count(); });
}

mwSize mxGetNumberOfDimensions(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return a.dims.size(); });
}

int mxGetFieldNumber(const mxArray* array, const char* name) {
    return ask(array, __func__, [name](const mxArray& a) {
        if (a.class_id != mxSTRUCT_CLASS) {
            host::misuse("mxGetFieldNumber of what is no structure");
        }
        const std::size_t index = host::field_index(a, name);
        return index < a.fields.size() ? static_cast<int>(index) : -1;
    });
}

int mxGetNumberOfFields(const mxArray* array) {
    return ask(array, __func__, [](const mxArray& a) { return static_cast<int>(a.fields.size()); });
}

const char* mxGetFieldNameByNumber(const mxArray* array, int number) {
    return ask(array, __func__, [number](const mxArray& a) {
        return a.fields.at(static_cast<std::size_t>(number)).first.c_str();
    });
}

mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name) {
    return ask(array, __func__, [&](const mxArray& a) -> mxArray* {
        const std::size_t field = host::field_index(a, name);
        if (field == a.fields.size() || index >= a.count()) {
            host::misuse(std::string("mxGetField of an entry or field that is not there: ") + name);
            return nullptr;
        }
        return a.fields[field].second[index].get();
    });
}

void* mxGetData(const mxArray* array) {
    return data_of(array, __func__);
}

double* mxGetPr(const mxArray* array) {
    if (mxGetClassID(array) != mxDOUBLE_CLASS) {
        host::misuse("mxGetPr of what is not double");
    }
    return static_cast<double*>(data_of(array, __func__));
}

double* mxGetPi(const mxArray* array) {
    if (!mxIsComplex(array)) {
        host::misuse("mxGetPi of what is not complex");
    }
    return reinterpret_cast<double*>(array->imaginary_data.get());
}

double mxGetScalar(const mxArray* array) {
    const void* data = data_of(array, __func__);
    if (data == nullptr) {
        host::misuse("mxGetScalar of an empty array");
        return 0.0;
    }
    double value = 0.0;
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
        host::misuse("mxDestroyArray of an array that is not the module's");
    }
}
}
