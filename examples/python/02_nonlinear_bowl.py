"""A focusing bowl: its continuous wave, and the harmonics of the same bowl at high drive.

The script computes the linear field of a bowl in a plane through its axis, then lets the nonlinear
march carry three harmonics along the axis, and compares.

    PYTHONPATH=python python3 examples/python/02_nonlinear_bowl.py

The picture goes to demo_output in the repository's folder, or to the folder named by the
environment variable KAVRO_DEMO_OUT.
"""

import os
from pathlib import Path

import kavro
import matplotlib
import numpy as np

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
from kavro.plots import show_array, show_field  # noqa: E402

out = Path(os.environ.get("KAVRO_DEMO_OUT", Path(__file__).parents[2] / "demo_output"))
out.mkdir(parents=True, exist_ok=True)

# A bowl of 15 mm radius that focuses at 60 mm, driven at 1 MHz with 300 kPa at its face.
water = kavro.water()
f0 = 1e6
bowl = kavro.spherical_shell(15e-3, 60e-3, amplitude=300e3 / (water.density * water.soundspeed))

plane = kavro.Grid(x=(-10e-3, 10e-3, 0.2e-3), z=(20e-3, 90e-3, 0.25e-3))
linear = kavro.solve("fnm_cw", bowl, plane, water, f0=f0)

march = {"extent": 3, "points_per_radius": 60, "growth": 0.005, "harmonics": 3}
axis = kavro.Grid(x=(0, 1e-3, 1e-3), z=(20e-3, 90e-3, 1e-3))
harmonics = np.abs(kavro.solve("kzk_cw", bowl, axis, water, f0=f0, kzk=march)[0])

x, _, z = kavro.grid_axes(plane)
on_axis = np.abs(linear[np.abs(x).argmin(), 0])
print(f"linear: {1e-3 * on_axis.max():.0f} kPa at z = {1e3 * z[on_axis.argmax()]:.1f} mm")
for n, pressure in enumerate(harmonics.T, start=1):
    print(f"harmonic {n}: up to {1e-3 * pressure.max():.0f} kPa")

figure = plt.figure(figsize=(13, 5))
show_array(bowl, ax=figure.add_subplot(1, 3, 1, projection="3d"), title="Bowl of 15 mm radius")
show_field(linear, plane, ax=figure.add_subplot(1, 3, 2), title="Continuous wave, linear")
curves = figure.add_subplot(1, 3, 3)
curves.plot(1e3 * z, 1e-3 * on_axis, "k:", label="linear")
for n, pressure in enumerate(harmonics.T, start=1):
    curves.plot(1e3 * kavro.grid_axes(axis)[2], 1e-3 * pressure, label=f"harmonic {n}")
curves.set(xlabel="z (mm)", ylabel="Pressure (kPa)", title="On the axis")
curves.legend()
figure.tight_layout()
figure.savefig(out / "python_02_nonlinear_bowl.png", dpi=110)
print(f"picture in {out}: python_02_nonlinear_bowl.png")
