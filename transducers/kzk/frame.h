// Coordinates that follow a beam: what an exact march runs in.
#pragma once

namespace kavro::kzk {

// Radii are counted in a width g that narrows and widens as the beam does, pressures in 1/g, and
// the curvature of the front, the phase G r^2 g'/g, is taken off. A piston is flat in these
// coordinates, curved or not, and its focus or far field is about as wide as itself: no chirp is
// left for the radial grid to resolve, whatever the gain G is.
//
// g is the width of a Gaussian beam, g^2 = (1 + C x)^2 + (2x/G)^2 at the range x, with the source's
// curvature C: -1 for a shell, whose ranges are counted in its radius of curvature, 0 for a disc
// (G = 1), whose ranges are counted in Rayleigh distances. A march goes through it in legs on which
// g is linear; where two legs meet, the front is bent by the difference of their slopes.
//
// Without diffraction rays do not turn: the width stays 1 and the front as it is.
class Frame {
public:
    Frame(double gain, double curvature, bool diffracts = true);

    double width(double range) const;
    double slope(double from, double to) const;  // of the leg between two ranges

    // By what the front is bent at a width, for each unit of slope and squared radius (widths),
    // rad.
    double bend(double width) const { return gain_ * width; }

    // All that up to a range, rad for each unit of squared radius.
    double bending(double range) const;

    // Where a leg that begins at a range ends at the latest, over an angle of the beam: pi, all in
    // all, half of it before the focus.
    double leg_end(double range, double angle) const;

    // Where the width has changed by a few per cent.
    double change_end(double range) const;

    // Where a diffraction step ends at the latest, whose scheme follows a phase of `turn` rad: the
    // phase of the rim's wave on the axis (near the source, where the radial grid holds that wave),
    // and that of the rays which meet on the axis up to a third beyond the focus.
    double step_end(double range, double points_per_radius, double turn) const;

    // How far a plane wave would have to go to steepen as much as the beam does up to a range.
    double steepening(double range) const;

    // Widths from where on the field may be taken away: nothing comes back from there to the axis
    // up to a third beyond the focus.
    double reach() const;

    // What an absorbing layer outside of a radius takes, Np for each unit of range over the square
    // of the width.
    double absorption(double radius, double layer) const;
    static constexpr double layer_thickness = 2.0;

    // When the wave from the nearest point of the rim comes to a radius (widths), or from the
    // farthest to a negative one: rad of retarded time, the front's curvature taken off.
    double rim_arrival(double radius, double range, double slope) const;

private:
    double angle(double range) const;
    double range_at(double angle) const;

    double gain_, curvature_;
    bool diffracts_;
    double waist_;
    double square_;  // of curvature and waist
};

}  // namespace kavro::kzk
