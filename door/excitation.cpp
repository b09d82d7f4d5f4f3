#include "door/excitation.h"

#include <complex>
#include <cstddef>
#include <optional>
#include <string>

#include "core/counts.h"
#include "core/input_error.h"
#include "door/values.h"
#include "excitation/hanning_pulse.h"
#include "excitation/t_cubed_pulse.h"
#include "excitation/tone_burst.h"

namespace kavro {
namespace {

using Excitations = std::vector<std::unique_ptr<ExcitationFunction>>;

enum PulseType { tone_burst = 1, hanning_pulse = 2, t_cubed_pulse = 3 };

std::vector<double> signal_of(const HostRecord& row) {
    const mxArray* signal = row.field("signal");
    if (!holds_real_numbers(signal) || mxGetNumberOfDimensions(signal) != 2 ||
        (mxGetM(signal) != 1 && mxGetN(signal) != 1)) {
        row.refuse("signal", "must hold a vector of real numbers");
    }
    return numbers_of(signal);
}

ExcitationFunction sampled_from(const HostRecord& row) {
    const std::vector<double> signal = signal_of(row);
    const double ts = row.number("ts");
    const double w = row.number("w");
    const double clip_threshold = row.number("clip_threshold");
    return {signal, ts, w, clip_threshold};
}

bool is_exact(const HostRecord& row, bool unless_told) {
    const mxArray* decomposition = row.field("decomposition");
    if (decomposition == nullptr) {
        return unless_told;
    }
    const std::optional<std::string> text = text_of(decomposition);
    if (text != "exact" && text != "reference") {
        row.refuse("decomposition", "must be 'exact' or 'reference'");
    }
    return text == "exact";
}

PulseType type_of(const HostRecord& row) {
    const double type = row.number("type");  // its fraction does not count
    if (!(type >= 1.0 && type < 4.0)) {
        throw InputError(
            "Invalid excitation function type. Please see the documentation for "
            "set_excitation_function for a list of valid types.\n");
    }
    return static_cast<PulseType>(static_cast<int>(type));
}

// Only the t-cubed pulse uses the decay; an array of mixed pulses leaves it empty elsewhere.
double decay_of(const HostRecord& row, PulseType type) {
    const mxArray* decay = row.field("B");
    const bool left_out = decay == nullptr || mxGetNumberOfElements(decay) == 0;
    return type != t_cubed_pulse && left_out ? 0.0 : row.number("B");
}

template <class Waveform>
std::size_t bytes_of(const Waveform& waveform) {
    return sizeof(Waveform) + waveform.signal.size() * sizeof(double) +
           waveform.coefficients.size() * sizeof(std::complex<double>) +
           waveform.frequencies.size() * sizeof(double);
}

template <class Waveform>
void append_copies(Excitations& excitations, Waveform waveform, bool exact, int copies) {
    waveform.set_exact(exact);
    require_memory(static_cast<std::size_t>(copies), bytes_of(waveform), "excitation functions");
    for (int i = 0; i < copies; ++i) {
        excitations.push_back(std::make_unique<Waveform>(waveform));
    }
}

void append_row(Excitations& excitations, const HostRecord& row, bool sampled, bool exact,
                int copies) {
    exact = is_exact(row, exact);
    if (sampled) {
        append_copies(excitations, sampled_from(row), exact, copies);
        return;
    }
    const PulseType type = type_of(row);
    const double f0 = row.number("f0");
    const double width = row.number("pulse_width");
    const double decay = decay_of(row, type);
    switch (type) {
        case tone_burst:
            append_copies(excitations, ToneBurst(f0, width, decay), exact, copies);
            break;
        case hanning_pulse:
            append_copies(excitations, HanningPulse(f0, width, decay), exact, copies);
            break;
        case t_cubed_pulse:
            append_copies(excitations, TCubedPulse(f0, width, decay), exact, copies);
            break;
    }
}

}  // namespace

void excitation_vector(Excitations& excitations, const mxArray* structure, int n, bool exact) {
    if (!mxIsStruct(structure)) {
        throw InputError("Excitation function must be a MATLAB structure.\n");
    }
    const std::size_t rows = mxGetNumberOfElements(structure);
    const auto elements = static_cast<std::size_t>(n);
    if (rows != 1 && rows != elements) {
        throw InputError(
            "Excitation function must have either exactly one row or one row per element.");
    }
    const bool sampled = mxGetFieldNumber(structure, "signal") >= 0;
    for (std::size_t i = 0; i < rows; ++i) {
        const HostRecord row(structure, i, "Excitation", "row");
        append_row(excitations, row, sampled, exact, rows == 1 ? n : 1);
    }
}

}  // namespace kavro
