#include "door/pulse_reach.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "core/input_error.h"
#include "door/checks.h"
#include "door/excitation.h"
#include "door/medium.h"
#include "door/values.h"
#include "transducers/spectral/pulse_reach.h"
#include "transducers/spectral/spectral_pulse.h"

namespace kavro {
namespace {

class Reach : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole&) override {
        if (arguments.size() != 3) {
            throw InputError("This function needs an excitation, a medium and a length of path.");
        }
        check_excitation(arguments[0]);
        waveforms_ = waveforms_from(arguments[0], entries_of(arguments[0]), true);
        check_medium(arguments[1]);
        medium_ = medium_from(arguments[1]);
        read_power_law(medium_, arguments[1]);
        const std::optional<double> path = single_number(arguments[2]);
        if (!path || !(*path >= 0.0) || std::isinf(*path)) {
            throw InputError("The path must be one number (m), zero or positive.");
        }
        path_ = *path;
        reach_ = new_zeros(std::array{1, 2}, false);
    }

    TransducerStatus run() override {
        constexpr double share = 1e-3;
        double* const early = real_parts(reach_);
        double* const late = early + 1;
        for (const auto& waveform : waveforms_) {
            const double reference = reference_frequency_of(*waveform, medium_);
            // Without a reference frequency no speed is known, and no field is computed either.
            if (medium_._reference_frequency > 0.0 || reference > 0.0) {
                const PulseReach reach(*waveform, PowerLaw(medium_, reference), share);
                *early = std::fmax(*early, reach.early(path_));
                *late = std::fmax(*late, reach.late(path_));
            }
        }
        return status_success;
    }

    std::vector<Result*> results() override { return {reach_}; }

private:
    Waveforms waveforms_;
    Medium medium_;
    double path_ = 0.0;
    Result* reach_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> new_pulse_reach() {
    return std::make_unique<Reach>();
}

}  // namespace kavro
