"""A therapeutic array: from 256 random elements on a bowl to temperature and dose after ten seconds.

The array is steered off its axis and computed as a continuous wave in tissue with losses. What the wave
loses heats the tissue for ten seconds, conduction and blood carry the heat away, and the dose tells
what is left of the tissue.

    PYTHONPATH=python python3 examples/python/05_therapy.py

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

# A bowl of 120 mm diameter that focuses at 120 mm, in liver all along: a path through water would
# cost it less.
f0 = 1e6
liver = kavro.medium("liver", bloodperfusion=15)
array = kavro.random_array(
    256,
    60e-3,
    2.5e-3,
    rad_curvature=120e-3,
    minimum_gap=0.2e-3,
    hole_radius=15e-3,
    seed=1,
    amplitude=0.14,
)
array = kavro.focus(array, (4e-3, 0, 118e-3), liver, f0=f0)

# The wave in a plane through the focus, and the heat in a box around it.
plane = kavro.Grid(x=(-12e-3, 12e-3, 0.5e-3), z=(95e-3, 140e-3, 1e-3))
p = kavro.pressure(array, plane, liver, f0=f0, tolerance=1e-3)
box = kavro.Grid(x=(-3e-3, 11e-3, 0.5e-3), y=(-7e-3, 7e-3, 0.5e-3), z=(104e-3, 132e-3, 1e-3))
heat = kavro.heat_rate(kavro.pressure(array, box, liver, f0=f0, tolerance=1e-3), liver, f0)
print(f"{1e-6 * abs(p).max():.2f} MPa in the focus, {1e-6 * heat.max():.0f} W/cm^3 of heat")

# Ten seconds on, ten seconds off.
t = np.arange(0, 20.5, 0.5)
T = kavro.bioheat(heat, box, liver, t, switching=[(0, 1), (10, 0)])
hottest = T.max(axis=(0, 1, 2))
dose = kavro.thermal_dose(T, t)
print(f"{hottest[t == 10][0]:.1f} degrees after ten seconds, {hottest[-1]:.1f} after twenty")
voxel = 0.5 * 0.5 * 1.0
print(f"{voxel * np.count_nonzero(dose > 240):.0f} mm^3 beyond 240 equivalent minutes")

x, y, z = (1e3 * axis for axis in kavro.grid_axes(box))
middle = abs(y).argmin()
figure = plt.figure(figsize=(12, 10))
show_array(array, ax=figure.add_subplot(2, 2, 1, projection="3d"), title="256 random elements")
show_field(p, plane, ax=figure.add_subplot(2, 2, 2), title="Continuous wave, steered by 4 mm")
section = figure.add_subplot(2, 2, 3)
colours = section.pcolormesh(x, z, T[:, middle, :, t == 10].squeeze().T, shading="nearest")
figure.colorbar(colours, ax=section)
section.contour(x, z, dose[:, middle, :].T, [240], colors="white")
section.set(aspect="equal", xlabel="x (mm)", ylabel="z (mm)")
section.set_title("Degrees after ten seconds; 240 minutes")
section.invert_yaxis()
curve = figure.add_subplot(2, 2, 4)
curve.plot(t, hottest, "r")
curve.set(xlabel="t (s)", ylabel="Hottest point (degrees)")
figure.tight_layout()
figure.savefig(out / "python_05_therapy.png", dpi=110)
print(f"picture in {out}: python_05_therapy.png")
