// What an element adds to a field by one method.
#pragma once

#include <cstddef>

#include "transducers/blocks/edge_block.h"

namespace kavro {

class PointTile;

// An element made ready for one method: all that is the same for every point. Immutable, and read
// by all threads. A method is one kind of share; what it computes with is kept in the tile's rooms.
class Share {
public:
    virtual ~Share() = default;

    // Adds to every point of the tile.
    virtual void add(PointTile& tile) const = 0;

    // The widest tile (points, a multiple of block_lanes) that suits the method.
    virtual int tile_width() const { return block_lanes; }

    // Memory that the share keeps for itself.
    virtual std::size_t bytes() const { return 0; }
};

}  // namespace kavro
