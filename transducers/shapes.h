// The shapes that hosts and files know by name.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "method.h"
#include "transducer.h"

namespace kavro {

// A shape has sizes, one number each, or corners.
struct Shape {
    const char* name;                    // as hosts, tables and messages have it, "disc"
    const char* identifier;              // its short form, which elements may have, too: "circ"
    std::span<const char* const> sizes;  // names of its sizes, m
    const char* corners;                 // name of its n x 2 corners, m; null where it has sizes
    MethodSet methods;                   // that it offers
    std::unique_ptr<Transducer> (*make)(
        std::span<const double> sizes);  // sizes in that order, or all x, then all y
    bool has_source_phase = false;       // whether kzk_cw can march it with the source's phase
};

std::span<const Shape> shapes();

// The shape with this name or identifier, compared to the letter; null where there is none.
const Shape* shape_of(std::string_view name);

}  // namespace kavro
