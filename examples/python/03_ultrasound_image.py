"""An ultrasound image of a phantom: three wires and a cyst in a hundred thousand grains of tissue.

A probe of 64 rectangles sends seven plane waves. The script computes what its channels receive and
sums it up to an image, each pixel along its own delays (`delay_and_sum` below: KAVRO makes echoes,
images are made of them by others). It prints where the wires are found, and draws the received
signals and the image.

    PYTHONPATH=python python3 examples/python/03_ultrasound_image.py

The picture goes to demo_output in the repository's folder, or to the folder named by the environment
variable KAVRO_DEMO_OUT. KAVRO_DEMO_GRAINS may say how many grains there are.
"""

import os
import time
from pathlib import Path

import kavro
import matplotlib
import numpy as np

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

out = Path(os.environ.get("KAVRO_DEMO_OUT", Path(__file__).parents[2] / "demo_output"))
out.mkdir(parents=True, exist_ok=True)
grains = int(os.environ.get("KAVRO_DEMO_GRAINS", "100000"))


def delay_and_sum(rf, report, f0, events, positions, c, x, z):
    """The image at x and z from echoes of plane waves: complex, its magnitude is what one shows."""
    x, z = np.meshgrid(x, z, indexing="ij")
    t = report.first_sample + report.step * np.arange(len(rf))
    # The analytic signal, without its carrier: slow enough for linear interpolation.
    spectrum = np.fft.fft(rf, axis=0)
    spectrum[len(rf) // 2 + 1 :] = 0
    slow = 2 * np.fft.ifft(spectrum, axis=0) * np.exp(-2j * np.pi * f0 * t)[:, None, None]
    image = np.zeros(x.shape, complex)
    for j in range(rf.shape[2]):
        # A wave passes its origin at time 0; its pulse is centred a little later.
        towards, origin = events.direction[j], events.origin[j]
        there = ((x - origin[0]) * towards[0] + (z - origin[2]) * towards[2]) / c
        for m, place in enumerate(positions):
            across, down = x - place[0], z - place[2]
            at = there + np.hypot(across, down) / c + report.pulse_delay
            seen = np.abs(across) < down / 2  # channels that look from too far aside do not count
            signal = np.interp(at, t, slow[:, m, j], 0, 0)
            image += seen * signal * np.exp(2j * np.pi * f0 * at)
    return image


# The probe, driven at 50 mm/s, and its waves.
medium = kavro.medium("water", soundspeed=1540, density=1020)
c = medium.soundspeed
f0 = 5e6
probe = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=3e-3, amplitude=0.05)
events = kavro.plane_wave_events(probe, np.radians(np.arange(-15, 16, 5)), medium)
pulse = kavro.hanning_pulse(f0, 2 / f0)
response = kavro.transducer_response(f0, 0.7, two_way=True)

# The phantom: wires in front of the probe's middle, grains without order, none of them in the cyst.
wires = np.array([(-5e-3, 0, 15e-3), (0, 0, 22e-3), (5e-3, 0, 29e-3)])
cyst = (-3.5e-3, 27e-3)
random = np.random.default_rng(1)
places = random.uniform((-10e-3, -1e-3, 10e-3), (10e-3, 1e-3, 35e-3), (grains, 3))
places = places[np.hypot(places[:, 0] - cyst[0], places[:, 2] - cyst[1]) > 3e-3]
strengths = 3e-7 * np.sqrt(1e5 / max(grains, 1)) * random.standard_normal(len(places))
scatterers = kavro.Scatterers(
    np.concatenate([wires, places]),
    np.concatenate([np.full(3, 3e-5), strengths]),
    exponent=2,
    reference_frequency=f0,
)

started = time.perf_counter()
rf, report = kavro.pulse_echo(
    probe,
    scatterers,
    medium,
    time=kavro.Times(10e-6, 52e-6, 25e-9),
    excitation=pulse,
    response=response,
    events=events,
    report=True,
)
print(
    f"{report.scatterers} scatterers, {rf.shape[2]} events, {rf.shape[1]} channels: "
    f"{time.perf_counter() - started:.1f} s, {report.frequencies[0]} frequencies"
)

# The image, and where the wires are in it.
x, z = np.linspace(-10e-3, 10e-3, 101), np.linspace(10e-3, 35e-3, 201)
started = time.perf_counter()
image = np.abs(delay_and_sum(rf, report, f0, events, probe.center, c, x, z))
print(f"{len(x)} x {len(z)} pixels in {time.perf_counter() - started:.1f} s")
near = np.linspace(-0.3e-3, 0.3e-3, 41)
for wire in wires:
    around = wire[0] + near, wire[2] + near
    spot = np.abs(delay_and_sum(rf, report, f0, events, probe.center, c, *around))
    dx, dz = near[list(np.unravel_index(spot.argmax(), spot.shape))] * f0 / c
    print(
        f"wire at x = {1e3 * wire[0]:5.2f} mm, z = {1e3 * wire[2]:5.2f} mm: "
        f"found {dx:+.2f}, {dz:+.2f} wavelengths from there"
    )

figure, (left, right) = plt.subplots(1, 2, figsize=(11, 6))
straight = rf[:, :, rf.shape[2] // 2]
largest = np.abs(straight).max()
left.imshow(
    straight,
    extent=(0, rf.shape[1], 52, 10),
    aspect="auto",
    cmap="gray",
    vmin=-largest / 10,
    vmax=largest / 10,
)
left.set(xlabel="Channel", ylabel="Time (us)", title=f"Received, largest {largest:.2g} Pa")
drawn = right.imshow(
    20 * np.log10(image.T / image.max() + 1e-6),
    extent=(1e3 * x[0], 1e3 * x[-1], 1e3 * z[-1], 1e3 * z[0]),
    cmap="gray",
    vmin=-50,
    vmax=0,
)
right.set(xlabel="x (mm)", ylabel="z (mm)", title="Three wires and a cyst")
figure.colorbar(drawn, label="dB")
figure.tight_layout()
figure.savefig(out / "python_03_ultrasound_image.png", dpi=110)
print(f"picture in {out}: python_03_ultrasound_image.png")
