// A tile of neighbouring points, where the shares of all elements come together.
#pragma once

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

#include "core/aligned_vector.h"
#include "core/interrupted.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/blocks/tile_measures.h"
#include "transducers/tolerance/tally.h"
#include "transducers/transducer.h"

namespace kavro {

// The points with successive indices that a thread works on, and their place in the outputs. A
// point knows nothing of the other points, so any division into tiles gives the same result. One
// for each thread, used again from tile to tile.
//
// Transient methods either add to rows, the tile's own copy of the time slices, which is written
// back once for all elements, or straight into the output. Either way a point's elements are added
// in their order. Where measures are wanted of a field there is no output: rows stand for it.
class PointTile {
public:
    // For tiles of up to `width` points, a multiple of block_lanes, of the grid of an element whose
    // outputs and time axis are those of all.
    // The tally, if there is one, hears of abscissas that points choose.
    PointTile(const Transducer& first, int width, Spend spend, TallyPart* tally = nullptr,
              const TileMeasures* measures = nullptr);

    // Begins the tile of `count` points from `first` on. Rows start from the output's values, or
    // from zero where those are known to be.
    void begin(int first, int count, bool output_is_zero);

    // The outputs of this element from now on.
    void turn_to(const Transducer& element);

    // Brings what the rows hold to its place.
    void finish();

    // ---- points, in blocks of block_lanes
    int count() const { return count_; }
    int blocks() const { return (count_ + block_lanes - 1) / block_lanes; }
    int first_of(int block) const { return first_ + block * block_lanes; }  // index in the grid
    int present(int block) const { return std::min(count_ - block * block_lanes, block_lanes); }

    // A block's points in an element's own frame; the last one fills the lanes beyond. The rotation
    // matrix is set.
    void place(const Transducer& element, int block, Lanes<CartesianCoordinate>& local) const;
    template <class Real>
    void place(const Transducer& element, int block, EdgeBlock<Real>& edge) const;

    // ---- outputs
    const TimeSamples& times() const { return *times_; }
    void add(int block, int lane, const std::complex<double>& pressure, std::size_t layer = 0);

    // Entry (j, p) of the rows, sample j of point p, at j * width() + p. Only loaded ones hold
    // anything.
    double* rows();
    int width() const { return width_; }
    void load_rows(SampleWindow window);
    SampleWindow loaded() const { return loaded_; }

    // Before a window of the output is added to; then a block's values of a sample in it.
    void open(SampleWindow window);
    double* output(int block, int j);

    // ---- the thread
    const Spend& spend() const { return spend_; }
    TallyPart* tally() const { return tally_; }

    // Tells the tally how the lanes of a block came to their samples.
    template <class Real>
    void note_quadrature(int block, const EdgeBlock<Real>& edge) const {
        if (tally_ != nullptr && !edge.quadrature.rules.empty()) {
            tally_->note(first_of(block), present(block), edge.quadrature);
        }
    }

    // To be called before each of many rows, with the number of those before: spends a step for
    // each point of a row.
    void spend_rows(int done) const;

    // Scratch of the type, made once by the function and kept for the next element and tile.
    template <class Room, class Make>
    Room& room(Make make);

private:
    void write_rows();  // into the output; none is loaded then

    const CoordinateGrid& grid_;
    const TimeSamples* times_;
    double* real_;
    double* imaginary_;
    double* transient_;
    int width_;
    Spend spend_;
    TallyPart* tally_;
    const TileMeasures* measures_;

    int first_ = 0;
    int count_ = 0;
    bool output_is_zero_ = false;
    std::vector<CartesianCoordinate> points_;  // of the tile, the last one repeated to fill a block
    SampleWindow loaded_{0, 0};
    AlignedVector<double> rows_;
    std::vector<std::pair<std::type_index, std::shared_ptr<void>>> rooms_;
};

template <class Real>
void PointTile::place(const Transducer& element, int block, EdgeBlock<Real>& edge) const {
    const CartesianCoordinate* point = points_.data() + block * block_lanes;
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        const CartesianCoordinate local = element.rotateTranslate(point[lane]);
        if constexpr (std::is_same_v<Real, float>) {
            edge.unrounded[lane] = local;
        }
        edge.x[lane] = static_cast<Real>(local.x);
        edge.y[lane] = static_cast<Real>(local.y);
        edge.z[lane] = static_cast<Real>(local.z);
    }
}

template <class Room, class Make>
Room& PointTile::room(Make make) {
    for (const auto& [type, room] : rooms_) {
        if (type == typeid(Room)) {
            return *static_cast<Room*>(room.get());
        }
    }
    rooms_.emplace_back(typeid(Room), std::shared_ptr<Room>(make()));
    return *static_cast<Room*>(rooms_.back().second.get());
}

}  // namespace kavro
