"""What takes long or needs more than Debian's dask: files larger than memory, a cluster whose
scheduler goes away, MPI. Not part of scripts/test:

    PYTHONPATH=python python3 -m pytest tests/python/many_machines.py
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import time
from concurrent.futures import CancelledError
from pathlib import Path

import kavro
import numpy as np
import pytest
from distributed import Client, LocalCluster
from kavro import distributed as kd

PAGE = (Path(__file__).parents[2] / "docs/many_machines.md").read_text()
ARRAY = kavro.linear_array(4, 1e-3, 4e-4)
WATER = kavro.water()
SIGNAL = {"time": kavro.Times(0, 100e-6, 5e-8), "excitation": kavro.hanning_pulse(2e6, 1.5e-6)}


@pytest.mark.parametrize("kind", ["zarr", "h5py"])
def test_a_file_larger_than_the_memory_of_all_workers(kind, tmp_path):
    """2 GB through two workers of 400 MB. None of them is killed, and the file is right."""
    library = pytest.importorskip(kind)
    plane = kavro.Grid(x=(-2e-2, 2e-2, 1e-4), z=(1e-3, 32e-3, 1e-4))
    p = kd.pressure(ARRAY, plane, WATER, **SIGNAL)
    assert p.nbytes > 1.9e9
    file = tmp_path / "p"
    two = {"n_workers": 2, "threads_per_worker": 1, "memory_limit": "400MB"}
    with LocalCluster(**two, dashboard_address=None) as cluster, Client(cluster) as client:
        before = client.run(os.getpid)
        if kind == "zarr":
            p.to_zarr(str(file))
        else:
            with library.File(file, "w") as whole:
                stored = whole.create_dataset("p", p.shape, p.dtype)
                for k in range(0, p.shape[2], 40):
                    stored[:, :, k : k + 40] = p[:, :, k : k + 40].compute()
        assert client.run(os.getpid) == before
    stored = library.open(str(file), mode="r") if kind == "zarr" else library.File(file, "r")["p"]
    x, y, z = kavro.grid_axes(plane)
    for k in (0, 155, 310):
        level = kavro.Points([[along, 0, z[k]] for along in x])
        expected = kavro.solve("fnm_tsd_low_precision", ARRAY, level, WATER, **SIGNAL)
        assert np.array_equal(stored[:, 0, k], expected)


def code(language, mark):
    """The block of the page that holds the mark."""
    blocks = re.findall(rf"```{language}\n(.*?)```", PAGE, re.S)
    return next(block for block in blocks if mark in block)


@pytest.fixture
def job(tmp_path):
    """The page's job in a folder, where srun starts two processes."""
    commands = {"srun": '"$@" & "$@" & wait\n', "python3": f'exec {sys.executable} "$@"\n'}
    commands["dask"] = f'exec {sys.executable} -m dask "$@"\n'
    for name, text in commands.items():
        (tmp_path / name).write_text("#!/bin/sh\n" + text)
        (tmp_path / name).chmod(0o755)
    (tmp_path / "job.sh").write_text(code("sh", "srun"))
    paths = {
        "PATH": f"{tmp_path}:{os.environ['PATH']}",
        "PYTHONPATH": str(Path(kavro.__file__).parents[1]),
    }
    return {"args": ["bash", "job.sh"], "cwd": tmp_path, "env": {**os.environ, **paths}}


def test_the_job_of_the_page(job):
    zarr = pytest.importorskip("zarr")
    field = code("python", "scheduler_file")
    (job["cwd"] / "field.py").write_text(field)
    subprocess.run(**job, check=True, timeout=120)
    names = {}
    exec(field.split("peak = kd")[0].replace("client = ", "#"), {"__name__": "__main__"}, names)
    expected = kavro.pressure(
        names["array"], names["volume"], names["medium"], measure="peak", **names["scene"]
    )
    assert np.array_equal(zarr.open(str(job["cwd"] / "peak.zarr"))[:], expected)


def test_a_scheduler_that_goes_away_is_an_error(job):
    (job["cwd"] / "field.py").write_text("import time\ntime.sleep(100)\n")
    shell = subprocess.Popen(**job, start_new_session=True)
    try:
        while not (job["cwd"] / "scheduler.json").exists():
            time.sleep(0.1)
        with Client(scheduler_file=str(job["cwd"] / "scheduler.json")) as client:
            client.wait_for_workers(2)
            plane = kavro.Grid(x=(-2e-2, 2e-2, 1e-4), z=(1e-3, 32e-3, 1e-4))
            row = kavro.linear_array(256, 1e-4, 4e-5)
            running = client.compute(kd.pressure(row, plane, WATER, **SIGNAL, measure="peak"))
            while not any(client.has_what().values()):
                time.sleep(0.05)
            pid = client.run_on_scheduler(os.getpid)
            os.kill(pid, signal.SIGKILL)
            started = time.monotonic()
            with pytest.raises(CancelledError):
                running.result()
            assert time.monotonic() - started < 60
    finally:
        os.killpg(shell.pid, signal.SIGKILL)


@pytest.mark.skipif(shutil.which("mpirun") is None, reason="no MPI")
def test_ranks_of_mpi(tmp_path):
    pytest.importorskip("mpi4py")
    check = "    assert (p == kavro.solve('fnm_cw', array, grid, medium, f0=2e6)).all()\n    print('equal')\n"
    (tmp_path / "field.py").write_text(code("python", "mpi4py") + check)
    command = ["mpirun", "--allow-run-as-root", "--oversubscribe", "-n", "2", sys.executable]
    run = subprocess.run(
        [*command, tmp_path / "field.py"], capture_output=True, text=True, timeout=60
    )
    assert run.stdout == "equal\n", run.stderr
