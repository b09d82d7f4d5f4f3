#include "door/methods.h"

#include <span>
#include <string>
#include <vector>

#include "door/options.h"
#include "transducers/operations.h"

namespace kavro {
namespace {

std::string joined(std::span<const char* const> words) {
    std::string list;
    for (const char* word : words) {
        list.append(list.empty() ? "" : ",").append(word);
    }
    return list;
}

std::vector<const char*> shapes_that_implement(const Operation& operation) {
    std::vector<const char*> identifiers;
    for (const Shape& shape : shapes()) {
        if (implements(operation, shape)) {
            identifiers.push_back(shape.identifier);
        }
    }
    return identifiers;
}

std::string table_of_methods() {
    std::string text;
    for (const Shape& shape : shapes()) {
        text += std::string("shape\t") + shape.identifier + "\t" + shape.name + "\n";
    }
    for (const Operation& operation : operations()) {
        text += std::string("method\t") + operation.name + "\t" +
                joined(shapes_that_implement(operation)) + "\t" + joined(option_names(operation)) +
                "\t" + std::to_string(operation.default_ndiv) + "\t" +
                std::to_string(operation.ndiv_multiple) + "\t" + operation.summary + "\n";
    }
    return text;
}

class Methods : public Command {
public:
    void read(std::span<const Value* const>, CallConsole&) override {}
    std::vector<Result*> results() override { return {new_text(table_of_methods())}; }
};

}  // namespace

std::unique_ptr<Command> new_methods() {
    return std::make_unique<Methods>();
}

}  // namespace kavro
