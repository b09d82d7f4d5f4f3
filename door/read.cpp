// The module `kavro.solve`: every operation of the library, by its name.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/threads.h"
#include "door/checks.h"
#include "door/excitation.h"
#include "door/march.h"
#include "door/methods.h"
#include "door/options.h"
#include "door/request.h"
#include "door/transducers.h"
#include "door/values.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/kzk/fault.h"
#include "transducers/kzk/retarded_time.h"
#include "transducers/operations.h"

namespace kavro {
namespace {

using Kind = OperationKind;

const Operation& operation_from(const mxArray* name) {
    const std::optional<std::string> text = text_of(name);
    if (!text) {
        throw InputError("The first argument must be the name of a method.");
    }
    const Operation* operation = operation_of(*text);
    if (operation == nullptr) {
        std::string known;
        for (const Operation& other : operations()) {
            known.append(known.empty() ? "" : ", ").append(other.name);
        }
        throw InputError("There is no method '" + shown(*text) + "'. The methods are " + known +
                         ".");
    }
    return *operation;
}

// "fnm_cw, element 3: "
std::string place(const Operation& operation, std::size_t element) {
    return std::string(operation.name) + ", element " + std::to_string(element + 1) + ": ";
}

class Solve : public SolverCall {
public:
    Solve() : SolverCall("kavro.solve") {}
    ~Solve() override { set_thread_count(0); }

    mxArray* run(int nlhs, int nrhs, const mxArray* const prhs[]) override {
        if (nlhs > 1) {
            throw InputError("This function has one result.");
        }
        // For kavro.methods, which asks the library through this module.
        if (nrhs == 1 && text_of(prhs[0]) == "methods") {
            return methods_to_host();
        }
        if (nrhs < 4) {
            throw InputError(
                "This function needs a method, elements, a grid and a medium; then options by name "
                "and value.");
        }
        const Operation& operation = operation_from(prhs[0]);
        const SolveOptions options(operation, {prhs + 4, static_cast<std::size_t>(nrhs) - 4});
        read(operation, options, prhs);
        return solve(operation);
    }

private:
    void read(const Operation& operation, const SolveOptions& options, const mxArray* const prhs[]);
    void read_elements(const Operation& operation, const SolveOptions& options,
                       const mxArray* array);
    void read_excitations(const Operation& operation, const SolveOptions& options);
    void check_march(const Operation& operation) const;
    void check_that_marches_run(const Operation& operation);
    void read_rule(const Operation& operation, const SolveOptions& options);
    void read_times_quietly(const mxArray* structure);
    void read_manners(const SolveOptions& options);

    mxArray* solve(const Operation& operation);
    mxArray* solve_added(const Operation& operation);
    mxArray* solve_stored(const Operation& operation);
    mxArray* solve_arrival_times(const Operation& operation);
    template <class After>
    void solve_each(const Operation& operation, After after);
    void make_records_ready(const Operation& operation, const Transducer& element);
    void finish(TransducerStatus status);

    NumericalIntegration reference_rule_;
};

// ---- arguments

void Solve::read(const Operation& operation, const SolveOptions& options,
                 const mxArray* const prhs[]) {
    read_manners(options);
    read_elements(operation, options, prhs[1]);
    check_grid(prhs[2]);
    read_grid(prhs[2]);
    check_medium(prhs[3]);
    read_medium(prhs[3]);
    if (operation.kind == Kind::transient || operation.kind == Kind::impulse_response) {
        warn_of_ignored_attenuation();
    }
    if (operation.uses(input_frequency)) {
        // A medium of the library has a centre frequency; the host's may have.
        const std::optional<double> own = single_number(field_of(prhs[3], 0, "f0"));
        medium_._f0 = options.frequency(Option::f0).value_or(own.value_or(0.0));
        if (!(medium_._f0 > 0.0) || std::isinf(medium_._f0)) {
            throw InputError(std::string(operation.name) + " needs the option 'f0' (Hz).");
        }
    }
    if (operation.uses(input_time)) {
        if (!options.given(Option::time)) {
            throw InputError(std::string(operation.name) +
                             " needs the option 'time', made by kavro.set_time_samples.");
        }
        check_times(options.value(Option::time));
        read_times_quietly(options.value(Option::time));
    }
    if (operation.uses(input_excitation)) {
        read_excitations(operation, options);
    }
    read_rule(operation, options);
    if (operation.uses(input_kzk)) {
        check_march(operation);
    }
    attach_records();
    if (operation.uses(input_kzk)) {
        check_that_marches_run(operation);
    }
}

// The reader prints every instant of a list, which was wanted of it once and is not here.
void Solve::read_times_quietly(const mxArray* structure) {
    std::optional<console::Connection> quiet;
    if (mxIsStruct(structure) && holds_real_numbers(field_of(structure, 0, "time_samples"))) {
        quiet.emplace(console::Port{.print = [](const char*) {}});
    }
    read_times(structure);
}

void Solve::read_manners(const SolveOptions& options) {
    apply_thread_setting(options.count(Option::threads).value_or(0));
    const mxArray* progress = options.value(Option::progress);
    if (progress != nullptr && mxGetClassID(progress) == mxFUNCTION_CLASS) {
        console_.hand_progress_to(progress);
    } else if (const auto on =
                   options.yes_or_no(Option::progress, "true, false or a function handle")) {
        console_.show_progress_line(*on);
    }
}

void Solve::read_elements(const Operation& operation, const SolveOptions& options,
                          const mxArray* array) {
    const int n = read_element_count(array);
    elements_ = transducers_from(array, n);
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        // The reader takes a text up to a NUL.
        const std::string identifier = *text_of(field_of(array, i, "shape"));
        const Shape* const known = shape_of(identifier);
        if (known == nullptr) {
            throw InputError("Invalid transducer shape identifier.\n");
        }
        const Shape& shape = *known;
        if (!implements(operation, shape)) {
            throw InputError(std::string(operation.name) + ", shape '" + identifier + "' (" +
                             shape.name + "), element " + std::to_string(i + 1) +
                             ": This function is not implemented for this transducer shape.");
        }
    }
    check_elements(array);
    set_phases_from(array, element_pointers());
    if (operation.uses(input_apodization)) {
        set_apodizations_from(array, options.value(Option::apodization), element_pointers());
    }
    const bool exact = options.yes_or_no(Option::exact).value_or(true);
    for (const std::unique_ptr<Transducer>& element : elements_) {
        element->set_exact(exact);
    }
}

void Solve::read_excitations(const Operation& operation, const SolveOptions& options) {
    if (!options.given(Option::excitation)) {
        throw InputError(std::string(operation.name) +
                         " needs the option 'excitation', made by kavro.set_excitation_function.");
    }
    // A waveform that says whether it is exact is believed, unless the option says otherwise.
    const std::optional<bool> exact = options.yes_or_no(Option::exact);
    excitation_vector(excitations_, options.value(Option::excitation),
                      static_cast<int>(elements_.size()), true);
    check_excitation(options.value(Option::excitation));
    for (std::size_t i = 0; i < excitations_.size(); ++i) {
        ExcitationFunction& waveform = *excitations_[i];
        if (exact && waveform.exact() != *exact) {
            waveform.set_exact(*exact);
        }
        if (operation.waveform_demand == WaveformDemand::sampled &&
            !waveform.has_complex_decomposition()) {
            throw InputError(place(operation, i) +
                             "this method needs a sampled waveform, not a pulse.");
        }
        if (operation.waveform_demand == WaveformDemand::centre_frequency && !(waveform.f0 > 0.0)) {
            throw InputError(
                place(operation, i) +
                (waveform.has_complex_decomposition()
                     ? "this method needs a pulse with a centre frequency, not a sampled waveform."
                     : "this method needs a pulse of positive 'f0', not " +
                           kzk_number(waveform.f0) + "."));
        }
    }
}

void Solve::read_rule(const Operation& operation, const SolveOptions& options) {
    const int ndiv = options.count(Option::ndiv).value_or(std::max(operation.default_ndiv, 1));
    reference_rule_.allocate_memory(abscissas(ndiv, operation.ndiv_multiple));
    reference_rule_.gauss_quadrature();
    if (!operation.uses(input_kzk)) {
        return;
    }
    if (!options.given(Option::kzk)) {
        throw InputError(std::string(operation.name) +
                         " needs the option 'kzk', a structure with the march's parameters.");
    }
    set_kzk_parameters_from(reference_rule_, options.value(Option::kzk), operation);
}

// What the marches leave out of account must not be asked of them.
void Solve::check_march(const Operation& operation) const {
    if (!grid_.regular || grid_.ny != 1) {
        throw InputError(std::string(operation.name) +
                         " needs a regular grid with one value of y.");
    }
    if (operation.uses(input_time) && !(times_.deltat() > 0.0)) {
        throw InputError(std::string(operation.name) + " needs a regular time axis.");
    }
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        const Transducer& element = *elements_[i];
        const double placement[] = {element.center.x, element.center.y,  element.center.z,
                                    element.euler.x,  element.euler.y,   element.euler.z,
                                    element.phase,    element.time_delay};
        if (std::any_of(std::begin(placement), std::end(placement),
                        [](double value) { return value != 0.0; })) {
            throw InputError(place(operation, i) +
                             "the march starts from the origin towards +z; center, euler, phase "
                             "and time_delay must be 0.");
        }
    }
}

// The text for what keeps a march from running.
std::string complaint(const Operation& operation, std::size_t element, const KzkFault& fault) {
    struct Name {
        KzkInput input;
        const char* text;
    };
    static constexpr Name names[] = {
        {KzkInput::extent, "field 'extent' of the option 'kzk'"},
        {KzkInput::points_per_radius, "field 'points_per_radius' of the option 'kzk'"},
        {KzkInput::step, "field 'step' of the option 'kzk'"},
        {KzkInput::growth, "field 'growth' of the option 'kzk'"},
        {KzkInput::soundspeed, "medium's field 'soundspeed'"},
        {KzkInput::attenuation, "medium's field 'attenuationdBcmMHz'"},
        {KzkInput::nonlinearity, "medium's field 'nonlinearityparameter'"},
        {KzkInput::frequency, "frequency f0"},
        {KzkInput::amplitude, "field 'amplitude'"},
        {KzkInput::sizes, "Rayleigh distance or the radius of curvature"},
        {KzkInput::planes, "grid's planes"},
    };
    for (const Name& name : names) {
        if (name.input == fault.input) {
            return place(operation, element) + "the " + name.text + " must be " + fault.expected +
                   ", not " + kzk_number(fault.value) + ".";
        }
    }
    return std::string(operation.name) + " needs a time axis that " + fault.expected + ".";
}

// A march that cannot run answers with zeros; here it is an error.
void Solve::check_that_marches_run(const Operation& operation) {
    const bool harmonic = operation.kind == Kind::kzk_cw;
    quadrature_ = reference_rule_;
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        Transducer& element = *elements_[i];
        if (harmonic && reference_rule_.kzk_integer_parameters[1] > 0 &&
            dynamic_cast<const CircularTransducer*>(&element) == nullptr) {
            throw InputError(place(operation, i) +
                             "the field 'source_phase' of the option 'kzk' must be false, for only "
                             "a disc's march has a source phase.");
        }
        if (const std::optional<KzkFault> fault = kzk_fault(element, harmonic)) {
            throw InputError(complaint(operation, i, *fault));
        }
    }
    if (!harmonic && !elements_.empty() &&
        !(times_.tmax() > grid_.zcoords.back() / medium_._soundspeed)) {
        throw InputError(std::string(operation.name) +
                         " needs a time axis that lasts until the wave has come to the farthest "
                         "plane.");
    }
}

// ---- solution

mxArray* Solve::solve(const Operation& operation) {
    switch (operation.kind) {
        case Kind::arrival_times:
            return solve_arrival_times(operation);
        case Kind::kzk_transient:
        case Kind::kzk_cw:
            return solve_stored(operation);
        default:
            return solve_added(operation);
    }
}

// Ends the progress and throws where the solution did not succeed.
void Solve::finish(TransducerStatus status) {
    console_.end_progress(status == status_success);
    check_status(status);
}

// Shared records become what the next element needs: the former one may have refilled the rule, and
// a march has a retarded time of its own.
void Solve::make_records_ready(const Operation& operation, const Transducer& element) {
    quadrature_ = reference_rule_;
    if (operation.kind == Kind::kzk_transient && !element.exact()) {
        set_kzk_tau_axis(times_, *element.excitation, medium_, grid_);
    }
}

// Element by element in order; `after` is told when element i is solved.
template <class After>
void Solve::solve_each(const Operation& operation, After after) {
    TransducerStatus status = status_success;
    const auto all = static_cast<double>(elements_.size());
    for (std::size_t i = 0; i < elements_.size() && status == status_success; ++i) {
        const console::ProgressPart part(static_cast<double>(i) / all,
                                         static_cast<double>(i + 1) / all);
        make_records_ready(operation, *elements_[i]);
        status = ((*elements_[i]).*operation.solve)();
        if (status == status_success) {
            after(i);
            console::progress(1.0);
            status = console::interrupted() ? status_interrupted : status;
        }
    }
    finish(status);
}

// The results of all elements, added up by themselves in the output.
mxArray* Solve::solve_added(const Operation& operation) {
    mxArray* output = nullptr;
    if (operation.kind == Kind::continuous_wave) {
        output = grid_.regular ? new_output({grid_.nx, grid_.ny, grid_.nz}, mxCOMPLEX)
                               : new_output({grid_.npoints, 1}, mxCOMPLEX);
        for (const std::unique_ptr<Transducer>& element : elements_) {
            element->set_complex_pressure_pointers(real_parts(output), imaginary_parts(output));
        }
    } else {
        output = new_transient_output();
        for (const std::unique_ptr<Transducer>& element : elements_) {
            element->set_transient_pressure_pointer(real_parts(output));
        }
    }
    if (operation.solve_array != nullptr) {
        quadrature_ = reference_rule_;
        finish(operation.solve_array(element_pointers(), Output::all_zero));
    } else {
        solve_each(operation, [](std::size_t) {});
    }
    return output;
}

// The marches store their results: each element's is added from a buffer of its own.
mxArray* Solve::solve_stored(const Operation& operation) {
    const bool harmonic = operation.kind == Kind::kzk_cw;
    // A march prints its nonlinearity, which is of no use here, and a disc's prints its warning.
    console_.hand_prints_to([](const char* text) {
        if (std::string_view(text).ends_with("dSigma")) {
            console::warn(
                "kzk_transient: too small dSigma. The wave has overtaken itself within a step, and "
                "planes beyond are zero: the march needs a smaller 'step'.\n");
        }
    });
    const int layers = harmonic ? reference_rule_.kzk_integer_parameters[0] : times_.ntimes;
    mxArray* output = new_output({grid_.nx, grid_.nz, layers}, harmonic ? mxCOMPLEX : mxREAL);
    const auto count = static_cast<std::size_t>(grid_.npoints) * static_cast<std::size_t>(layers);
    require_memory(count, (harmonic ? 2 : 1) * sizeof(double), "output values");
    // One more value than needed, so that there is a place to point to.
    std::vector<double> real(count + 1), imaginary(harmonic ? count + 1 : 0);
    for (const std::unique_ptr<Transducer>& element : elements_) {
        if (harmonic) {
            element->set_complex_pressure_pointers(real.data(), imaginary.data());
        } else {
            element->set_transient_pressure_pointer(real.data());
        }
    }
    const auto add = [count](std::vector<double>& values, double* sum) {
        for (std::size_t i = 0; i < count; ++i) {
            sum[i] += std::exchange(values[i], 0.0);
        }
    };
    solve_each(operation, [&](std::size_t) {
        add(real, real_parts(output));
        if (harmonic) {
            add(imaginary, imaginary_parts(output));
        }
    });
    return output;
}

mxArray* Solve::solve_arrival_times(const Operation& operation) {
    const std::size_t n = elements_.size();
    mxArray* output = new_output({static_cast<int>(n), 2});
    double* times = real_parts(output);
    solve_each(operation, [&](std::size_t i) {
        times[i] = elements_[i]->get_impulse_begin_time();
        times[n + i] = elements_[i]->get_impulse_end_time();
    });
    return output;
}

}  // namespace

std::unique_ptr<HostCall> new_host_call() {
    return std::make_unique<Solve>();
}

}  // namespace kavro
