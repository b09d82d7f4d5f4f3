// A flat convex polygon.
#pragma once

#include <vector>

#include "../transducer.h"

namespace kavro {

// A convex polygon in the plane z = 0 of its own frame, radiating towards +z: triangles and
// hexagons of matrix and bowl arrays. Lengths in metres. It has no reference mode: exact() is
// always true.
class PolygonTransducer : public Transducer {
public:
    struct Corner {
        double x = 0.0, y = 0.0;
    };

    // An edge: where it begins, its direction and its length (m).
    struct Side {
        double x, y;
        double ux, uy;
        double length;
    };

    // Corners in order around the face, in either sense. Throws InputError for fewer than three,
    // for numbers that are not finite, for neighbours that agree and for corners that do not go
    // once around a convex face. Three in a line are allowed.
    explicit PolygonTransducer(std::vector<Corner> corners);
    PolygonTransducer(std::vector<Corner> corners, double time_delay);
    PolygonTransducer(std::vector<Corner> corners, double amplitude, double phase);

    // Counter-clockwise, seen from +z.
    const std::vector<Corner>& corners() const { return corners_; }
    const std::vector<Side>& sides() const { return sides_; }

    void debug(int level) const override;
    void mex_debug(int level) const override;

    static constexpr MethodSet offered{Method::fnm_cw,
                                       Method::rayleigh_cw,
                                       Method::fnm_transient,
                                       Method::fnm_spectral,
                                       Method::fnm_fdtsd,
                                       Method::fnm_tsd,
                                       Method::fnm_tsd_low_precision,
                                       Method::impulse_begin_and_end_times};

    MethodSet methods() const override { return offered; }
    double face_extent() const override;
    double face_area() const override;
    ApertureDistances distances(const CartesianCoordinate& point) const override;
    std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const override;
    EdgeScale edge_scale(Method method) const override;
    FarPattern far_pattern(double wavenumber) const override;
    std::unique_ptr<SurfaceRows<double>> surface(const Wanted& wanted) const override;

protected:
    bool has_reference_mode() const override { return false; }

private:
    std::vector<Corner> corners_;
    std::vector<Side> sides_;
};

}  // namespace kavro
