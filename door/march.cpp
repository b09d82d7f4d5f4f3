#include "door/march.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/input_error.h"
#include "door/read.h"
#include "door/values.h"
#include "transducers/kzk/choice.h"
#include "transducers/kzk/fault.h"
#include "transducers/kzk/march.h"
#include "transducers/kzk/retarded_time.h"

namespace kavro {
namespace {

using Names = std::span<const char* const>;

constexpr std::array transient_fields{"extent", "points_per_radius", "step", "implicit",
                                      "diffraction"};
constexpr std::array harmonic_fields{"extent", "points_per_radius", "growth", "harmonics",
                                     "source_phase"};

class ParameterReader {
public:
    ParameterReader(const Value* value, const char* method, Names fields)
        : value_(value), method_(method) {
        if (!is_record(value) || entries_of(value) != 1) {
            throw InputError(std::string("The option 'kzk' must be a ") + host_words.options +
                             " with the fields " + quoted_list(fields) + " for " + method + ".");
        }
        for (const std::string& name : field_names(value)) {
            if (std::find(fields.begin(), fields.end(), name) == fields.end()) {
                throw InputError("The option 'kzk' has a field '" + name + "', but " + method +
                                 " reads " + quoted_list(fields) + ".");
            }
        }
    }

    float number(const char* name) const {
        const std::optional<double> number = single_number(field_of(value_, 0, name));
        constexpr auto least = static_cast<double>(std::numeric_limits<float>::min());
        constexpr auto most = static_cast<double>(std::numeric_limits<float>::max());
        if (!number || !(*number >= least && *number <= most)) {
            throw fault(name, "one positive number");
        }
        return static_cast<float>(*number);
    }

    int count(const char* name) const {
        const std::optional<int> count = count_from(field_of(value_, 0, name));
        return count ? *count : throw fault(name, "one whole number of at least 1");
    }

    bool flag(const char* name, bool otherwise) const {
        const Value* field = field_of(value_, 0, name);
        if (field == nullptr) {
            return otherwise;
        }
        const std::optional<bool> on = switch_of(field);
        return on ? *on : throw fault(name, "true or false");
    }

private:
    InputError fault(const char* name, const char* expected) const {
        return InputError(std::string("The field '") + name + "' of the option 'kzk' must be " +
                          expected + " for " + method_ + ".");
    }

    const Value* value_;
    const char* method_;
};

bool is_harmonic(const SolveRequest& request) {
    return request.operation->kind == OperationKind::kzk_cw;
}

constexpr std::array choice_fields{"accuracy", "harmonics"};

// Nothing, or nothing but what parameters can be chosen by.
bool leaves_the_choice(const Value* value) {
    if (value == nullptr) {
        return true;
    }
    const std::vector<std::string> names =
        is_record(value) ? field_names(value) : std::vector<std::string>{};
    return !names.empty() && std::ranges::all_of(names, [](const std::string& name) {
        return std::ranges::find(choice_fields, name) != choice_fields.end();
    });
}

MarchChoice choice_from(const SolveRequest& request, const Value* value) {
    const bool exact = std::ranges::all_of(request.elements, [](const RequestedElement& element) {
        return element.transducer->exact();
    });
    if (!exact) {
        request.lack(std::string("the option 'kzk', a ") + host_words.options +
                     " with the march's parameters, where 'exact' is false");
    }
    MarchChoice choice{kzk::usual_accuracy, kzk::usual_harmonics};
    if (value != nullptr) {
        const ParameterReader reader(value, request.operation->name, choice_fields);
        if (has_field(value, "accuracy")) {
            choice.accuracy = static_cast<double>(reader.number("accuracy"));
        }
        if (has_field(value, "harmonics")) {
            choice.harmonics = reader.count("harmonics");
        }
    }
    return choice;
}

// All elements share the rule: it gets the largest of what each needs.
void choose_parameters(SolveRequest& request) {
    kzk::Parameters most;
    for (const RequestedElement& element : request.elements) {
        const kzk::Parameters own =
            kzk::chosen_parameters(*element.transducer, is_harmonic(request),
                                   request.march_choice->accuracy, request.march_choice->harmonics);
        const float points = std::max(most.points_per_radius, own.points_per_radius);
        const int harmonics = std::max(most.harmonics, own.harmonics);
        most = own;
        most.points_per_radius = points;
        most.harmonics = harmonics;
    }
    most.harmonics = std::max(most.harmonics, 1);
    request.rule.kzk_parameters = request.working_rule.kzk_parameters = most;
}

void check_placement(const SolveRequest& request, std::size_t i) {
    const Transducer& element = *request.elements[i].transducer;
    const double placement[] = {element.center.x, element.center.y,  element.center.z,
                                element.euler.x,  element.euler.y,   element.euler.z,
                                element.phase,    element.time_delay};
    if (std::any_of(std::begin(placement), std::end(placement),
                    [](double value) { return value != 0.0; })) {
        request.refuse(i,
                       "the march starts from the origin towards +z; center, euler, phase and "
                       "time_delay must be 0.");
    }
}

[[noreturn]] void refuse(const SolveRequest& request, std::size_t element,
                         const kzk::Fault& fault) {
    struct Name {
        kzk::Input input;
        const char* text;
    };
    static constexpr Name names[] = {
        {kzk::Input::extent, "field 'extent' of the option 'kzk'"},
        {kzk::Input::points_per_radius, "field 'points_per_radius' of the option 'kzk'"},
        {kzk::Input::step, "field 'step' of the option 'kzk'"},
        {kzk::Input::growth, "field 'growth' of the option 'kzk'"},
        {kzk::Input::soundspeed, "medium's field 'soundspeed'"},
        {kzk::Input::attenuation, "medium's field 'attenuationdBcmMHz'"},
        {kzk::Input::nonlinearity, "medium's field 'nonlinearityparameter'"},
        {kzk::Input::frequency, "frequency f0"},
        {kzk::Input::amplitude, "field 'amplitude'"},
        {kzk::Input::sizes, "Rayleigh distance or the radius of curvature"},
        {kzk::Input::planes, "grid's planes"},
    };
    for (const Name& name : names) {
        if (name.input == fault.input) {
            request.refuse(element, std::string("the ") + name.text + " must be " + fault.expected +
                                        ", not " + kzk::shown(fault.value) + ".");
        }
    }
    request.lack("a time axis that " + fault.expected);
}

void check_that_it_runs(SolveRequest& request, std::size_t i) {
    const RequestedElement& element = request.elements[i];
    if (is_harmonic(request) && request.rule.kzk_parameters.source_phase > 0 &&
        !element.shape->has_source_phase) {
        request.refuse(i,
                       "the field 'source_phase' of the option 'kzk' must be false, for only a "
                       "disc's march has a source phase.");
    }
    if (const auto fault = kzk::fault_of(*element.transducer, is_harmonic(request))) {
        refuse(request, i, *fault);
    }
}

// The parameters of the march that its arguments, those of `solve`, ask for, and what it will cost.
class KzkParameters : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        kavro::read(request_, console, arguments);
    }

    std::vector<Result*> results() override { return {new_parameters(), new_cost()}; }

private:
    Result* new_parameters() const {
        const kzk::Parameters& parameters = request_.rule.kzk_parameters;
        Result* record = new_record();
        add_numbers(record, "extent", {static_cast<double>(parameters.extent)});
        add_numbers(record, "points_per_radius",
                    {static_cast<double>(parameters.points_per_radius)});
        if (is_harmonic(request_)) {
            add_numbers(record, "growth", {static_cast<double>(parameters.growth)});
            add_numbers(record, "harmonics", {static_cast<double>(parameters.harmonics)});
        } else {
            add_numbers(record, "step", {static_cast<double>(parameters.step)});
        }
        return record;
    }

    // Of the last element, where there are several.
    Result* new_cost() const {
        const bool harmonic = is_harmonic(request_);
        const kzk::Cost cost = kzk::cost_of(*request_.elements.back().transducer, harmonic);
        Result* record = new_record();
        add_numbers(record, "columns", {static_cast<double>(cost.columns)});
        add_numbers(record, harmonic ? "harmonics" : "samples",
                    {static_cast<double>(cost.samples)});
        add_numbers(record, "steps", {static_cast<double>(cost.steps)});
        add_numbers(record, "bytes", {cost.bytes});
        add_numbers(record, "seconds", {cost.seconds});
        return record;
    }

    SolveRequest request_;
};

}  // namespace

std::unique_ptr<Command> new_kzk_parameters() {
    return std::make_unique<KzkParameters>();
}

void read_march_parameters(SolveRequest& request, const Value* value) {
    const bool harmonic = is_harmonic(request);
    if (leaves_the_choice(value)) {
        request.march_choice = choice_from(request, value);
        return;
    }
    const Names fields = harmonic ? Names(harmonic_fields) : Names(transient_fields);
    const ParameterReader reader(value, request.operation->name, fields);
    const auto extent = static_cast<float>(reader.count("extent"));
    const float points = reader.number("points_per_radius");
    if (harmonic) {
        const float growth = reader.number("growth");
        const int harmonics = reader.count("harmonics");
        request.rule.cw_set_kzk_parameters(extent, points, growth, harmonics,
                                           reader.flag("source_phase", false) ? 1 : 0);
    } else {
        const float step = reader.number("step");
        const float implicit = reader.flag("implicit", true) ? 1.0f : 0.0f;
        request.rule.set_kzk_parameters(extent, points, step, implicit,
                                        reader.flag("diffraction", true) ? 1.0f : 0.0f);
    }
}

void check_march(SolveRequest& request) {
    const CoordinateGrid& points = request.points;
    if (!points.regular || points.ny != 1) {
        request.lack("a regular grid with one value of y");
    }
    if (request.operation->uses(input_time) && !(request.times.deltat() > 0.0)) {
        request.lack("a regular time axis");
    }
    for (std::size_t i = 0; i < request.elements.size(); ++i) {
        check_placement(request, i);
    }
    request.attach();
    if (request.march_choice) {
        choose_parameters(request);
    }
    for (std::size_t i = 0; i < request.elements.size(); ++i) {
        check_that_it_runs(request, i);
    }
    if (!is_harmonic(request) && !request.elements.empty() &&
        !(request.times.tmax() > points.zcoords.back() / request.medium._soundspeed)) {
        request.lack("a time axis that lasts until the wave has come to the farthest plane");
    }
}

int harmonics_of(const SolveRequest& request) {
    return request.rule.kzk_parameters.harmonics;
}

TransducerStatus march(SolveRequest& request, Transducer& element) {
    if (!is_harmonic(request) && !element.exact()) {
        set_kzk_tau_axis(request.times, *element.excitation, request.medium, request.points);
    }
    const kzk::Outcome outcome = kzk::march(element, is_harmonic(request));
    if (outcome.shocked && !outcome.warned) {
        console::warn(
            "kzk_transient: too small dSigma. The wave has overtaken itself within a step, and "
            "planes beyond are zero: the march needs a smaller 'step'.\n");
    }
    return outcome.status;
}

}  // namespace kavro
