// What to do about a limit.
#pragma once

#include <string>

#include "core/input_error.h"

namespace kavro {

// Takes a step; where its error tells of a limit, the error ends with the advice.
template <class Step>
void advised(const char* advice, Step step) {
    try {
        step();
    } catch (const InputError& error) {
        const std::string more = error.more();
        throw InputError(error.what(), more.empty() ? more : more + " " + advice);
    }
}

}  // namespace kavro
