#include "door/acoustic_power.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "core/input_error.h"
#include "door/checks.h"
#include "door/medium.h"
#include "door/options.h"
#include "door/read.h"
#include "door/request.h"
#include "door/transducers.h"
#include "door/values.h"
#include "transducers/power/acoustic_power.h"

namespace kavro {
namespace {

// Of elements in a medium at a frequency; options follow.
class AcousticPower : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        enum : std::size_t { threads_option, progress_option };
        constexpr std::size_t needed = 3;
        if (arguments.size() < needed) {
            throw InputError(
                "This function needs elements, a medium and a frequency; then options by name and "
                "value.");
        }
        const Options options("acoustic_power", {{"threads"}, {"progress"}}, arguments, needed);
        threads = options.count(threads_option).value_or(0);
        options.read_progress(console, progress_option);
        if (count_of_elements(arguments[0]) == 0) {
            throw InputError("The transducer array has no elements.");
        }
        request_.elements = elements_from(arguments[0], ShapeName::whole);
        check_elements(arguments[0], request_.elements);
        set_phases(request_.elements, arguments[0]);
        check_medium(arguments[1]);
        request_.medium = medium_from(arguments[1]);
        const std::optional<double> f0 = single_number(arguments[2]);
        if (!f0 || !(*f0 > 0.0) || std::isinf(*f0)) {
            throw InputError("The frequency 'f0' must be one positive number (Hz)" +
                             contrasted(arguments[2]) + ".");
        }
        request_.medium._f0 = *f0;
        warn_of_delays_without_phases(request_);
        power_ = new_zeros(std::array{1}, false);
    }

    TransducerStatus run() override {
        request_.attach();
        return acoustic_power(request_.transducers(), *real_parts(power_));
    }

    std::vector<Result*> results() override { return {power_}; }

private:
    SolveRequest request_;
    Result* power_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> new_acoustic_power() {
    return std::make_unique<AcousticPower>();
}

}  // namespace kavro
