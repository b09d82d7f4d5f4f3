#include "door/excitation.h"

#include <optional>
#include <string>

#include "core/console.h"
#include "core/input_error.h"
#include "door/values.h"
#include "excitation/hanning_pulse.h"
#include "excitation/t_cubed_pulse.h"
#include "excitation/tone_burst.h"

namespace kavro {
namespace {

enum PulseType { tone_burst = 1, hanning_pulse = 2, t_cubed_pulse = 3 };

const Value* signal_of(const Record& row) {
    const Value* signal = row.field("signal");
    if (!holds_real_numbers(signal) || dimensions_of(signal) != 2 ||
        (rows_of(signal) != 1 && columns_of(signal) != 1)) {
        row.refuse("signal", "must hold a vector of real numbers", described(signal));
    }
    return signal;
}

std::unique_ptr<ExcitationFunction> sampled_from(const Record& row) {
    const Numbers signal(signal_of(row));
    const double ts = row.number("ts");
    const double w = row.number("w");
    const double clip_threshold = row.number("clip_threshold");
    if (!(clip_threshold < 1.0)) {
        console::warn(
            "A 'clip_threshold' that is not below 1 leaves no frequency: the excitation is "
            "zero.\n");
    }
    return std::make_unique<ExcitationFunction>(signal.span(), ts, w, clip_threshold);
}

bool is_exact(const Record& row, bool unless_told) {
    const Value* decomposition = row.field("decomposition");
    if (decomposition == nullptr) {
        return unless_told;
    }
    const std::optional<std::string> text = text_of(decomposition);
    if (text != "exact" && text != "reference") {
        row.refuse("decomposition", "must be 'exact' or 'reference'");
    }
    return text == "exact";
}

PulseType type_of(const Record& row) {
    const double type = row.number("type");  // its fraction does not count
    if (!(type >= 1.0 && type < 4.0)) {
        throw InputError(
            std::string("Invalid excitation function type. Please see the documentation for ") +
            host_words.waveform_page + " for a list of valid types.\n");
    }
    return static_cast<PulseType>(static_cast<int>(type));
}

// Only the t-cubed pulse uses the decay; an array of mixed pulses leaves it empty elsewhere.
double decay_of(const Record& row, PulseType type) {
    const Value* decay = row.field("B");
    const bool left_out = decay == nullptr || entries_of(decay) == 0;
    return type != t_cubed_pulse && left_out ? 0.0 : row.number("B");
}

std::unique_ptr<ExcitationFunction> pulse_from(const Record& row) {
    const PulseType type = type_of(row);
    const double f0 = row.number("f0");
    const double width = row.number("pulse_width");
    const double decay = decay_of(row, type);
    switch (type) {
        case tone_burst:
            return std::make_unique<ToneBurst>(f0, width, decay);
        case hanning_pulse:
            return std::make_unique<HanningPulse>(f0, width, decay);
        default:
            return std::make_unique<TCubedPulse>(f0, width, decay);
    }
}

}  // namespace

Waveforms waveforms_from(const Value* value, std::size_t elements, bool exact) {
    require_record(value, "Excitation function");
    const std::size_t rows = entries_of(value);
    if (rows != 1 && rows != elements) {
        throw InputError(
            "Excitation function must have either exactly one row or one row per element.",
            "It has " + std::to_string(rows) + ", for " + std::to_string(elements) +
                " element(s).");
    }
    const bool sampled = has_field(value, "signal");
    Waveforms waveforms;
    for (std::size_t i = 0; i < rows; ++i) {
        const Record row(value, "Excitation", "row", i);
        const bool row_is_exact = is_exact(row, exact);
        waveforms.push_back(sampled ? sampled_from(row) : pulse_from(row));
        waveforms.back()->set_exact(row_is_exact);
    }
    return waveforms;
}

}  // namespace kavro
