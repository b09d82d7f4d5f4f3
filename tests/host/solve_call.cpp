#include "solve_call.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace host {

using kavro::Operation;
using kavro::Shape;

Value march_parameters(const Operation& operation) {
    Value kzk = structure(1, 1);
    set(kzk, "extent", scalar(3));
    set(kzk, "points_per_radius", scalar(10));
    if (operation.kind == kavro::OperationKind::kzk_cw) {
        set(kzk, "growth", scalar(0.01));
        set(kzk, "harmonics", scalar(2));
    } else {
        set(kzk, "step", scalar(0.01));
    }
    return kzk;
}

SolveArguments::SolveArguments(const Operation& operation) : method(operation.name) {
    if (operation.uses(kavro::input_frequency)) {
        set_option("f0", scalar(1e6));
    }
    if (operation.uses(kavro::input_time)) {
        set_option("time", scene.times);
    }
    if (operation.uses(kavro::input_excitation)) {
        set_option("excitation", operation.waveform_demand == kavro::WaveformDemand::sampled
                                     ? sampled_excitation({0, 1, 2, 1, 0, -1, -2, -1})
                                     : scene.excitation);
    }
    if (operation.uses(kavro::input_kzk)) {
        set_option("kzk", march_parameters(operation));
    }
}

SolveArguments::SolveArguments(const std::string& name)
    : SolveArguments(*kavro::operation_of(name)) {}

void SolveArguments::set_option(const std::string& name, Value value) {
    remove_option(name);
    options.emplace_back(name, std::move(value));
}

void SolveArguments::remove_option(const std::string& name) {
    std::erase_if(options, [&](const auto& option) { return option.first == name; });
}

std::vector<Value> SolveArguments::all() const {
    std::vector<Value> values{text(method), scene.elements, scene.grid, scene.medium};
    for (const auto& [name, value] : options) {
        values.push_back(text(name));
        values.push_back(value);
    }
    return values;
}

Value elements_with(const Operation& operation) {
    std::vector<const Shape*> offering;
    for (const Shape& shape : kavro::shapes()) {
        if (implements(operation, shape)) {
            offering.insert(offering.end(), 2, &shape);
        }
    }
    Value elements = structure(1, offering.size());
    for (std::size_t i = 0; i < offering.size(); ++i) {
        const auto number = static_cast<double>(i);
        const double placed = operation.uses(kavro::input_kzk) ? 0.0 : 1.0;
        set(elements, "shape", text(offering[i]->identifier), i);
        double size = 1e-3;
        for (const char* name : offering[i]->sizes) {
            set(elements, name, scalar(size), i);
            size *= 2.5;
        }
        set(elements, "center", row({1e-3 * number * placed, 0, -1e-3 * number * placed}), i);
        set(elements, "euler", row({0.1 * number * placed, 0.2 * placed, 0}), i);
        set(elements, "amplitude", scalar(2 + number), i);
        set(elements, "phase", scalar(0.3 * number * placed), i);
        set(elements, "time_delay", scalar(1e-7 * number * placed), i);
    }
    return elements;
}

Outcome solve(const SolveArguments& arguments, Leaving leaving, Fault fault) {
    return run_with(arguments.all(), 1, leaving, fault);
}

void expect_solve_error(const SolveArguments& arguments, const std::string& error) {
    for (const Leaving leaving : {Leaving::exception, Leaving::jump}) {
        EXPECT_EQ(solve(arguments, leaving).error, error);
    }
}

}  // namespace host
