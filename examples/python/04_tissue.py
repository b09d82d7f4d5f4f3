"""What tissue does to a pulse: one array in water and in liver.

A focused probe sends the same short pulse into water and into liver. Losses that grow with frequency
weaken the beam, draw its focus nearer and take the upper part of the pulse's spectrum; the
dispersion that belongs to them slows the lower frequencies that are left.

    PYTHONPATH=python python3 examples/python/04_tissue.py

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
from kavro.plots import show_field  # noqa: E402

out = Path(os.environ.get("KAVRO_DEMO_OUT", Path(__file__).parents[2] / "demo_output"))
out.mkdir(parents=True, exist_ok=True)

# 64 rectangles of 0.27 x 5 mm; two cycles and a half of 5 MHz.
f0 = 5e6
focus = np.array([0, 0, 40e-3])
probe = kavro.linear_array(64, pitch=0.3e-3, width=0.27e-3, height=5e-3, amplitude=0.05)
pulse = kavro.hanning_pulse(f0, 0.5e-6)
plane = kavro.Grid(x=(-8e-3, 8e-3, 0.4e-3), z=(5e-3, 60e-3, 1e-3))
point = kavro.Points(focus[None])
frequencies = np.arange(0.1e6, 9.05e6, 0.1e6)

figure, ((*maps,), (waves, transfer)) = plt.subplots(2, 2, figsize=(11, 9))
reference = None
for name, ax in zip(("lossy water", "liver"), maps):
    medium = kavro.medium(name, referencefrequency=f0)
    array = probe.focused(focus, medium)

    # Peaks over the plane, without the field over time.
    times = kavro.fit_time_samples(array, plane, medium, pulse, 25e-9)
    peaks = kavro.pressure(array, plane, medium, time=times, excitation=pulse, measure="peak")
    reference = reference or peaks.max()
    show_field(peaks, plane, dB=40, reference=reference, ax=ax, title=name)

    # The waveform at the focus, and the transfer function of the array there.
    arrival = array.time_delay.max() + focus[2] / medium.soundspeed
    near = kavro.Times(arrival - 0.3e-6, arrival + 1.2e-6, 5e-9)
    wave = kavro.pressure(array, point, medium, time=near, excitation=pulse, tolerance=1e-5)[0]
    H = kavro.pressure(array, point, medium, f0=frequencies)[0]
    print(f"{name:12} {1e-6 * np.abs(wave).max():.2f} MPa at the focus, transfer function largest")
    print(f"{'':12} at {1e-6 * frequencies[np.abs(H).argmax()]:.1f} MHz")
    waves.plot(1e6 * (kavro.time_axis(near) - arrival), 1e-6 * wave, label=name)
    transfer.plot(
        1e-6 * frequencies, np.abs(H) / 0.05 / medium.density / medium.soundspeed, label=name
    )

waves.set(xlabel="Time from the nominal arrival (µs)", ylabel="Pressure at the focus (MPa)")
transfer.set(xlabel="Frequency (MHz)", ylabel="|p| at the focus / ρ c v")
waves.legend()
transfer.legend()
figure.tight_layout()
figure.savefig(out / "python_04_tissue.png", dpi=110)
print(f"picture in {out}: python_04_tissue.png")
