// The host double's values and calls.
#include "host_double.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csetjmp>
#include <functional>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <utility>

std::size_t mxArray_tag::count() const {
    return std::accumulate(dims.begin(), dims.end(), std::size_t{1}, std::multiplies<>());
}

namespace host {

namespace {

std::atomic<bool> call_runs = false;
thread_local bool in_host = false;

}  // namespace

bool in_module() {
    return call_runs && !in_host;
}

HostScope::HostScope() : former_(in_host) {
    in_host = true;
}

HostScope::~HostScope() {
    in_host = former_;
}

std::unique_ptr<mxArray> array_of(mxClassID class_id, std::vector<std::size_t> dims) {
    auto array = std::make_unique<mxArray>();
    array->class_id = class_id;
    array->dims = std::move(dims);
    const std::size_t bytes =
        with_number_type(class_id, [&](auto number) { return array->count() * sizeof(number); });
    if (bytes > 0) {
        array->data = std::make_unique<std::byte[]>(bytes);
    }
    return array;
}

std::size_t field_index(const mxArray& structure, const std::string& name) {
    const auto found = std::find(structure.fields.begin(), structure.fields.end(), name);
    return static_cast<std::size_t>(found - structure.fields.begin());
}

namespace {

Value filled(mxClassID class_id, std::vector<std::size_t> dims, const std::vector<double>& values) {
    Value array = array_of(class_id, std::move(dims));
    with_number_type(class_id, [&](auto number) {
        auto* data = reinterpret_cast<decltype(number)*>(array->data.get());
        std::transform(values.begin(), values.end(), data,
                       [](double value) { return static_cast<decltype(number)>(value); });
    });
    return array;
}

}  // namespace

Value numbers(std::vector<double> values, std::size_t rows, std::size_t columns,
              mxClassID class_id) {
    return filled(class_id, {rows, columns}, values);
}

Value row(std::vector<double> values, mxClassID class_id) {
    return filled(class_id, {1, values.size()}, values);
}

Value scalar(double value) {
    return row({value});
}

Value complex_scalar(double real) {
    Value array = row({real});
    array->is_complex = true;
    return array;
}

Value sparse_row(std::vector<double> values) {
    Value array = row(std::move(values));
    array->is_sparse = true;
    return array;
}

Value logical(bool value) {
    return filled(mxLOGICAL_CLASS, {1, 1}, {value ? 1.0 : 0.0});
}

Value text(const std::string& characters) {
    return filled(mxCHAR_CLASS, {1, characters.size()}, {characters.begin(), characters.end()});
}

Value string_object(const std::string& characters) {
    auto array = std::make_shared<mxArray>();
    array->class_id = mxUNKNOWN_CLASS;
    array->dims = {1, 1};
    array->characters = characters;
    return array;
}

Value function(std::function<void(double)> body) {
    auto array = std::make_shared<mxArray>();
    array->class_id = mxFUNCTION_CLASS;
    array->dims = {1, 1};
    array->body = std::move(body);
    return array;
}

Value cell() {
    auto array = std::make_shared<mxArray>();
    array->class_id = mxCELL_CLASS;
    array->dims = {1, 1};
    return array;
}

Value structure(std::size_t rows, std::size_t columns) {
    auto array = std::make_shared<mxArray>();
    array->class_id = mxSTRUCT_CLASS;
    array->dims = {rows, columns};
    return array;
}

void set(const Value& structure, const std::string& field, Value value, std::size_t entry) {
    const std::size_t index = field_index(*structure, field);
    std::vector<Value>& data = structure->field_data;
    if (index == structure->fields.size()) {
        const std::size_t width = structure->fields.size();
        structure->fields.push_back(field);
        for (std::size_t i = structure->count(); i-- > 0;) {
            data.insert(data.begin() + static_cast<std::ptrdiff_t>((i + 1) * width),
                        numbers({}, 0, 0));
        }
    }
    if (structure->count() > 0) {
        data.at(entry * structure->fields.size() + index) = std::move(value);
    }
}

Value get(const Value& structure, const std::string& field, std::size_t entry) {
    return structure->field_data.at(entry * structure->fields.size() +
                                    field_index(*structure, field));
}

Value copy_of(const Value& structure) {
    Value copy = host::structure(structure->dims[0], structure->dims[1]);
    copy->fields = structure->fields;
    copy->field_data = structure->field_data;
    return copy;
}

void remove(const Value& structure, const std::string& field) {
    const std::size_t index = field_index(*structure, field);
    const std::size_t width = structure->fields.size();
    structure->fields.erase(structure->fields.begin() + static_cast<std::ptrdiff_t>(index));
    for (std::size_t i = structure->count(); i-- > 0;) {
        structure->field_data.erase(structure->field_data.begin() +
                                    static_cast<std::ptrdiff_t>(i * width + index));
    }
}

std::vector<std::size_t> sizes(const Value& array) {
    return array->dims;
}

std::vector<double> values(const Value& array) {
    const auto* data = reinterpret_cast<const double*>(array->data.get());
    return {data, data + array->count()};
}

std::vector<double> imaginary(const Value& array) {
    const auto* data = reinterpret_cast<const double*>(array->imaginary_data.get());
    return {data, data + array->count()};
}

std::string characters(const Value& array) {
    const auto* data = reinterpret_cast<const std::uint16_t*>(array->data.get());
    std::string text;
    std::transform(data, data + array->count(), std::back_inserter(text),
                   [](std::uint16_t character) { return static_cast<char>(character); });
    return text;
}

mxArray* keep(std::unique_ptr<mxArray> array) {
    session().created.push_back(std::move(array));
    return session().created.back().get();
}

Session& session() {
    static Session current;
    return current;
}

void misuse(const std::string& what) {
    session().outcome.misuses.push_back(what);
}

namespace {

// The host's own exception. It derives from what a module might be tempted to catch.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::jmp_buf way_out;

// A frame without destructors, for the jump to land in. False where the module was left by it.
bool entered_and_returned(Entry* entry, int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs) {
    if (setjmp(way_out) != 0) {
        return false;
    }
    call_runs = true;
    in_host = false;
    entry(nlhs, plhs, nrhs, prhs);
    return true;
}

}  // namespace

void raise(const char* text) {
    in_host = true;
    session().outcome.error = text;
    if (session().leaving == Leaving::jump) {
        std::longjmp(way_out, 1);  // nothing here or in the callers above has a destructor
    }
    const HostError error(text);
    in_host = false;  // what is unwound now is the module's
    throw error;
}

void fail_if_due(Fault fault, const char* text) {
    if (session().fault == fault) {
        session().fault = Fault::none;
        raise(text);
    }
}

Outcome call(Entry* entry, int nlhs, const std::vector<Value>& arguments, Leaving leaving,
             Fault fault) {
    session() = Session();
    session().leaving = leaving;
    session().fault = fault;
    std::vector<const mxArray*> prhs;
    for (const Value& argument : arguments) {
        prhs.push_back(argument.get());
    }
    std::array<mxArray*, 4> plhs{};
    bool returned = false;
    try {
        returned = entered_and_returned(entry, nlhs, plhs.data(), static_cast<int>(prhs.size()),
                                        prhs.data());
    } catch (const HostError&) {
        call_runs = false;
    }
    call_runs = false;
    // As in a host, arrays that are not returned go with the call.
    for (std::unique_ptr<mxArray>& array : session().created) {
        if (returned && array.get() == plhs[0]) {
            session().outcome.output = std::move(array);
        } else if (returned) {
            misuse("an array was created and not returned");
        }
    }
    if (!returned && plhs[0] != nullptr) {
        misuse("a partial result was handed out");
    }
    return std::exchange(session(), Session()).outcome;
}

}  // namespace host
