// The sum over a chunk of scatterers.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/threads.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/echo/order.h"
#include "transducers/echo/plan.h"
#include "transducers/echo/products.h"
#include "transducers/echo/rows.h"

namespace kavro {
namespace {

using namespace echo;

constexpr auto lanes = static_cast<std::size_t>(block_lanes);
constexpr auto slab = static_cast<std::size_t>(Lines::slab);
constexpr std::size_t slabs_at_a_time = 2;
constexpr std::size_t panel = product_block * panel_rows;
constexpr std::size_t faces_at_a_time = 8;

std::size_t panels_of(std::size_t rows) {
    return (rows + panel_rows - 1) / panel_rows;
}

// Real parts of rows (panels) of a kind at a frequency take a stride, imaginary parts the next one;
// within it blocks follow each other. Scratch of a thread, kept from work to work.
struct Room {
    NodeRoom nodes;
    AlignedVector<double> rows, events;
    ProductRoom products;
};

// Adds scatterers up, a few blocks of them at a time: first the transfer functions of all elements
// at the nodes; then, for some frequencies after the others, rows of all channels, and from these
// the products. Each part of the work is one thread's, and each frequency's sum grows in the order
// of the blocks.
class ChunkSum {
public:
    ChunkSum(const Plan& plan, std::span<const Scatterer> chunk)
        : plan_(plan),
          wiring_(plan.wiring),
          lines_(plan.lines),
          chunk_(chunk),
          order_(order_in_space(chunk)),
          rooms_(static_cast<std::size_t>(std::max(1, thread_count()))),
          width_(padded_width(plan.receivers())) {
        constexpr std::size_t blocks_of_lanes = product_block / lanes;
        blocks_ = std::clamp<std::size_t>(rooms_.size() / blocks_of_lanes, 1,
                                          (chunk.size() + product_block - 1) / product_block);
        const std::size_t count = blocks_ * product_block;
        node_size_ = static_cast<std::size_t>(lines_.most_nodes()) * lanes;
        const std::size_t at_once =
            std::min(slab * slabs_at_a_time, static_cast<std::size_t>(lines_.count()));
        listener_stride_ = panels_of(plan.receivers()) * blocks_ * panel;
        const bool own_panels = !(wiring_.has_pairs && wiring_.is_shared);
        sender_stride_ = own_panels ? panels_of(wiring_.rows()) * blocks_ * panel : 0;
        const std::size_t of_nodes = count / lanes * plan.faces.size() * (2 * node_size_ + lanes);
        const std::size_t of_panels = 2 * at_once * (listener_stride_ + sender_stride_);
        const std::size_t of_sums = 2 * plan.frequencies() * wiring_.rows() * width_;
        require_memory(of_nodes + of_panels + of_sums, sizeof(double), "transfer functions");
        nodes_.resize(of_nodes);
        layouts_.resize(count / lanes * plan.faces.size());
        listeners_.resize(2 * at_once * listener_stride_);
        senders_.resize(2 * at_once * sender_stride_);
        sums_.resize(of_sums);
        scale_.resize(count);
        points_.resize(count / lanes);
    }

    void compute() {
        const std::size_t step = blocks_ * product_block;
        for (std::size_t first = 0; first < chunk_.size(); first += step) {
            const auto all = static_cast<double>(chunk_.size());
            const std::size_t last = std::min(first + step, chunk_.size());
            const console::ProgressPart part(static_cast<double>(first) / all,
                                             static_cast<double>(last) / all);
            take(first, last);
            add_blocks((last - first + product_block - 1) / product_block);
        }
    }

    void write(std::span<std::complex<double>> out) const {
        const std::size_t receivers = plan_.receivers();
        const bool is_symmetric = wiring_.has_pairs && wiring_.is_shared;
        std::size_t to = 0;
        for (std::size_t q = 0; q < plan_.frequencies(); ++q) {
            const double* const re = sums_.data() + 2 * q * sums_size();
            const double* const im = re + sums_size();
            for (std::size_t row = 0; row < wiring_.rows(); ++row) {
                for (std::size_t m = 0; m < receivers; ++m) {
                    const bool is_below = is_symmetric && m < row;
                    const std::size_t at = is_below ? m * width_ + row : row * width_ + m;
                    out[to++] = {re[at], im[at]};
                }
            }
        }
    }

private:
    using Work = std::function<void(std::size_t index, Room& room, Team::Member& member)>;

    // Progress goes from `begin` to `end` of the blocks'.
    void share_out(double begin, double end, std::size_t count, const Work& work) {
        const console::ProgressPart part(begin, end);
        std::atomic<std::size_t> next{0};
        work_in_tiles(static_cast<int>(count), 1, [&](Team::Member& member) {
            Room& room = rooms_[next++];
            return [&](int index, int) { work(static_cast<std::size_t>(index), room, member); };
        });
    }

    // Scatterers first ... last - 1 of the order; the last one, without strength, fills blocks.
    void take(std::size_t first, std::size_t last) {
        for (std::size_t i = 0; i < scale_.size(); ++i) {
            const Scatterer& at = chunk_[order_[std::min(first + i, last - 1)]];
            points_[i / lanes][i % lanes] = at.position;
            scale_[i] = first + i < last ? at.amplitude : 0.0;
        }
    }

    void add_blocks(std::size_t blocks) {
        find_nodes(blocks * product_block / lanes);
        const std::size_t all = plan_.frequencies();
        const std::size_t step = slab * slabs_at_a_time;
        for (std::size_t first = 0; first < all; first += step) {
            const std::size_t last = std::min(first + step, all);
            const auto share = [&](double q) { return 0.5 + 0.5 * q / static_cast<double>(all); };
            const double begin = share(static_cast<double>(first));
            const double middle = share(0.5 * static_cast<double>(first + last));
            const double end = share(static_cast<double>(last));
            const std::size_t lane_blocks = blocks * product_block / lanes;
            const std::size_t slabs = (last - first + slab - 1) / slab;
            share_out(begin, middle, lane_blocks * slabs,
                      [&](std::size_t i, Room& room, Team::Member& member) {
                          const std::size_t from = first + i / lane_blocks * slab;
                          fill_panels(i % lane_blocks, first, from, std::min(from + slab, last),
                                      room, member);
                      });
            share_out(middle, end, last - first,
                      [&](std::size_t i, Room& room, Team::Member& member) {
                          multiply(blocks, first, first + i, room, member);
                      });
        }
    }

    // Real and imaginary parts at the nodes, and middle delays.
    std::size_t nodes_at(std::size_t lane_block, std::size_t face) const {
        return (lane_block * plan_.faces.size() + face) * (2 * node_size_ + lanes);
    }

    void find_nodes(std::size_t lane_blocks) {
        const std::size_t faces = plan_.faces.size();
        const std::size_t groups = (faces + faces_at_a_time - 1) / faces_at_a_time;
        share_out(
            0.0, 0.5, lane_blocks * groups, [&](std::size_t i, Room& room, Team::Member& member) {
                const std::size_t block = i % lane_blocks;
                const std::size_t begin = i / lane_blocks * faces_at_a_time;
                for (std::size_t f = begin; f < std::min(begin + faces_at_a_time, faces); ++f) {
                    double* const nodes = nodes_.data() + nodes_at(block, f);
                    layouts_[block * faces + f] =
                        &sum_at_nodes(plan_.faces[f], points_[block], lines_, room.nodes, nodes,
                                      nodes + node_size_, nodes + 2 * node_size_);
                    member.spend(std::int64_t{block_lanes} * room.nodes.samples.count *
                                 (layouts_[block * faces + f]->nodes() + 8) / 4);
                }
            });
    }

    // Frequencies begin <= q < end of a slab, of the panels that begin with `first`.
    void fill_panels(std::size_t lane_block, std::size_t first, std::size_t begin, std::size_t end,
                     Room& room, Team::Member& member) {
        const std::size_t size = slab * lanes;
        const auto count = static_cast<int>(end - begin);
        room.rows.resize(2 * panel_rows * size);
        const bool has_events = !wiring_.has_pairs;
        const std::size_t events = has_events ? panels_of(wiring_.events) * panel_rows : 0;
        room.events.assign(2 * events * size, 0.0);
        const auto row_of = [size](AlignedVector<double>& all, std::size_t r) {
            return Row{all.data() + 2 * r * size, all.data() + (2 * r + 1) * size};
        };
        const auto to_events = [&](const Row& row, std::size_t channel) {
            for (std::size_t j = 0; j < wiring_.events; ++j) {
                const std::complex<double>* const weights = plan_.weights(j, channel) + begin;
                if (weights[0] != 0.0) {
                    add_weighted(row, count, weights, row_of(room.events, j));
                }
            }
        };
        const std::size_t place = lane_block * lanes;
        const auto store = [&](AlignedVector<double>& panels, std::size_t stride,
                               std::size_t number, AlignedVector<double>& rows, std::size_t from,
                               const double* scale) {
            for (std::size_t part = 0; part < 2; ++part) {
                const double* four[panel_rows];
                for (std::size_t r = 0; r < panel_rows; ++r) {
                    const Row row = row_of(rows, from + r);
                    four[r] = part == 0 ? row.re : row.im;
                }
                const std::size_t at = (2 * (begin - first) + part) * stride +
                                       place / product_block * (stride / blocks_) + number * panel +
                                       place % product_block * panel_rows;
                store_panels(four, count, scale, panels.data() + at, 2 * stride);
            }
        };
        const std::size_t receivers = plan_.receivers();
        for (std::size_t c = 0; c < receivers; c += panel_rows) {
            std::fill(room.rows.begin(), room.rows.end(), 0.0);
            for (std::size_t r = 0; r < panel_rows && c + r < receivers; ++r) {
                const Row row = row_of(room.rows, r);
                for (const std::size_t face : wiring_.listeners[c + r]) {
                    add(lane_block, face, begin, end, nullptr, row, member);
                }
                if (has_events && wiring_.is_shared) {
                    to_events(row, c + r);
                }
            }
            store(listeners_, listener_stride_, c / panel_rows, room.rows, 0, nullptr);
        }
        const double* const scale = scale_.data() + place;
        std::size_t sender = 0;
        const std::size_t senders = wiring_.is_shared ? 0 : wiring_.senders.size();
        for (std::size_t c = 0; c < senders; ++c) {
            const std::size_t r = c % panel_rows;
            if (r == 0) {
                std::fill(room.rows.begin(), room.rows.end(), 0.0);
            }
            const Row row = row_of(room.rows, r);
            for (const Sender& at : wiring_.senders[c]) {
                add(lane_block, at.face, begin, end, plan_.own_weights(sender++) + begin, row,
                    member);
            }
            if (has_events) {
                to_events(row, c);
            } else if (r + 1 == panel_rows || c + 1 == senders) {
                store(senders_, sender_stride_, c / panel_rows, room.rows, 0, scale);
            }
        }
        for (std::size_t j = 0; j < events; j += panel_rows) {
            store(senders_, sender_stride_, j / panel_rows, room.events, j, scale);
        }
    }

    void add(std::size_t lane_block, std::size_t face, std::size_t begin, std::size_t end,
             const std::complex<double>* factors, const Row& row, Team::Member& member) const {
        const double* const nodes = nodes_.data() + nodes_at(lane_block, face);
        const NodeLayout& layout = *layouts_[lane_block * plan_.faces.size() + face];
        add_transfer(lines_, {layout, nodes, nodes + node_size_, nodes + 2 * node_size_},
                     static_cast<int>(begin), static_cast<int>(end), factors, row);
        member.spend(static_cast<std::int64_t>((end - begin) * lanes));
    }

    void multiply(std::size_t blocks, std::size_t first, std::size_t q, Room& room,
                  Team::Member& member) {
        const bool is_symmetric = wiring_.has_pairs && wiring_.is_shared;
        const auto panels = [&](const AlignedVector<double>& all, std::size_t stride,
                                std::size_t block, std::size_t rows) {
            const double* const at =
                all.data() + 2 * (q - first) * stride + block * (stride / blocks_);
            return Panels{at, at + stride, rows};
        };
        double* const sums = sums_.data() + 2 * q * sums_size();
        for (std::size_t block = 0; block < blocks; ++block) {
            const Panels listeners = panels(listeners_, listener_stride_, block, plan_.receivers());
            const Panels senders =
                is_symmetric ? listeners : panels(senders_, sender_stride_, block, wiring_.rows());
            add_products(senders, listeners,
                         is_symmetric ? scale_.data() + block * product_block : nullptr,
                         is_symmetric, room.products, {sums, sums + sums_size()});
            member.spend(
                static_cast<std::int64_t>(wiring_.rows() * plan_.receivers() * product_block / 8));
        }
    }

    std::size_t sums_size() const { return wiring_.rows() * width_; }

    const Plan& plan_;
    const Wiring& wiring_;
    const Lines& lines_;
    std::span<const Scatterer> chunk_;
    std::vector<std::uint32_t> order_;
    std::vector<Room> rooms_;
    std::size_t width_, blocks_, node_size_, listener_stride_, sender_stride_;
    AlignedVector<double> nodes_, listeners_, senders_, sums_;
    std::vector<const NodeLayout*> layouts_;
    AlignedVector<double> scale_;
    std::vector<Lanes<CartesianCoordinate>> points_;
};

}  // namespace

void EchoPlan::sum_chunk(std::span<const Scatterer> chunk,
                         std::span<std::complex<double>> sum) const {
    if (chunk.size() > echo_chunk) {
        throw InputError("A chunk must have " + std::to_string(echo_chunk) +
                         " scatterers at most, not " + std::to_string(chunk.size()) + ".");
    }
    if (sum.size() != sum_size()) {
        throw InputError("The sum of a chunk must have " + std::to_string(sum_size()) +
                         " numbers, not " + std::to_string(sum.size()) + ".");
    }
    echo::check_scatterers(chunk);
    if (chunk.empty() || sum.empty()) {
        std::fill(sum.begin(), sum.end(), 0.0);
        return;
    }
    ChunkSum chunk_sum(*parts_, chunk);
    chunk_sum.compute();
    chunk_sum.write(sum);
}

}  // namespace kavro
