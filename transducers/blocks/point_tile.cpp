#include "transducers/blocks/point_tile.h"

#include "core/zeros.h"

namespace kavro {
namespace {

std::size_t at(int row, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
}

}  // namespace

PointTile::PointTile(const Transducer& first, int width, Spend spend, TallyPart* tally,
                     const TileMeasures* measures)
    : grid_(*first.coordinate_grid),
      times_(first.time_samples),
      real_(first.pressure_real),
      imaginary_(first.pressure_imag),
      transient_(first.transient_pressure),
      width_(width),
      spend_(std::move(spend)),
      tally_(tally),
      measures_(measures),
      points_(static_cast<std::size_t>(width)) {}

void PointTile::begin(int first, int count, bool output_is_zero) {
    first_ = first;
    count_ = count;
    output_is_zero_ = output_is_zero || measures_ != nullptr;
    loaded_ = {0, 0};
    for (int p = 0; p < width_; ++p) {
        points_[static_cast<std::size_t>(p)] =
            grid_.spatial_index_value(first + std::min(p, count - 1));
    }
}

void PointTile::turn_to(const Transducer& element) {
    if (measures_ != nullptr ||
        (element.transient_pressure == transient_ && element.pressure_real == real_ &&
         element.pressure_imag == imaginary_)) {
        return;
    }
    write_rows();
    real_ = element.pressure_real;
    imaginary_ = element.pressure_imag;
    transient_ = element.transient_pressure;
    output_is_zero_ = false;  // an element before may have written it
}

void PointTile::finish() {
    if (measures_ != nullptr) {
        measures_->write(rows(), static_cast<std::size_t>(width_), loaded_, first_, count_);
    } else {
        write_rows();
    }
}

void PointTile::place(const Transducer& element, int block,
                      Lanes<CartesianCoordinate>& local) const {
    const CartesianCoordinate* point = points_.data() + at(block, block_lanes);
    for (std::size_t lane = 0; lane < block_lanes; ++lane) {
        local[lane] = element.rotateTranslate(point[lane]);
    }
}

void PointTile::add(int block, int lane, const std::complex<double>& pressure, std::size_t layer) {
    const std::size_t i = layer * static_cast<std::size_t>(grid_.npoints) +
                          static_cast<std::size_t>(first_of(block) + lane);
    real_[i] += pressure.real();
    imaginary_[i] += pressure.imag();
}

double* PointTile::rows() {
    if (rows_.empty()) {
        assign_zeros(rows_, at(times_->ntimes, width_), spend_);
    }
    return rows_.data();
}

void PointTile::load_rows(SampleWindow window) {
    double* const rows = this->rows();
    const auto load = [&](int begin, int end) {
        for (int j = begin; j < end; ++j) {
            spend_rows(j - begin);
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
        spend_rows(j - loaded_.begin);
        std::copy_n(rows_.data() + at(j, width_), count_, output(0, j));
    }
    loaded_ = {0, 0};
    output_is_zero_ = false;  // whoever asks for rows again reads what was written
}

void PointTile::open(SampleWindow window) {
    if (measures_ == nullptr) {
        write_rows();
    } else if (window.begin < window.end) {
        load_rows(window);
    }
}

void PointTile::spend_rows(int done) const {
    constexpr int rows_at_a_time = 4096;
    if (done % rows_at_a_time == rows_at_a_time - 1) {
        spend_(std::int64_t{rows_at_a_time} * width_);
    }
}

double* PointTile::output(int block, int j) {
    if (measures_ != nullptr) {
        return rows_.data() + at(j, width_) + block * block_lanes;
    }
    return transient_ + at(j, grid_.npoints) + first_of(block);
}

}  // namespace kavro
