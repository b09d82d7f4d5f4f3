// What users can ask for besides a field by a method: commands, by name.
//
// A command is a file of its own and a line in the table of command.cpp. All hosts have one
// function for all of them; what users call, the toolbox and the package make of it.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "door/call_console.h"
#include "door/host.h"
#include "transducers/transducer_status.h"

namespace kavro {

// One call of a command. It stays where it is: what it made of the arguments may point to itself.
class Command {
public:
    Command() = default;
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // Reads and checks what the user gave, behind the command's name, and makes the arrays that
    // `run` fills. Throws InputError, std::bad_alloc, and what the host throws.
    virtual void read(std::span<const Value* const> arguments, CallConsole& console) = 0;

    // Fills the arrays. Needs no more of the host than the console asks. Throws InputError,
    // Interrupted and std::bad_alloc; statuses stand for the solver's texts.
    virtual TransducerStatus run() { return status_success; }

    // The answer's parts; the host takes as many as the user wants. Throws as new_zeros.
    virtual std::vector<Result*> results() = 0;

    // The number of threads that the user asks for; 0: as many as the environment says.
    int threads = 0;
};

// A command that runs: to be read, run and finished in this order. A host may let go of its lock
// while it runs.
class CommandCall {
public:
    // The first argument is the command's name. The console's progress line begins with it.
    void read(CallConsole& console, std::span<const Value* const> arguments);
    void run(CallConsole& console);
    int& threads() { return command_->threads; }

    // Hands the warnings to the host, completes the progress, and throws InputError with the text
    // for every status but success, and what the host or the user's function threw meanwhile.
    std::vector<Result*> finish(CallConsole& console);

private:
    std::string name_;
    std::unique_ptr<Command> command_;
    std::vector<std::string> warnings_;
    TransducerStatus status_ = status_failure;
};

}  // namespace kavro
