#include "module_call.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <numeric>
#include <random>
#include <set>

#include "core/rule_ladder.h"

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
    const Value array =
        repeated(record("shape = 'circ', radius = 2e-3, center = [0 0 0], euler = [0 0 0]"), n);
    for (std::size_t i = 1; i < n; ++i) {
        set(array, "center", row({1e-3 * static_cast<double>(i), 0, 0}), i);
    }
    return array;
}

const Value& sampled_excitation() {
    static const Value excitation =
        record("signal = [0 1 2 1 0 -1 -2 -1], ts = 1e-7, w = 2e-6, clip_threshold = 0");
    return excitation;
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
            set(elements, name, row({size}), i);
            size *= 2.5;
        }
        if (shapes[i]->corners != nullptr) {
            set(elements, shapes[i]->corners, numbers({0, 2e-3, 0, 0, 0, 1e-3}, {3, 2}), i);
        }
        set(elements, "shape", text(shapes[i]->identifier), i);
        set(elements, "center", row({1e-3 * number * placed, 0, -1e-3 * number * placed}), i);
        set(elements, "euler", row({0.1 * number * placed, 0.2 * placed, 0}), i);
        set(elements, "amplitude", row({2 + number}), i);
        set(elements, "phase", row({0.3 * number * placed}), i);
        set(elements, "time_delay", row({1e-7 * number * placed}), i);
    }
    return elements;
}

// ---- calls

Call::Call() {
    set("elements", discs(1));
    set("grid", record("xmin = -1e-3, xmax = 1e-3, ymin = 0, ymax = 0, zmin = 1e-3, zmax = 2e-3, "
                       "delta = [1e-3 1e-3 1e-3]"));
    set("medium", record("soundspeed = 1500, density = 1000, attenuationdBcmMHz = 0, "
                         "powerlawexponent = 0, specificheat = 0, specificheatofblood = 0, "
                         "thermalconductivity = 0, bloodperfusion = 0, nonlinearityparameter = 0"));
    set("time", record("tmin = 0, tmax = 4e-6, deltat = 1e-7"));
    set("ndiv = 8");
    set("excitation", record("type = 2, f0 = 1e6, pulse_width = 2e-6, B = 0"));
}

Call::Call(const Operation& operation) {
    const Call scene;
    set("method", text(operation.name));
    for (const char* name : {"elements", "grid", "medium"}) {
        set(name, scene[name]);
    }
    unnamed_ = arguments_->fields.size();
    if (operation.uses(kavro::input_frequency)) {
        set("f0 = 1e6");
    }
    if (operation.uses(kavro::input_time)) {
        set("time", scene["time"]);
    }
    if (operation.uses(kavro::input_excitation)) {
        set("excitation", operation.waveform_demand == kavro::WaveformDemand::sampled
                              ? sampled_excitation()
                              : scene["excitation"]);
    }
    if (operation.uses(kavro::input_kzk)) {
        set("kzk", record(operation.kind == kavro::OperationKind::kzk_cw
                              ? "extent = 3, points_per_radius = 10, growth = 0.01, harmonics = 2"
                              : "extent = 3, points_per_radius = 10, step = 0.01"));
    }
}

Call::Call(const std::string& method) : Call(*kavro::operation_of(method)) {}

Call Call::command(const std::string& name, const std::vector<std::string>& arguments) {
    Call call;
    call.arguments_ = structure(1, 1);
    call.set("method", text(name));
    for (const std::string& argument : arguments) {
        call.set(argument, row({0.0}));
    }
    call.unnamed_ = call.arguments_->fields.size();
    return call;
}

Call& Call::set(const std::string& place, const Value& value) {
    const std::size_t dot = place.find('.');
    const std::string name = place.substr(0, dot);
    Value changed = value;
    if (dot != std::string::npos) {
        changed = copy_of(get(arguments_, name));
        host::set(changed, place.substr(dot + 1), value, changed->count() - 1);
    }
    arguments_ = copy_of(arguments_);
    host::set(arguments_, name, changed);
    return *this;
}

Call& Call::set(const std::string& changes) {
    for (const std::string& change : parts_of(changes, ", ")) {
        const std::vector<std::string> place_and_value = parts_of(change, " = ");
        set(place_and_value.at(0), value(place_and_value.at(1)));
    }
    return *this;
}

Call Call::with(const std::string& place, const Value& value) const {
    return Call(*this).set(place, value);
}

Value Call::operator[](const std::string& place) const {
    const std::size_t dot = place.find('.');
    const Value argument = get(arguments_, place.substr(0, dot));
    return dot == std::string::npos ? argument
                                    : get(argument, place.substr(dot + 1), argument->count() - 1);
}

std::vector<std::string> Call::places() const {
    std::vector<std::string> places;
    for (const auto& [name, argument] : arguments_->fields) {
        places.push_back(name);
        for (const auto& [field, _] : argument[0]->fields) {
            places.push_back(name + "." + field);
        }
    }
    return places;
}

std::string Call::method() const {
    return unnamed_ < arguments_->fields.size() ? characters((*this)["method"]) : "";
}

std::vector<Value> Call::all() const {
    std::vector<Value> values;
    for (const auto& [name, argument] : arguments_->fields) {
        if (values.size() >= unnamed_) {
            values.push_back(text(name));
        }
        values.push_back(argument[0]);
    }
    return values;
}

namespace {

// What calls keep for one another is no leak: quadrature rules, each computed once.
const bool rules_are_there = [] {
    kavro::NumericalIntegration rule;
    for (int n = 1; n <= 64; ++n) {
        rule.allocate_memory(n);
        rule.gauss_quadrature();
    }
    kavro::rim_ladder<float>(), kavro::rim_ladder<double>();
    kavro::line_ladder<float>(), kavro::line_ladder<double>();
    return true;
}();

}  // namespace

Outcome run(const std::vector<Value>& arguments, int nlhs, Leaving leaving, Fault fault) {
    EXPECT_TRUE(rules_are_there);
    const long before = live_allocations();
    Outcome outcome = call(mexFunction, nlhs, arguments, leaving, fault);
    EXPECT_EQ(live_allocations(), before) << "left on the heap";
    EXPECT_EQ(outcome.misuses, std::vector<std::string>());
    EXPECT_NE(outcome.error.has_value(), outcome.output != nullptr);
    return outcome;
}

Outcome run(const Call& call, Leaving leaving, Fault fault) {
    return run(call.all(), 1, leaving, fault);
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
    expect_error(call.all(), error, printed);
}

namespace {

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

}  // namespace

void expect_errors(const Call& call, const std::string& table) {
    std::string above;
    for (const std::string& line : parts_of(table, "\n")) {
        std::vector<std::string> cells = parts_of(replaced(line, "\\n", "\a"), " | ");
        ASSERT_GE(cells.size(), 3u) << line;
        cells.resize(4);
        cells[1] = replaced(cells[1], "no_structure", "1, 'x', {}, []");
        cells[1] = replaced(cells[1], "no_real", "no_number, 1i");
        cells[1] = replaced(cells[1], "no_number", "missing, [], '1', true, {}, sparse[1]");
        above = cells[2] == "^" ? above : cells[2];
        for (const std::string& place : parts_of(cells[0], " ")) {
            for (const std::string& written : parts_of(cells[1], ", ")) {
                SCOPED_TRACE(place + " = " + written);
                const auto filled = [&](std::string text) {
                    text = replaced(text, "@", place.substr(place.find('.') + 1));
                    text = replaced(text, "#", replaced(written, "'", ""));
                    return replaced(replaced(text, "$", call.method()), "\a", "\n");
                };
                expect_error(call.with(place, value(written)), filled(above), filled(cells[3]));
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

void expect_results_or_errors(const std::vector<Call>& calls, std::size_t results,
                              std::size_t errors) {
    std::vector<Value> strange{discs(1), string_object("a"), function([](double) {})};
    for (const std::string& written :
         parts_of("NaN, Inf, -Inf, 0, 1e300, -1e300, 5e-324, 2147483648, -2147483648, "
                  "1e-6i, [], [1e-3 2 3], 'x', '', {}, true, sparse[1], struct[1 1], struct[0 0]",
                  ", ")) {
        strange.push_back(value(written));
    }
    std::mt19937 random(1);
    const auto pick = [&](const auto& from) -> const auto& {
        return from[random() % from.size()];
    };
    std::set<std::string> texts;
    std::size_t successes = 0;
    for (int i = 0; i < 3000; ++i) {
        Call call = pick(calls);
        for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
            const std::string place = pick(call.places());
            const Value was = call[place];
            const Value now = pick(strange);
            const bool numeric = now->class_id == mxDOUBLE_CLASS && now->count() == 1;
            if (numeric && was->class_id == mxDOUBLE_CLASS && was->count() > 1) {
                std::vector<double> entries = values(was);
                entries[random() % entries.size()] = values(now)[0];
                call.set(place, numbers(entries, was->dims));
            } else {
                call.set(place, now);
            }
        }
        std::vector<Value> all = call.all();
        if (random() % 8 == 0) {
            all.resize(random() % (all.size() + 1));
        }
        const Outcome outcome = run(all, 1, i % 2 == 0 ? Leaving::exception : Leaving::jump);
        successes += outcome.error ? 0 : 1;
        texts.insert(outcome.error.value_or("a result"));
    }
    EXPECT_GT(successes, results);
    EXPECT_GT(texts.size(), errors);
    for (const std::string& text : texts) {
        EXPECT_EQ(text.find("unspecified"), std::string::npos) << text;
        EXPECT_EQ(text.find("std::"), std::string::npos) << text;
    }
}

double largest(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0, [](double magnitude, double value) {
        return std::max(magnitude, std::abs(value));
    });
}

}  // namespace host
