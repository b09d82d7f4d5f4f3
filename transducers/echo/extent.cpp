// What must be known of all scatterers before their echoes.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

#include "core/input_error.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/echo/wiring.h"

namespace kavro {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Earliest and latest firing of a sender over all events, without those that never fire.
struct Firing {
    std::size_t face;
    double first, last;
};

std::vector<Firing> firings(const EchoScene& scene, const echo::Wiring& wiring) {
    std::vector<Firing> all;
    const EchoEvents& events = scene.events;
    for (std::size_t c = 0; c < wiring.senders.size(); ++c) {
        double first = infinity, last = -infinity;
        for (std::size_t j = 0; j < events.count; ++j) {
            const double delay = events.delays.empty() ? 0.0 : events.delays[j + c * events.count];
            first = std::fmin(first, delay);
            last = std::fmax(last, delay);
        }
        for (const echo::Sender& sender : wiring.senders[c]) {
            if (first <= last) {
                all.push_back({sender.face, first + sender.delay, last + sender.delay});
            }
        }
    }
    return all;
}

struct Way {
    double near = infinity, far = 0.0;
};

class Extents {
public:
    explicit Extents(const EchoScene& scene)
        : wiring_(scene, false), firings_(firings(scene, wiring_)) {
        for (Transducer* const face : wiring_.faces) {
            face->InitializeRotationMatrix();
        }
        speed_ = wiring_.faces[0]->medium->_soundspeed;
    }

    std::size_t faces() const { return wiring_.faces.size(); }

    EchoExtent of(const CartesianCoordinate& point, std::vector<Way>& ways) const {
        EchoExtent extent;
        ways.resize(faces());
        for (std::size_t i = 0; i < faces(); ++i) {
            const Transducer& face = *wiring_.faces[i];
            const ApertureDistances reach = face.distances(face.rotateTranslate(point));
            ways[i] = {reach.nearest, reach.farthest};
            extent.longest_way = std::fmax(extent.longest_way, reach.farthest);
            extent.spread = std::fmax(extent.spread, reach.farthest - reach.nearest);
        }
        Way out, in;
        double first = infinity, last = -infinity;
        for (const Firing& firing : firings_) {
            const Way& way = ways[firing.face];
            out = {std::fmin(out.near, way.near), std::fmax(out.far, way.far)};
            first = std::fmin(first, firing.first + way.near / speed_);
            last = std::fmax(last, firing.last + way.far / speed_);
        }
        for (const std::vector<std::size_t>& channel : wiring_.listeners) {
            for (const std::size_t face : channel) {
                in = {std::fmin(in.near, ways[face].near), std::fmax(in.far, ways[face].far)};
            }
        }
        extent.nearest = out.near + in.near;
        extent.farthest = out.far + in.far;
        extent.earliest = first + in.near / speed_;
        extent.latest = last + in.far / speed_;
        return extent;
    }

private:
    echo::Wiring wiring_;
    std::vector<Firing> firings_;
    double speed_;
};

}  // namespace

void EchoExtent::include(const EchoExtent& other) {
    nearest = std::fmin(nearest, other.nearest);
    farthest = std::fmax(farthest, other.farthest);
    longest_way = std::fmax(longest_way, other.longest_way);
    spread = std::fmax(spread, other.spread);
    earliest = std::fmin(earliest, other.earliest);
    latest = std::fmax(latest, other.latest);
}

EchoExtent echo_extent(const EchoScene& scene, std::span<const Scatterer> scatterers) {
    constexpr int width = 64;
    constexpr std::int64_t steps_of_face = 8;
    echo::check_scene(scene);
    echo::check_scatterers(scatterers);
    const Extents extents(scene);
    EchoExtent all;
    std::mutex mutex;
    work_in_tiles(static_cast<int>(scatterers.size()), width, [&](Team::Member& member) {
        return [&, ways = std::vector<Way>()](int first, int count) mutable {
            EchoExtent part;
            for (int i = first; i < first + count; ++i) {
                member.spend(steps_of_face * static_cast<std::int64_t>(extents.faces()));
                part.include(extents.of(scatterers[static_cast<std::size_t>(i)].position, ways));
            }
            const std::lock_guard lock(mutex);
            all.include(part);
        };
    });
    return all;
}

}  // namespace kavro
