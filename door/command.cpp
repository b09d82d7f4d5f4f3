#include "door/command.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "core/input_error.h"
#include "door/acoustic_power.h"
#include "door/bioheat.h"
#include "door/call_threads.h"
#include "door/chosen_method.h"
#include "door/march.h"
#include "door/methods.h"
#include "door/pulse_echo.h"
#include "door/random_places.h"
#include "door/solve.h"
#include "door/values.h"

namespace kavro {
namespace {

struct NamedCommand {
    const char* name;
    std::unique_ptr<Command> (*make)();
};

constexpr std::array commands{
    NamedCommand{"acoustic_power", new_acoustic_power},
    NamedCommand{"bioheat", new_bioheat},
    NamedCommand{"chosen_method", new_chosen_method},
    NamedCommand{"echo_extent", new_echo_extent},
    NamedCommand{"echo_signals", new_echo_signals},
    NamedCommand{"echo_sum", new_echo_sum},
    NamedCommand{"kzk_parameters", new_kzk_parameters},
    NamedCommand{"methods", new_methods},
    NamedCommand{"pulse_echo", new_pulse_echo},
    NamedCommand{"random_places", new_random_places},
};

std::unique_ptr<Command> command_named(const std::string& name) {
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const auto& command) { return name == command.name; });
    if (found == commands.end()) {
        throw InputError("There is no command '" + shown(name) + "'.");
    }
    return found->make();
}

}  // namespace

void CommandCall::read(CallConsole& console, std::span<const Value* const> arguments) {
    const std::optional<std::string> name =
        arguments.empty() ? std::nullopt : text_of(arguments.front());
    if (!name) {
        throw InputError("The first argument must be the name of a command.");
    }
    command_ = command_named(*name);
    name_ = "kavro." + *name;
    console.speak_for(name_.c_str());
    command_->read(arguments.subspan(1), console);
}

void CommandCall::run(CallConsole& console) {
    console.hold_warnings();
    const CallThreads threads(command_->threads);
    status_ = command_->run();
    warnings_ = console.release_warnings();
}

std::vector<Result*> CommandCall::finish(CallConsole& console) {
    kavro::finish(console, warnings_, status_);
    return command_->results();
}

}  // namespace kavro
