// The host double's values and calls.
#include "host_double.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csetjmp>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <stdexcept>

std::size_t mxArray_tag::count() const {
    return std::accumulate(dims.begin(), dims.end(), std::size_t{1}, std::multiplies<>());
}

namespace host {

namespace {

std::atomic<bool> call_runs = false;

}  // namespace

thread_local bool in_host = false;

bool in_module() {
    return call_runs && !in_host;
}

std::size_t bytes_of_each(mxClassID class_id) {
    std::size_t bytes = 0;
    with_number_type(class_id, [&](auto number) { bytes = sizeof(number); });
    return bytes;
}

std::unique_ptr<mxArray> array_of(mxClassID class_id, Sizes sizes) {
    auto array = std::make_unique<mxArray>();
    array->class_id = class_id;
    array->dims = std::move(sizes);
    if (const std::size_t bytes = array->count() * bytes_of_each(class_id)) {
        array->data = std::make_unique<std::byte[]>(bytes);
    }
    return array;
}

std::size_t field_index(const mxArray& structure, const std::string& name) {
    const auto found = std::find_if(structure.fields.begin(), structure.fields.end(),
                                    [&](const auto& field) { return field.first == name; });
    return static_cast<std::size_t>(found - structure.fields.begin());
}

Value numbers(const std::vector<double>& values, Sizes sizes, mxClassID class_id) {
    Value array = array_of(class_id, std::move(sizes));
    with_number_type(class_id, [&](auto number) {
        std::transform(values.begin(), values.end(),
                       reinterpret_cast<decltype(number)*>(array->data.get()),
                       [](double value) { return static_cast<decltype(number)>(value); });
    });
    return array;
}

Value row(const std::vector<double>& values, mxClassID class_id) {
    return numbers(values, {1, values.size()}, class_id);
}

Value text(const std::string& characters) {
    return row({characters.begin(), characters.end()}, mxCHAR_CLASS);
}

Value string_object(const std::string& characters) {
    Value array = array_of(mxUNKNOWN_CLASS, {1, 1});
    array->characters = characters;
    return array;
}

Value function(std::function<void(double)> body) {
    Value array = array_of(mxFUNCTION_CLASS, {1, 1});
    array->body = std::move(body);
    return array;
}

Value structure(std::size_t rows, std::size_t columns) {
    return array_of(mxSTRUCT_CLASS, {rows, columns});
}

Value value(const std::string& written) {
    if (written == "missing") {
        return nullptr;
    }
    if (written == "{}") {
        return array_of(mxCELL_CLASS, {1, 1});
    }
    if (written == "true" || written == "false") {
        return row({written == "true" ? 1.0 : 0.0}, mxLOGICAL_CLASS);
    }
    if (written.starts_with('\'')) {
        return text(written.substr(1, written.size() - 2));
    }
    std::vector<double> by_rows;
    std::size_t rows = 1;
    for (const char* at = written.c_str(); *at != '\0';) {
        char* end = nullptr;
        const double number = std::strtod(at, &end);
        if (end != at) {
            by_rows.push_back(number);
        } else if (*end++ == ';') {
            ++rows;
        }
        at = end;
    }
    if (written.starts_with("struct")) {
        return array_of(mxSTRUCT_CLASS, {by_rows.begin(), by_rows.end()});
    }
    const std::size_t columns = by_rows.size() / rows;
    std::vector<double> by_columns(by_rows.size());
    for (std::size_t i = 0; i < by_rows.size(); ++i) {
        by_columns[i % columns * rows + i / columns] = by_rows[i];
    }
    Value array = numbers(by_columns, {columns > 0 ? rows : 0, columns});
    array->is_sparse = written.starts_with("sparse");
    array->is_complex = written.ends_with('i');
    return array;
}

Value record(const std::string& fields) {
    Value array = structure(1, 1);
    for (const std::string& field : parts_of(fields, ", ")) {
        const std::vector<std::string> name_and_value = parts_of(field, " = ");
        set(array, name_and_value.at(0), value(name_and_value.at(1)));
    }
    return array;
}

std::vector<std::string> parts_of(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + separator.size()) {
        end = text.find(separator, begin);
        std::string part = text.substr(begin, end - begin);
        part.erase(0, part.find_first_not_of(" \n"));
        part.erase(part.find_last_not_of(" \n") + 1);
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

void set(const Value& structure, const std::string& field, Value value, std::size_t entry) {
    const std::size_t index = field_index(*structure, field);
    if (!value) {
        std::erase_if(structure->fields, [&](const auto& had) { return had.first == field; });
        return;
    }
    if (index == structure->fields.size()) {
        structure->fields.emplace_back(field,
                                       std::vector<Value>(structure->count(), numbers({}, {0, 0})));
    }
    if (structure->count() > 0) {
        structure->fields[index].second.at(entry) = std::move(value);
    }
}

Value get(const Value& structure, const std::string& field, std::size_t entry) {
    return structure->fields.at(field_index(*structure, field)).second.at(entry);
}

Value copy_of(const Value& structure) {
    const Value copy = host::structure(structure->dims[0], structure->dims[1]);
    copy->fields = structure->fields;
    return copy;
}

Value repeated(const Value& record, std::size_t n) {
    Value array = structure(1, n);
    for (const auto& [name, entries] : record->fields) {
        array->fields.emplace_back(name, std::vector<Value>(n, entries[0]));
    }
    return array;
}

std::vector<double> values(const Value& array) {
    std::vector<double> all;
    for (const std::unique_ptr<std::byte[]>* part : {&array->data, &array->imaginary_data}) {
        const auto* data = reinterpret_cast<const double*>(part->get());
        all.insert(all.end(), data, data + (data != nullptr ? array->count() : 0));
    }
    return all;
}

std::string characters(const Value& array) {
    std::string text(array->count() + 1, '\0');
    mxGetString(array.get(), text.data(), text.size());
    text.pop_back();
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
