"""What blocks on two processes cost and gain: 64 rectangles over ten planes of 100 x 100 points.

One call on one thread, and the same field by kavro.distributed on two workers of one thread each.
The wall times' ratio says something on a machine with two idle processors only; processor times
do everywhere.
"""

import platform
import resource
import time

import kavro
import kavro.distributed as kd
import numpy as np
from distributed import Client, LocalCluster

MEDIUM = kavro.Medium(soundspeed=1500, density=1000)
ARRAY = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3).focused((0, 0, 30e-3), MEDIUM)
SCENE = {
    "time": kavro.Times(2e-6, 2e-6 + 799 * 5e-8, 5e-8),
    "excitation": kavro.hanning_pulse(3e6, 1.5e-6),
    "measure": "peak",
}
PLANES = kavro.Grid(
    x=(-10e-3, 10.1e-3, 20e-3 / 99), y=(0, 4.6e-3, 0.5e-3), z=(5e-3, 60.1e-3, 55e-3 / 99)
)


def seconds_used():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def timed(client, call):
    """Wall and processor time, the workers' own."""

    def used():
        return sum(client.run(seconds_used).values()) if client else seconds_used()

    before, started = used(), time.perf_counter()
    result = call()
    wall = time.perf_counter() - started
    return result, wall, used() - before


def main():
    two = {"n_workers": 2, "threads_per_worker": 1, "dashboard_address": None}
    with LocalCluster(**two) as cluster, Client(cluster) as client:
        client.run(kavro.disc, 1e-3)  # each has loaded the package
        point = kavro.Points([[0, 0, 10e-3]])
        tiny = kavro.Points(np.tile([[0, 0, 10e-3]], (500, 1)))
        least = []
        for _ in range(3):
            p, *one = timed(
                None, lambda: kavro.solve("fnm_tsd", ARRAY, PLANES, MEDIUM, threads=1, **SCENE)
            )
            lazy = kd.solve("fnm_tsd", ARRAY, PLANES, MEDIUM, **SCENE)
            q, *both = timed(client, lazy.compute)
            if not np.array_equal(p, q):
                raise SystemExit("the blocks do not join to the field of one call")
            least.append((*one, *both))
        wall, cpu, wall_of_two, cpu_of_two = np.min(least, axis=0)
        _, *alone = timed(
            None,
            lambda: [kavro.solve("fnm_tsd", ARRAY, point, MEDIUM, **SCENE) for _ in range(500)],
        )
        lazy_points = kd.solve("fnm_tsd", ARRAY, tiny, MEDIUM, blocks=500, **SCENE)
        _, *blocks = timed(client, lazy_points.compute)
    print(f"{platform.processor() or platform.machine()}, fastest of 3; s")
    print(f"one call, one thread      wall {wall:6.2f}  processor {cpu:6.2f}")
    print(
        f"two workers, {lazy.npartitions:3d} blocks   wall {wall_of_two:6.2f}  processor {cpu_of_two:6.2f}"
    )
    print(
        f"ratio                     wall {wall / wall_of_two:6.2f}  processor {cpu / cpu_of_two:6.2f}"
    )
    print(
        f"overhead of a block       wall {(blocks[0] - alone[0] / 2) / 500 * 1e3:6.2f} ms  worker's processor {(blocks[1] - alone[1]) / 500 * 1e3:6.2f} ms"
    )


if __name__ == "__main__":
    main()
