// An element's transfer functions to a block of scatterers, at the nodes of the frequencies.
#pragma once

#include <memory>

#include "core/aligned_vector.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/echo/lines.h"
#include "transducers/spectral/transfer_function.h"
#include "transducers/transducer.h"

namespace kavro::echo {

// An element that is ready: its rotation matrix is set.
struct Face {
    const Transducer* element;
    std::unique_ptr<EdgeGenerator<double>> edge;
};

// Scratch of a thread.
struct NodeRoom {
    EdgeBlock<double> block{0, EdgeDetail::none};
    CombSamples samples;
    CombPoints points;
};

// Of the points, sum over i of g_i e^(-(s + mu)(tau_i - tau)) at each node: entry (node, lane) at
// node * block_lanes + lane; tau, the middle delay, into `middle`. Returns the layout of the nodes,
// the sparsest one that serves all points.
const NodeLayout& sum_at_nodes(const Face& face, const Lanes<CartesianCoordinate>& points,
                               const Lines& lines, NodeRoom& room, double* re, double* im,
                               double* middle);

}  // namespace kavro::echo
