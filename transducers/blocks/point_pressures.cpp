#include "transducers/blocks/point_pressures.h"

#include <memory>

#include "transducers/blocks/point_tiles.h"

namespace kavro {
namespace {

constexpr int tile_width = 256;

using Pressure = std::function<std::complex<double>(const CartesianCoordinate&)>;

class Worker : public TileWorker {
public:
    Worker(Transducer& element, const Pressure& pressure_at)
        : element_(element), pressure_at_(pressure_at) {}

    void work(int first, int count) override {
        for (int i = first; i < first + count; ++i) {
            const CartesianCoordinate point = element_.coordinate_grid->spatial_index_value(i);
            element_.superpose_complex_pressure(i, pressure_at_(element_.rotateTranslate(point)));
        }
    }

private:
    Transducer& element_;
    const Pressure& pressure_at_;
};

}  // namespace

TransducerStatus add_point_pressures(Transducer& element, const Pressure& pressure_at) {
    return work_in_tiles(element.coordinate_grid->npoints, tile_width,
                         [&] { return std::make_unique<Worker>(element, pressure_at); });
}

}  // namespace kavro
