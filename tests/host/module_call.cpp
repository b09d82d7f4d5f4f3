#include "module_call.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live = 0;
std::atomic<long> until_failure = 0;

void* allocate(std::size_t size, std::size_t alignment) {
    if (host::in_module()) {
        if (until_failure > 0 && until_failure.fetch_sub(1) == 1) {
            throw std::bad_alloc();
        }
        ++live;
    }
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) / alignment;
    void* memory = std::aligned_alloc(alignment, rounded * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void release(void* memory) {
    if (memory != nullptr && host::in_module()) {
        --live;
    }
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}

namespace host {

using kavro::Operation;
using kavro::Shape;

long live_allocations() {
    return live;
}

long fail_allocation(long n) {
    return until_failure.exchange(n);
}

// ---- values

Value discs(std::size_t n) {
    const Value disc = record({{"radius", 2e-3}});
    set(disc, "shape", text("circ"));
    set(disc, "euler", row({0, 0, 0}));
    const Value array = repeated(disc, n);
    set(array, "center", empty());
    for (std::size_t i = 0; i < n; ++i) {
        set(array, "center", row({1e-3 * static_cast<double>(i), 0, 0}), i);
    }
    return array;
}

Value sampled_excitation(const std::vector<double>& signal) {
    const Value excitation = record({{"ts", 1e-7}, {"w", 2e-6}, {"clip_threshold", 0}});
    set(excitation, "signal", row(signal));
    return excitation;
}

Value list_of_points(std::vector<double> x, const std::vector<double>& y,
                     const std::vector<double>& z) {
    const std::size_t n = x.size();
    x.insert(x.end(), y.begin(), y.end());
    x.insert(x.end(), z.begin(), z.end());
    const Value grid = structure();
    set(grid, "coordinates", numbers(x, {n, 3}));
    return grid;
}

Value list_of_times(const std::vector<double>& times) {
    const Value list = structure();
    set(list, "time_samples", row(times));
    return list;
}

Value march_parameters(const Operation& operation) {
    return operation.kind == kavro::OperationKind::kzk_cw
               ? record(
                     {{"extent", 3}, {"points_per_radius", 10}, {"growth", 0.01}, {"harmonics", 2}})
               : record({{"extent", 3}, {"points_per_radius", 10}, {"step", 0.01}});
}

Value elements_with(const Operation& operation, const Shape* further) {
    std::vector<const Shape*> shapes;
    for (const Shape& shape : kavro::shapes()) {
        shapes.insert(shapes.end(), implements(operation, shape) ? 2 : 0, &shape);
    }
    if (further != nullptr) {
        shapes.push_back(further);
    }
    const Value elements = structure(1, shapes.size());
    const double placed = operation.uses(kavro::input_kzk) ? 0.0 : 1.0;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        const auto number = static_cast<double>(i);
        double size = 1e-3;
        for (const char* name : shapes[i]->sizes) {
            set(elements, name, scalar(size), i);
            size *= 2.5;
        }
        set(elements, "shape", text(shapes[i]->identifier), i);
        set(elements, "center", row({1e-3 * number * placed, 0, -1e-3 * number * placed}), i);
        set(elements, "euler", row({0.1 * number * placed, 0.2 * placed, 0}), i);
        set(elements, "amplitude", scalar(2 + number), i);
        set(elements, "phase", scalar(0.3 * number * placed), i);
        set(elements, "time_delay", scalar(1e-7 * number * placed), i);
    }
    return elements;
}

// ---- calls

Call::Call()
    : arguments_{
          {"elements", discs(1)},
          {"grid", record({{"xmin", -1e-3},
                           {"xmax", 1e-3},
                           {"ymin", 0},
                           {"ymax", 0},
                           {"zmin", 1e-3},
                           {"zmax", 2e-3}})},
          {"medium", record({{"soundspeed", 1500},
                             {"density", 1000},
                             {"attenuationdBcmMHz", 0},
                             {"powerlawexponent", 0},
                             {"specificheat", 0},
                             {"specificheatofblood", 0},
                             {"thermalconductivity", 0},
                             {"bloodperfusion", 0},
                             {"nonlinearityparameter", 0}})},
          {"time", record({{"tmin", 0}, {"tmax", 4e-6}, {"deltat", 1e-7}})},
          {"ndiv", scalar(8)},
          {"excitation", record({{"type", 2}, {"f0", 1e6}, {"pulse_width", 2e-6}, {"B", 0}})}} {
    set("grid.delta", row({1e-3, 1e-3, 1e-3}));
}

Call::Call(const Operation& operation) {
    const Call scene;
    arguments_ = {{"method", text(operation.name)}};
    for (const char* name : {"elements", "grid", "medium"}) {
        set(name, scene[name]);
    }
    unnamed_ = arguments_.size();
    if (operation.uses(kavro::input_frequency)) {
        set("f0", 1e6);
    }
    if (operation.uses(kavro::input_time)) {
        set("time", scene["time"]);
    }
    if (operation.uses(kavro::input_excitation)) {
        set("excitation", operation.waveform_demand == kavro::WaveformDemand::sampled
                              ? sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1})
                              : scene["excitation"]);
    }
    if (operation.uses(kavro::input_kzk)) {
        set("kzk", march_parameters(operation));
    }
}

Call::Call(const std::string& method) : Call(*kavro::operation_of(method)) {}

Call& Call::set(const std::string& place, const Value& value) {
    const std::size_t dot = place.find('.');
    const std::string name = place.substr(0, dot);
    const auto argument = std::find_if(arguments_.begin(), arguments_.end(),
                                       [&](const auto& given) { return given.first == name; });
    if (dot != std::string::npos) {
        const std::string field = place.substr(dot + 1);
        const Value changed = copy_of(argument->second);
        if (value) {
            host::set(changed, field, value, changed->count() - 1);
        } else {
            std::erase_if(changed->fields, [&](const auto& given) { return given.first == field; });
        }
        argument->second = changed;
    } else if (argument == arguments_.end()) {
        arguments_.emplace_back(name, value);
    } else if (value) {
        argument->second = value;
    } else {
        arguments_.erase(argument);
    }
    return *this;
}

Call Call::with(const std::string& place, const Value& value) const {
    return Call(*this).set(place, value);
}

const Value& Call::operator[](const std::string& name) const {
    return std::find_if(arguments_.begin(), arguments_.end(),
                        [&](const auto& given) { return given.first == name; })
        ->second;
}

std::string Call::method() const {
    return unnamed_ < arguments_.size() ? characters(arguments_[0].second) : "";
}

std::vector<Value> Call::all() const {
    std::vector<Value> values;
    for (std::size_t i = 0; i < arguments_.size(); ++i) {
        if (i >= unnamed_) {
            values.push_back(text(arguments_[i].first));
        }
        values.push_back(arguments_[i].second);
    }
    return values;
}

Outcome run(const std::vector<Value>& arguments, int nlhs, Leaving leaving, Fault fault) {
    const long before = live_allocations();
    Outcome outcome = call(mexFunction, nlhs, arguments, leaving, fault);
    EXPECT_EQ(live_allocations(), before) << "left on the heap";
    EXPECT_EQ(outcome.misuses, std::vector<std::string>());
    EXPECT_NE(outcome.error.has_value(), outcome.output != nullptr);
    return outcome;
}

Outcome run(const Call& call, Leaving leaving, Fault fault) {
    return run(call.all(), call.nlhs, leaving, fault);
}

std::vector<double> pressure(const Call& call) {
    const Outcome outcome = run(call);
    EXPECT_EQ(outcome.error, std::nullopt);
    return outcome.output ? values(outcome.output) : std::vector<double>();
}

void expect_error(const std::vector<Value>& arguments, const std::string& error,
                  const std::string& printed, int nlhs) {
    for (const Leaving leaving : {Leaving::exception, Leaving::jump}) {
        const Outcome outcome = run(arguments, nlhs, leaving);
        const std::string text = outcome.error.value_or("");
        if (error.ends_with('*')) {
            EXPECT_EQ(text.substr(0, error.size() - 1) + "*", error);
        } else {
            EXPECT_EQ(text, error);
        }
        EXPECT_EQ(outcome.printed, printed);
    }
}

void expect_error(const Call& call, const std::string& error, const std::string& printed) {
    expect_error(call.all(), error, printed, call.nlhs);
}

namespace {

Value value_of(const std::string& written) {
    if (written == "missing" || written == "{}" || written == "true") {
        return written == "{}" ? cell() : written == "true" ? logical(true) : nullptr;
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
        return structure(static_cast<std::size_t>(by_rows.at(0)),
                         static_cast<std::size_t>(by_rows.at(1)));
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

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

// What lies between the separators, without the spaces around it; at least `least` parts.
std::vector<std::string> parts_of(const std::string& text, const std::string& separator,
                                  std::size_t least = 0) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + separator.size()) {
        end = text.find(separator, begin);
        std::string part = text.substr(begin, end - begin);
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    parts.resize(std::max(parts.size(), least));
    return parts;
}

}  // namespace

void expect_errors(const Call& call, const std::string& table) {
    std::string above;
    for (const std::string& line : parts_of(table, "\n")) {
        const std::vector<std::string> cells = parts_of(replaced(line, "\\n", "\n"), " | ", 4);
        std::string written = replaced(cells[1], "no_structure", "1, 'x', {}, []");
        written = replaced(written, "no_real", "no_number, 1i");
        written = replaced(written, "no_number", "missing, [], '1', true, {}, sparse[1]");
        above = cells[2] == "^" ? above : cells[2];
        for (const std::string& place : parts_of(cells[0], " ")) {
            for (const std::string& value : parts_of(written, ", ")) {
                SCOPED_TRACE(place + " = " + value);
                const auto filled = [&](std::string text) {
                    text = replaced(text, "@", place.substr(place.find('.') + 1));
                    text = replaced(text, "#", replaced(value, "'", ""));
                    return replaced(text, "$", call.method());
                };
                expect_error(call.with(place, value_of(value)), filled(above), filled(cells[3]));
            }
        }
    }
}

void expect_no_harm_of_failing_allocations(const Call& call) {
    const std::vector<double> wanted = pressure(call);
    long n = 1;
    for (;; ++n) {
        fail_allocation(n);
        const Outcome outcome = run(call, n % 2 == 0 ? Leaving::exception : Leaving::jump);
        if (fail_allocation(0) > 0) {
            break;  // the call makes fewer than n
        }
        if (outcome.error) {
            EXPECT_EQ(outcome.error, "Out of memory.") << "allocation " << n;
        } else {
            EXPECT_EQ(values(outcome.output), wanted) << "allocation " << n;
        }
    }
    EXPECT_GT(n, 20);
}

void Tally::run(const std::vector<Value>& arguments) {
    const Outcome outcome =
        host::run(arguments, 1, calls++ % 2 == 0 ? Leaving::exception : Leaving::jump);
    if (outcome.error) {
        errors.insert(*outcome.error);
    } else {
        ++results;
    }
}

void Tally::expect(std::size_t least_results, std::size_t least_errors) const {
    EXPECT_GT(results, least_results);
    EXPECT_GT(errors.size(), least_errors);
    for (const std::string& error : errors) {
        EXPECT_EQ(error.find("unspecified"), std::string::npos) << error;
        EXPECT_EQ(error.find("std::"), std::string::npos) << error;
    }
}

double largest(const std::vector<double>& values) {
    double magnitude = 0.0;
    for (const double value : values) {
        magnitude = std::max(magnitude, std::abs(value));
    }
    return magnitude;
}

}  // namespace host
