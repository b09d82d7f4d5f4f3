// The shapes that hosts and files know by name.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "transducer.h"

namespace kavro {

struct Shape {
    const char* identifier;              // as hosts write it, "circ"
    const char* name;                    // as people say it, "disc"
    std::span<const char* const> sizes;  // names of its sizes, m
    std::unique_ptr<Transducer> (*make)(std::span<const double> sizes);  // sizes in that order
    bool has_source_phase = false;  // whether kzk_cw can march it with the source's phase
};

std::span<const Shape> shapes();

// The shape with this identifier, compared to the letter; null where there is none.
const Shape* shape_of(std::string_view identifier);

}  // namespace kavro
