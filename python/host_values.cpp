// NumPy's arrays, texts and records behind the door's values and results.
#include <algorithm>
#include <cstring>
#include <new>
#include <numeric>
#include <optional>

#include "core/counts.h"
#include "core/input_error.h"
#include "python/call.h"
#include "python/values.h"

namespace kavro {
namespace {

template <class Content>
const Content* as(const Value* value) {
    return value != nullptr ? std::get_if<Content>(&value->content) : nullptr;
}

// What cannot be written in UTF-8 is no text.
std::optional<std::string> utf8(const py::handle& text) {
    py::ssize_t size = 0;
    const char* characters = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
    if (characters == nullptr) {
        PyErr_Clear();
        return std::nullopt;
    }
    return std::string(characters, static_cast<std::size_t>(size));
}

Value numbers_from(const py::object& object) {
    py::array array = py::array::ensure(object);
    if (!array) {
        return {};
    }
    const char kind = array.dtype().kind();
    if (std::strchr("biufc", kind) == nullptr) {
        return {};
    }
    const bool complex = kind == 'c';
    if (complex) {
        array = array.attr("real");
    }
    using InColumnOrder = py::array_t<double, py::array::f_style | py::array::forcecast>;
    const auto numbers = InColumnOrder::ensure(array);
    if (!numbers) {
        throw std::bad_alloc();
    }
    const auto extent = [&](py::ssize_t i) { return static_cast<std::size_t>(numbers.shape(i)); };
    const auto size = static_cast<std::size_t>(numbers.size());
    Array matrix{numbers.data(), 1, size, 2, kind == 'b', complex, numbers.ndim() > 0};
    if (numbers.ndim() >= 2) {
        matrix.rows = extent(0);
        matrix.dimensions = static_cast<std::size_t>(numbers.ndim());
        matrix.columns = 1;
        for (py::ssize_t i = 1; i < numbers.ndim(); ++i) {
            matrix.columns *= extent(i);
        }
    }
    return {numbers, matrix};
}

// Nothing where an entry is no text.
std::optional<Texts> texts_from(const py::list& list) {
    Texts texts;
    for (const auto& entry : list) {
        std::optional<std::string> text =
            py::isinstance<py::str>(entry) ? utf8(entry) : std::nullopt;
        if (!text) {
            return std::nullopt;
        }
        texts.push_back(std::move(*text));
    }
    return texts;
}

Value record_from(const py::tuple& tuple) {
    Record record{tuple[0].cast<std::size_t>(), {}};
    using Rows = py::array_t<double, py::array::c_style>;
    for (const auto& [name, entries] : tuple[1].cast<py::dict>()) {
        Column column{utf8(py::str(name)).value_or("?"),
                      py::reinterpret_borrow<py::object>(entries), nullptr, 0,
                      std::make_unique<Value>()};
        if (py::isinstance<Rows>(entries)) {
            const auto rows = py::reinterpret_borrow<Rows>(entries);
            if (rows.ndim() == 1 || rows.ndim() == 2) {
                column.numbers = rows.data();
                column.width = rows.ndim() == 1 ? 1 : static_cast<std::size_t>(rows.shape(1));
            }
        }
        record.columns.push_back(std::move(column));
    }
    return {{}, std::move(record)};
}

const Column* column_of(const Value* value, const char* name) {
    const Record* record = as<Record>(value);
    if (record == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(record->columns.begin(), record->columns.end(),
                                    [name](const Column& column) { return column.name == name; });
    return found != record->columns.end() ? &*found : nullptr;
}

py::array zeros(const std::vector<py::ssize_t>& shape, const py::dtype& type) {
    using namespace py::literals;
    return py::module_::import("numpy").attr("zeros")(py::tuple(py::cast(shape)), "dtype"_a = type,
                                                      "order"_a = "F");
}

// The user's own array for the answer, filled with zeros.
py::array checked_out(const py::object& out, const std::vector<py::ssize_t>& shape,
                      const py::dtype& type) {
    if (!py::isinstance<py::array>(out)) {
        throw InputError("The argument 'out' must be a NumPy array.");
    }
    auto array = py::reinterpret_borrow<py::array>(out);
    const bool in_order = (array.flags() & py::array::f_style) != 0;
    if (!array.dtype().equal(type) || !array.writeable() || !in_order ||
        !std::equal(shape.begin(), shape.end(), array.shape(), array.shape() + array.ndim())) {
        const py::str text =
            py::str(
                "The argument 'out' must be a writeable array of {} and shape {} in Fortran "
                "order, but it is {} of {} and shape {}{}.")
                .format(type, py::tuple(py::cast(shape)),
                        array.writeable() ? "one" : "a read-only one", array.dtype(),
                        array.attr("shape"), in_order ? "" : " in another order");
        throw InputError(text.cast<std::string>());
    }
    std::memset(array.mutable_data(), 0, static_cast<std::size_t>(array.nbytes()));
    return array;
}

}  // namespace

Value argument_from(const py::object& object) {
    return py::isinstance<py::tuple>(object)
               ? record_from(py::reinterpret_borrow<py::tuple>(object))
               : value_from(object);
}

Value value_from(const py::object& object) {
    if (py::isinstance<py::str>(object)) {
        std::optional<std::string> text = utf8(object);
        return text ? Value{{}, std::move(*text)} : Value{};
    }
    if (py::isinstance<py::list>(object) && py::len(object) > 0) {
        if (auto texts = texts_from(py::reinterpret_borrow<py::list>(object))) {
            return {{}, std::move(*texts)};
        }
    }
    if (PyCallable_Check(object.ptr()) != 0) {
        return {object, Function{}};
    }
    return numbers_from(object);
}

bool is_record(const Value* value) {
    return as<Record>(value) != nullptr;
}

bool has_field(const Value* record, const char* name) {
    return column_of(record, name) != nullptr;
}

std::vector<std::string> field_names(const Value* value) {
    std::vector<std::string> names;
    if (const Record* record = as<Record>(value)) {
        for (const Column& column : record->columns) {
            names.push_back(column.name);
        }
    }
    return names;
}

const Value* field_of(const Value* record, std::size_t i, const char* name) {
    const Column* column = column_of(record, name);
    if (column == nullptr || i >= entries_of(record)) {
        return nullptr;
    }
    if (column->numbers != nullptr) {
        column->shown->content =
            Array{column->numbers + i * column->width, 1, column->width, 2, false, false, false};
        return column->shown.get();
    }
    const py::object entry = column->entries[py::int_(i)];
    if (entry.is_none()) {
        return nullptr;
    }
    *column->shown = value_from(entry);
    return column->shown.get();
}

std::size_t entries_of(const Value* value) {
    if (const Record* record = as<Record>(value)) {
        return record->entries;
    }
    if (const auto* text = as<std::string>(value)) {
        return text->size();
    }
    return rows_of(value) * columns_of(value);
}

std::size_t dimensions_of(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr ? array->dimensions : 2;
}

bool is_list(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr && array->list;
}

std::size_t rows_of(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr ? array->rows : 1;
}

std::size_t columns_of(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr ? array->columns : 1;
}

bool is_numeric(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr && !array->logical;
}

bool is_logical(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr && array->logical;
}

bool is_complex(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr && array->complex;
}

const double* doubles_of(const Value* value) {
    const Array* array = as<Array>(value);
    return array != nullptr ? array->numbers : nullptr;
}

std::vector<double> first_numbers(const Value* value, std::size_t count) {
    const double* numbers = doubles_of(value);
    return {numbers, numbers + count};
}

bool is_text(const Value* value) {
    return as<std::string>(value) != nullptr;
}

std::optional<std::string> text_of(const Value* value) {
    const auto* text = as<std::string>(value);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::vector<std::string>> texts_of(const Value* value) {
    if (const auto* texts = as<Texts>(value)) {
        return *texts;
    }
    const auto* text = as<std::string>(value);
    return text != nullptr ? std::optional(Texts{*text}) : std::nullopt;
}

bool is_function(const Value* value) {
    return as<Function>(value) != nullptr;
}

Result* new_zeros(std::span<const int> extents, bool complex) {
    Call& call = Call::innermost();
    const std::vector<py::ssize_t> shape(extents.begin(), extents.end());
    const auto type = complex ? py::dtype::of<std::complex<double>>() : py::dtype::of<double>();
    const auto count = std::accumulate(
        extents.begin(), extents.end(), std::size_t{1},
        [](std::size_t product, int extent) { return product * static_cast<std::size_t>(extent); });
    require_memory(count, (complex ? 3 : 1) * sizeof(double), "output values");
    // The user's own array serves the answer; what a report holds comes after it.
    const bool is_answer = call.results.empty();
    py::array array =
        is_answer && !call.out.is_none() ? checked_out(call.out, shape, type) : zeros(shape, type);
    Result& result = call.results.emplace_back(Result{array});
    result.real = static_cast<double*>(array.mutable_data());
    if (complex) {
        result.real += count;
        result.imaginary_parts = zeros(shape, py::dtype::of<double>());
        result.imaginary = static_cast<double*>(result.imaginary_parts.mutable_data());
    }
    return &result;
}

Result* new_text(const std::string& text) {
    return &Call::innermost().results.emplace_back(Result{py::str(text)});
}

Result* new_record() {
    Call& call = Call::innermost();
    if (call.results.empty() && !call.out.is_none()) {
        throw InputError(
            "The argument 'out' takes one array, but a list of measures makes a dict of arrays.");
    }
    return &call.results.emplace_back(Result{py::dict()});
}

// The fields of a record share their numbers with it from now on; they are real.
void add_field(Result* record, const char* name, Result* value) {
    record->object[name] = value->object;
}

double* real_parts(Result* result) {
    return result->real;
}

double* imaginary_parts(Result* result) {
    return result->imaginary;
}

py::object Result::finished() {
    if (imaginary != nullptr) {
        // From the front: number i lands before or where the real parts from i on still lie.
        auto array = py::reinterpret_borrow<py::array>(object);
        auto* pairs = static_cast<double*>(array.mutable_data());
        const auto count = static_cast<std::size_t>(array.size());
        for (std::size_t i = 0; i < count; ++i) {
            const double real_part = real[i];
            pairs[2 * i] = real_part;
            pairs[2 * i + 1] = imaginary[i];
        }
    }
    return object;
}

}  // namespace kavro
