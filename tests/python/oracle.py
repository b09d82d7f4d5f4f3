"""What elements radiate, from geometry alone: no edge integral, nothing of the library's code.

The sphere of radius R about a point cuts a face in arcs. `share` says what part of the circle they
are; that is the impulse response over the speed of sound, and every field is an integral of it over
R. The methods that sum over samples of the face, or are odd on purpose, follow sum by sum.
Lengths in m, times in s; `e` is one element, `at` points (n, 3), results have a row for each.
"""

from types import SimpleNamespace

import kavro
import numpy as np
from numpy.polynomial.legendre import leggauss


def gauss(n, a=0.0, b=np.pi):
    x, w = leggauss(n)
    return (a + b) / 2 + (b - a) / 2 * x, (b - a) / 2 * w


def radiated(elements, points, part, *arguments):
    """The sum over the elements of part(e, points in its frame, ...)."""
    return sum(part(e, local(e, points), *arguments) for e in each(elements))


def each(elements):
    columns = vars(elements).items()
    return [SimpleNamespace(**{k: v[i] for k, v in columns}) for i in range(len(elements))]


def local(e, points):
    def turn(angle, i, j):
        matrix = np.eye(3)
        matrix[[i, j], [i, j]] = np.cos(angle)
        matrix[i, j], matrix[j, i] = np.sin(angle), -np.sin(angle)
        return matrix

    a, b, c = e.euler
    return (points - e.center) @ (turn(a, 2, 0) @ turn(b, 1, 2) @ turn(c, 0, 1)).T


# ---- faces


def rims(e):
    """Radius, sign and height of the circles that bound a round face; its radius of curvature."""
    d = max(e.rad_curvature, e.geometric_focus) or np.inf
    sizes = [(max(e.radius, e.outer_radius), 1.0), (e.inner_radius, -1.0)]
    height = lambda a: a**2 / (d + np.sqrt((d - a) * (d + a))) if np.isfinite(d) else 0.0
    return [(a, sign, height(a)) for a, sign in sizes if a > 0], d


def sides(e, x, y):
    """Of a face with corners: where each side begins and ends, from the foot of a point on its line,
    and how far that is from the point's own foot, positive where the face is on the same side."""
    rectangle = np.array([[1, -1], [1, 1], [-1, 1], [-1, -1]]) * (e.width / 2, e.height / 2)
    corners = e.corners if e.shape == "polygon" else rectangle
    for p, q in zip(corners, np.roll(corners, -1, axis=0)):
        u, v = (q - p) / np.hypot(*(q - p))
        begin = (p[0] - x) * u + (p[1] - y) * v
        yield begin, begin + np.hypot(*(q - p)), (y - p[1]) * u - (x - p[0]) * v


def share(e, at, R):
    """The arcs at the paths R (n, m), over 2 pi; of bowls by the angle about the line to the centre
    and weighted with the radius of curvature over its length."""
    x, y, z = at.T[:, :, None]
    radius = np.sqrt(np.maximum(R**2 - z**2, 0))  # of the circle in a flat face's plane
    with np.errstate(divide="ignore", invalid="ignore"):
        if e.shape in ("rectangle", "polygon"):
            angle = 0.0
            for begin, end, off in sides(e, x, y):
                near = np.arccos(np.fmin(abs(off) / radius, 1))  # closer than this, beyond the side
                a, b = np.arctan2(begin, abs(off)), np.arctan2(end, abs(off))
                beyond = np.clip(b, -near, near) - np.clip(a, -near, near)
                angle = angle + np.sign(off) * (b - a - beyond)
            return np.where(R > abs(z), abs(angle) / (2 * np.pi), 0)
        r, (bounds, d) = np.hypot(x, y), rims(e)
        if np.isinf(d):
            heard, gain = R > abs(z), 1.0
            cosines = [(r**2 + radius**2 - a**2) / (2 * r * radius) for a, _, _ in bounds]
        else:
            s = np.hypot(r, d - z)
            beta = (d**2 + s**2 - R**2) / (
                2 * d * s
            )  # cosine of an angle seen from the centre
            heard, gain = (abs(beta) < 1) & (R > 0), d / s
            across = np.sqrt(np.maximum(1 - beta**2, 0)) * r / s
            cosines = [(1 - up / d - beta * (d - z) / s) / across for _, _, up in bounds]
        halves = [np.arccos(np.fmax(np.fmin(cosine, 1), -1)) for cosine in cosines]
        angle = sum(sign * half for (_, sign, _), half in zip(bounds, halves))
        return np.where(heard, gain * angle / np.pi, 0)


def kinks(e, at):
    """The paths (n, k) between which the share is smooth, beyond which it is zero."""
    x, y, z = at.T
    if e.shape in ("rectangle", "polygon"):
        found = [abs(z)]
        for begin, end, off in sides(e, x, y):
            found += [np.hypot(off, z), np.sqrt(begin**2 + off**2 + z**2)]
            found += [np.sqrt(end**2 + off**2 + z**2)]
    else:
        r, (bounds, d) = np.hypot(x, y), rims(e)
        s = np.hypot(r, d - z)
        found = [abs(z)] if np.isinf(d) else [abs(d - s), d + s]
        found += [np.hypot(r + side * a, z - up) for a, _, up in bounds for side in (-1, 1)]
    return np.sort(np.stack(found, axis=1))


def pieces(e, at, limits, n):
    """Paths and weights for the integral of the share, in which its ends are no singularities."""
    low, high = limits[:, :-1, None], limits[:, 1:, None]
    theta, w = gauss(n)
    R = (low + high) / 2 - (high - low) / 2 * np.cos(theta)
    R, w = (v.reshape(len(at), -1) for v in (R, (high - low) / 2 * np.sin(theta) * w))
    return R, w * share(e, at, R)


# ---- fields of uniform faces


def growth(medium, f0, exact=True):
    """alpha + jk"""
    power = medium.powerlawexponent if exact else 1
    alpha = medium.attenuationdBcmMHz * 100 * (f0 / 1e6) ** power * np.log(10) / 20
    return alpha + 2j * np.pi * f0 / medium.soundspeed


def weight(e, medium, f0):
    return 1j * 2 * np.pi * f0 * medium.density * e.amplitude * np.exp(1j * e.phase)


def wave(e, at, medium, f0, everywhere=False, n=160):
    R, w = pieces(e, at, kinks(e, at), n)
    p = weight(e, medium, f0) * (w * np.exp(-growth(medium, f0) * R)).sum(axis=1)
    return np.where(everywhere | reached(e, at), p, 0)


def response(e, at, medium, times, exact=True):
    R = np.broadcast_to(medium.soundspeed * (times - e.time_delay), (len(at), len(times)))
    arcs = share(e, at, R)
    if e.shape == "disc" and not exact:  # which takes the height with its sign
        x, y, z = at.T[:, :, None]
        arcs = np.where((R > z) & (R <= abs(z)) & (np.hypot(x, y) < e.radius), 1, arcs)
    return e.amplitude * medium.soundspeed * arcs


def arrivals(e, at, medium):
    """When the nearest and the farthest point of the face are heard."""
    limits = kinks(e, at)
    silent = share(e, at, (limits[:, 1:] + limits[:, :-1]) / 2) < 1e-9
    first = np.where(silent, np.inf, limits[:, :-1]).min(axis=1)
    last = np.where(silent, 0, limits[:, 1:]).max(axis=1)
    return np.stack([first, last], axis=1) / medium.soundspeed + e.time_delay


def slope(f, x):
    """Of an analytic function, to all digits."""
    return f(x + 1e-30j).imag / 1e-30


def waveform(pulse):
    """v as it goes on outside (0, width), and the width."""
    if isinstance(pulse, kavro.Sampled):
        N = len(pulse.signal)
        X = np.fft.rfft(pulse.signal)[:, None] / N
        X[1 : (N + 1) // 2] *= 2
        omega = 2 * np.pi * np.arange(len(X))[:, None] / (N * pulse.ts)
        v = lambda t: (X.real * np.cos(omega * t) - X.imag * np.sin(omega * t)).sum(axis=0)
        return v, pulse.w
    omega, w, B = 2 * np.pi * pulse.f0, pulse.pulse_width, pulse.B
    return {
        1: lambda t: np.sin(omega * t),
        2: lambda t: np.sin(omega * t) * (1 - np.cos(2 * np.pi * t / w)) / 2,
        3: lambda t: np.sin(omega * t) * t**3 * np.exp(-B * t),
    }[pulse.type], w


def rise(pulse, t):
    v, w = waveform(pulse)
    inside, rises = (t > 0) & (t < w), np.zeros(t.shape)
    rises[inside] = slope(v, t[inside])
    return rises


def jumps(e, at, medium, times, pulse):
    """What a waveform's sudden begin and end radiate, which its slope does not know."""
    v, w = waveform(pulse)
    begin, end = (response(e, at, medium, t) for t in (times, times - w))
    return medium.density * (v(0.0) * begin - v(w) * end)


def pulse_wave(e, at, medium, times, pulse, everywhere=False, n=24):
    c, limits, w = medium.soundspeed, kinks(e, at), waveform(pulse)[1]
    p = jumps(e, at, medium, times, pulse)
    for j, t in enumerate(times - e.time_delay):
        ends = np.clip([c * (t - w), c * t], limits[:, :1], limits[:, -1:])
        R, weights = pieces(e, at, np.sort(np.hstack([limits, ends])), n)
        p[:, j] += medium.density * e.amplitude * (weights * rise(pulse, t - R / c)).sum(axis=1)
    return np.where(everywhere | reached(e, at)[:, None], p, 0)


# ---- sums over samples of the face

PROFILES = {
    "uniform": lambda q: 1 + 0 * q,
    "cosine": lambda q: np.cos(np.pi * q / 2),
    "raisedcosine": lambda q: (1 + np.cos(np.pi * q)) / 2,
    "quadratic": lambda q: 1 - q**2,
    "quartic": lambda q: 1 - q**4,
}


def samples(e, n, midpoints=True):
    """Places and areas of n by n samples, twice as large on one half of a round face."""
    phi, w_phi = gauss(n)
    if e.shape == "rectangle":
        (x, wx), (y, wy) = (gauss(n, -side / 2, side / 2) for side in (e.width, e.height))
        return x[:, None], y, 0.0, wx[:, None] * wy
    bounds, d = rims(e)
    inner = bounds[1][0] if len(bounds) > 1 else 0.0
    if np.isinf(d):
        r, w = gauss(n, inner, bounds[0][0])
        if midpoints:
            w = np.full(n, (bounds[0][0] - inner) / n)
            r = inner + (np.arange(n) + 0.5) * w
            phi, w_phi = (np.arange(n) + 0.5) * np.pi / n, np.pi / n
        area, z = r * w, 0.0 * r
    else:
        theta, w = gauss(n, np.arcsin(inner / d), np.arcsin(bounds[0][0] / d))
        r, z, area = d * np.sin(theta), 2 * d * np.sin(theta / 2) ** 2, d**2 * np.sin(theta) * w
    profile = PROFILES[e.apodization or "uniform"](r / bounds[0][0])
    turned = (2 * profile * area)[:, None] * w_phi
    return r[:, None] * np.cos(phi), r[:, None] * np.sin(phi), z[:, None], turned


def paths(e, at, n, exact, real=np.float64, midpoints=True):
    """Paths to the samples and areas over paths; close to a sample the mean over a disc as large."""
    x, y, z = (v[:, None, None].astype(real) for v in at.T)
    if e.shape != "rectangle":
        x, y = np.sqrt(x * x + y * y), real(0)
    X, Y, Z, area = samples(e, n, midpoints)
    dx, dy, dz = x - np.asarray(X, real), y - np.asarray(Y, real), z - np.asarray(Z, real)
    R = np.sqrt(dx * dx + dy * dy + dz * dz)
    half = area / (1 if e.shape == "rectangle" else 2)
    near = R.astype(float) ** 2 <= (1 if exact else 1e-10) * half / (4 * np.pi)
    mean = 2 * np.sqrt(np.pi / half)
    return R, area * np.where(near, mean, 1 / np.where(near, 1, R.astype(float)))


def rayleigh_cw(e, at, medium, f0, n, exact, real=np.float64, midpoints=True):
    gamma = growth(medium, f0, exact)
    if e.shape == "disc" and not exact and real == np.float64:
        gamma = -gamma.conjugate()  # grows on its way
    R, weights = paths(e, at, n, exact, real, midpoints)
    alpha, k = real(gamma.real), real(gamma.imag)
    if e.shape == "rectangle" and real == np.float32:
        k = real(2 * np.pi) / real(2 * np.pi / gamma.imag)
    terms = weights * np.exp(-(alpha * R).astype(float) - 1j * (k * R).astype(float))
    p = weight(e, medium, f0) / (2 * np.pi) * terms.sum(axis=(1, 2))
    return np.where(reached(e, at), p, 0)


def rayleigh_transient(e, at, medium, times, pulse, n, exact):
    R, weights = (v.reshape(len(at), -1) for v in paths(e, at, n, exact))
    p = jumps(e, at, medium, times, pulse) * exact
    for j, t in enumerate(times - e.time_delay):
        terms = weights * rise(pulse, t - R / medium.soundspeed)
        p[:, j] += medium.density * e.amplitude / (2 * np.pi) * terms.sum(axis=1)
    return np.where(reached(e, at)[:, None], p, 0)


def reached(e, at):
    z, (bounds, d) = at[:, 2], rims(e)
    if np.isinf(d):
        return z >= 0
    inside = np.linalg.norm(at - [0, 0, d], axis=1) <= (1 + 1e-12) * d
    return (z >= 0) & (inside | (z >= bounds[0][2]))


def fnm_cw_apodized(e, at, medium, f0, n, exact):
    """A disc is the sum of uniform discs of all radii, each as strong as the profile falls there. The
    reference leaves out the sign and goes to pi times the radius."""
    phi, w = gauss(n)
    x, y, z = at.T[:, :, None, None]
    s, q = np.hypot(x, y), (phi / np.pi if exact else phi)[:, None]
    r, cosine = q * e.radius, np.cos(phi)
    weights = np.where(q < 1, q * slope(PROFILES[e.apodization], q), 0) * w[:, None] * w
    weights = weights * (e.radius / np.pi if exact else np.pi * e.radius)
    D = r**2 + s**2 - 2 * s * r * cosine
    gamma = growth(medium, f0, exact)
    change = np.exp(-gamma * np.sqrt(z**2 + D)) - np.exp(-gamma * z)
    p = (weights * (s * cosine - r) / D * change).sum(axis=(1, 2))
    factor = -1 / gamma if exact else e.radius / (1j * gamma.imag)
    return np.where(reached(e, at), weight(e, medium, f0) * factor / np.pi * p, 0)


def sinc(x):
    x = np.where(x == 0, 1e-20, x)
    return np.sin(x) / x


def farfield_cw(e, at, medium, f0, n, exact):
    gamma, R = growth(medium, f0, exact), np.linalg.norm(at, axis=1)
    at, R = np.where(R[:, None] > 0, at, -1), np.where(R > 0, R, 1)
    x, y = (at * gamma.imag / 2 / R[:, None]).T[:2]
    p = np.exp(-gamma * R) / R * sinc(x * e.width) * sinc(y * e.height)
    return np.where(at[:, 2] >= 0, weight(e, medium, f0) / (2 * np.pi) * e.width * e.height * p, 0)


def radiator_cw(e, at, medium, f0, n, exact):
    """The closer a point, the smaller the parts. The reference's waves travel backwards, and it
    sees the parts from the middle of the face."""
    gamma, p = growth(medium, f0, exact), np.zeros(len(at), complex)
    for i, (x, y, z) in enumerate(at):
        if z <= 0:
            continue
        d = np.sqrt(8 * np.pi / gamma.imag * z / n)
        N = (int(e.height / d) + 1) * (int(e.width / d) + 1)
        X, WX = (v[:, None] for v in gauss(N, -e.width / 2, e.width / 2))
        Y, WY = gauss(N, -e.height / 2, e.height / 2)
        R = np.sqrt((x - X) ** 2 + (y - Y) ** 2 + z**2)
        if exact:
            k = gamma.imag / (2 * R)
            terms = np.exp(-gamma * R) * sinc(k * (x - X) * WX) * sinc(k * (y - Y) * WY)
        else:
            k = -1j * gamma / R
            terms = np.exp(gamma * R) * sinc(k * X * WX) * sinc(k * Y * WY)
        p[i] = (WX * WY / R * terms).sum()
    return weight(e, medium, f0) / (2 * np.pi) * p
