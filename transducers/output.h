// What the caller knows of an output.
#pragma once

namespace kavro {

enum class Output {
    accumulate,  // it holds anything; pressures are added to it
    all_zero,    // it holds zeros, as the caller vouches: they need not be read
};

}  // namespace kavro
