#include "door/chosen_method.h"

#include "door/read.h"

namespace kavro {
namespace {

class ChosenMethod : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        kavro::read(request_, console, arguments);
    }

    std::vector<Result*> results() override { return {new_text(request_.operation->name)}; }

private:
    SolveRequest request_;
};

}  // namespace

std::unique_ptr<Command> new_chosen_method() {
    return std::make_unique<ChosenMethod>();
}

}  // namespace kavro
