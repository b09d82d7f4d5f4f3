// What to do about a limit.
#pragma once

#include <string>
#include <type_traits>

#include "core/input_error.h"

namespace kavro {

// Takes a step; where its error tells of a limit, the error ends with the advice.
template <class Step>
void advised(const char* advice, Step step) {
    const auto with_advice = [advice](const auto& error) {
        const std::string more = error.more();
        return std::decay_t<decltype(error)>(error.what(),
                                             more.empty() ? more : more + " " + advice);
    };
    try {
        step();
    } catch (const MemoryError& error) {
        throw with_advice(error);
    } catch (const InputError& error) {
        throw with_advice(error);
    }
}

}  // namespace kavro
