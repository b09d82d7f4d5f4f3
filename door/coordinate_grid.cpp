#include "door/coordinate_grid.h"

#include <cstddef>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "door/values.h"

namespace kavro {
namespace {

std::string size_of(const Value* value) {
    return std::to_string(rows_of(value)) + " by " + std::to_string(columns_of(value));
}

std::vector<double> spacings(const Value* record) {
    const Value* delta = field_of(record, 0, "delta");
    if (delta == nullptr) {
        console::print("Expecting 'delta', but this field is not defined\n");
        refuse_made(host_words.grid_page);
    }
    if (!holds_real_numbers(delta) || entries_of(delta) != 3) {
        console::print("Expecting 'delta' as a vector with 3 entries, but instead, delta is %s\n",
                       size_of(delta).c_str());
        throw InputError(std::string("See the documentation or the online help for ") +
                         host_words.grid_page +
                         " for examples showing how to correctly define 'delta'\n");
    }
    return first_numbers(delta, 3);
}

void set_list(CoordinateGrid& grid, const Value* coordinates) {
    // A list of no points (0 x 3) is one too.
    if (!is_numeric(coordinates) || is_complex(coordinates) || dimensions_of(coordinates) != 2 ||
        columns_of(coordinates) != 3) {
        throw InputError(
            "Expecting 'coordinates' as a matrix with 3 columns, but instead, "
            "coordinates is " +
            size_of(coordinates));
    }
    const int n = count_of(rows_of(coordinates), "points");
    require_memory(static_cast<std::size_t>(n), 6 * sizeof(double), "points");
    grid.CoordinateGridVector(Numbers(coordinates).span().data(), n);
}

}  // namespace

void read_grid(CoordinateGrid& grid, const Value* value) {
    require_record(value, "Coordinate grid");
    if (const Value* coordinates = field_of(value, 0, "coordinates")) {
        set_list(grid, coordinates);
        return;
    }
    const auto limit = [value](const char* name, const char* instead_of = nullptr) {
        return made_number(value, name, host_words.grid_page, instead_of);
    };
    const double xmin = limit("xmin", "coordinates");
    const double xmax = limit("xmax");
    const double ymin = limit("ymin");
    const double ymax = limit("ymax");
    const double zmin = limit("zmin");
    const double zmax = limit("zmax");
    const std::vector<double> delta = spacings(value);
    grid.RegularCoordinateGrid(xmin, xmax, ymin, ymax, zmin, zmax, delta[0], delta[1], delta[2]);
}

}  // namespace kavro
