"""A focused, steered array in water.

64 discs in a row send a short pulse that is steered and focused to a point in the x-z plane. The
script computes the pressure over time on that plane, draws the array, the pulse under way and the
map of peak pressure, and prints what the beam looks like.

    PYTHONPATH=python python3 examples/python/01_focused_array.py

The picture goes to demo_output in the repository's folder, or to the folder named by the
environment variable KAVRO_DEMO_OUT.
"""

import os
import time
from pathlib import Path

import kavro
import matplotlib
import numpy as np

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
from kavro.plots import show_array, show_field  # noqa: E402

out = Path(os.environ.get("KAVRO_DEMO_OUT", Path(__file__).parents[2] / "demo_output"))
out.mkdir(parents=True, exist_ok=True)

# The array: 64 discs of 0.25 mm radius, 0.6 mm apart, driven at 50 mm/s.
medium = kavro.water()
focus = np.array([8e-3, 0, 35e-3])
array = kavro.linear_array(64, pitch=0.6e-3, radius=0.25e-3, amplitude=0.05)
array = array.focused(focus, medium)

# The pulse: three cycles of 2 MHz under a Hanning window.
pulse = kavro.hanning_pulse(2e6, 1.5e-6)

# The plane, and the time that the pulse needs to leave it.
plane = kavro.Grid(x=(-20e-3, 20e-3, 0.2e-3), z=(5e-3, 55e-3, 0.25e-3))
times = kavro.Times(0, 54e-6, 50e-9)

started = time.perf_counter()
p = kavro.solve("fnm_tsd_sse", array, plane, medium, time=times, excitation=pulse, ndiv=16)
print(f"{len(array)} discs, {p.shape} values in {time.perf_counter() - started:.2f} s")

# What the beam looks like.
x, _, z = kavro.grid_axes(plane)
peak = np.abs(p).max(axis=3)[:, 0]
i, k = np.unravel_index(peak.argmax(), peak.shape)
row = np.abs(z - focus[2]).argmin()
width, left, right = kavro.beam_width(x, peak[:, row])
print(f"intended focus   x = {1e3 * focus[0]:5.2f} mm, z = {1e3 * focus[2]:5.2f} mm")
print(f"highest peak     x = {1e3 * x[i]:5.2f} mm, z = {1e3 * z[k]:5.2f} mm")
print(f"its pressure     {1e-3 * peak.max():.0f} kPa")
print(f"-6 dB width      {1e3 * width:.2f} mm, from x = {1e3 * left:.2f} to {1e3 * right:.2f} mm")

figure, ((top, under_way), (map_of_peak, profile)) = plt.subplots(2, 2, figsize=(11, 10))
show_array(array, ax=top, title="Linear array of 64 discs")
show_field(p, plane, instant=22e-6, time=times, ax=under_way)
show_field(p, plane, dB=40, ax=map_of_peak)
map_of_peak.plot(1e3 * focus[0], 1e3 * focus[2], "w+", markersize=12)
profile.plot(1e3 * x, 1e-3 * peak[:, row])
profile.set(xlabel="x (mm)", ylabel="Peak pressure (kPa)", title=f"z = {1e3 * z[row]:.1f} mm")
figure.tight_layout()
figure.savefig(out / "python_01_focused_array.png", dpi=110)
print(f"picture in {out}: python_01_focused_array.png")
