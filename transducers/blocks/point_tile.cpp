#include "transducers/blocks/point_tile.h"

namespace kavro {
namespace {

std::size_t at(int row, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
}

}  // namespace

PointTile::PointTile(const Transducer& first, int width, Spend spend, TallyPart* tally)
    : grid_(*first.coordinate_grid),
      times_(first.time_samples),
      real_(first.pressure_real),
      imaginary_(first.pressure_imag),
      transient_(first.transient_pressure),
      width_(width),
      spend_(std::move(spend)),
      tally_(tally),
      points_(static_cast<std::size_t>(width)) {}

void PointTile::begin(int first, int count, bool output_is_zero) {
    first_ = first;
    count_ = count;
    output_is_zero_ = output_is_zero;
    loaded_ = {0, 0};
    for (int p = 0; p < width_; ++p) {
        points_[static_cast<std::size_t>(p)] =
            grid_.spatial_index_value(first + std::min(p, count - 1));
    }
}

void PointTile::place(const Transducer& element, int block,
                      Lanes<CartesianCoordinate>& local) const {
    const CartesianCoordinate* point = points_.data() + at(block, block_lanes);
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        local[lane] = element.rotateTranslate(point[lane]);
    }
}

void PointTile::add(int block, int lane, const std::complex<double>& pressure) {
    const int i = first_of(block) + lane;
    real_[i] += pressure.real();
    imaginary_[i] += pressure.imag();
}

double* PointTile::rows() {
    if (rows_.empty()) {
        rows_.resize(at(times_->ntimes, width_));
    }
    return rows_.data();
}

void PointTile::load_rows(SampleWindow window) {
    double* const rows = this->rows();
    const auto load = [&](int begin, int end) {
        for (int j = begin; j < end; ++j) {
            double* row = rows + at(j, width_);
            if (output_is_zero_) {
                std::fill_n(row, width_, 0.0);
            } else {
                std::copy_n(output(0, j), count_, row);
            }
        }
    };
    if (loaded_.begin >= loaded_.end) {
        load(window.begin, window.end);
        loaded_ = window;
        return;
    }
    load(window.begin, loaded_.begin);
    load(loaded_.end, window.end);
    loaded_ = {std::min(window.begin, loaded_.begin), std::max(window.end, loaded_.end)};
}

void PointTile::write_rows() {
    for (int j = loaded_.begin; j < loaded_.end; ++j) {
        std::copy_n(rows_.data() + at(j, width_), count_, output(0, j));
    }
    loaded_ = {0, 0};
    output_is_zero_ = false;  // whoever asks for rows again reads what was written
}

double* PointTile::output(int block, int j) {
    return transient_ + at(j, grid_.npoints) + first_of(block);
}

}  // namespace kavro
