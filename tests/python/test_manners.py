"""What a call does to the process around it: interrupts, progress, threads, forks, memory."""

import multiprocessing
import os
import resource
import signal
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import kavro
import numpy as np
import pytest

WATER = kavro.water()
PULSE = kavro.hanning_pulse(1e6, 3e-6)
GRID = kavro.Grid(x=(-8e-3, 8e-3, 0.5e-3), y=(-1e-3, 1e-3, 1e-3), z=(2e-3, 22e-3, 1e-3))
ARRAY = kavro.linear_array(4, 3e-3, 1e-3)


def solve(array=ARRAY, grid=GRID, **options):
    times = kavro.Times(0, 25e-6, 100e-9)
    return kavro.solve("fnm_tsd", array, grid, WATER, time=times, excitation=PULSE, **options)


def solve_for_long(elements=2000, **options):
    long_array = kavro.linear_array(elements, 2e-5, 5e-6)
    grid = kavro.Grid(x=(-2e-2, 2e-2, 2e-4), z=(5e-3, 4e-2, 2e-4))
    return solve(long_array, grid, **options)


def ends_soon_when_interrupted(call):
    """Within 0.2 s; on a busy machine, in one of a few tries."""
    return any(time_to_end(call) < 0.2 for _ in range(4))


def time_to_end(call):
    """From Ctrl-C in mid-call to KeyboardInterrupt."""

    def interrupt():
        nonlocal sent
        sent = time.monotonic()
        os.kill(os.getpid(), signal.SIGINT)

    sent = 0.0
    timer = threading.Timer(0.2, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        call()
    ended = time.monotonic()
    timer.join()
    return ended - sent


def test_ctrl_c_ends_a_call():
    expected = solve()
    assert ends_soon_when_interrupted(solve_for_long)
    assert np.array_equal(solve(), expected)  # and nothing is left of it


def test_ctrl_c_ends_the_wait_for_another_thread():
    """Which lets others run meanwhile, or nobody would hear of it."""
    other = threading.Thread(target=solve_for_long, kwargs={"elements": 200})
    other.start()
    time.sleep(0.1)
    assert ends_soon_when_interrupted(solve)
    other.join()


def test_progress(capsys, monkeypatch):
    heard = []
    p = solve(progress=heard.append, threads=1)
    assert heard[-1] == 1 and len(heard) > 3 and heard == sorted(heard)
    nested = []
    solve(progress=lambda fraction: nested.append(solve()))
    assert nested and all(np.array_equal(p, q) for q in nested)
    with pytest.raises(ZeroDivisionError):
        solve(progress=lambda fraction: 1 / 0)

    monkeypatch.setitem(__import__("sys").modules, "tqdm.auto", None)
    solve(progress=True)
    assert capsys.readouterr().out.endswith("\rkavro.solve: 100 % done\n")
    monkeypatch.undo()
    if pytest.importorskip("tqdm"):
        solve(progress=True)
        assert "100%" in capsys.readouterr().err
    solve(progress=False)
    solve()
    assert capsys.readouterr() == ("", "")


def test_threads_at_once_give_the_same_bits():
    expected = [solve(threads=1), solve(ARRAY[1:])]
    results = [None] * 6

    def work(i):
        results[i] = solve(ARRAY[i % 2 :], threads=1 + i % 3)

    workers = [threading.Thread(target=work, args=(i,)) for i in range(len(results))]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert all(np.array_equal(p, expected[i % 2]) for i, p in enumerate(results))

    before = kavro.threads(3)
    try:
        assert kavro.threads() == 3 and np.array_equal(solve(), expected[0])
        assert kavro.threads(None) == 3 and kavro.threads() is None
    finally:
        kavro.threads(before)
    with pytest.raises(kavro.InputError, match="'count' must be a whole number"):
        kavro.threads(0)


def test_a_progress_function_may_wait_for_threads_that_compute():
    expected = solve()
    fields = []

    def wait_for_another(fraction):
        fields.append(pool.submit(solve, progress=lambda fraction: None).result(timeout=20))

    with ThreadPoolExecutor(1) as pool:
        fields.append(solve(progress=wait_for_another, threads=1))
    assert len(fields) > 3 and all(np.array_equal(p, expected) for p in fields)


@pytest.mark.skipif(not hasattr(os, "fork"), reason="this system does not fork")
def test_a_forked_child_computes():
    expected = solve(threads=2)
    holding = threading.Event()

    def hold_on(fraction):
        holding.set()
        time.sleep(0.02)

    other = threading.Thread(target=solve, kwargs={"progress": hold_on})
    other.start()
    holding.wait()
    context = multiprocessing.get_context("fork")
    queue = context.Queue()
    child = context.Process(target=lambda: queue.put(np.array_equal(solve(threads=2), expected)))
    child.start()
    try:
        assert queue.get(timeout=20)
    finally:
        child.kill()
        child.join()
        other.join()


def test_nothing_leaks():
    point = kavro.Points([[0, 0, 1e-2]])

    def call(wrong):
        try:
            solve(ARRAY, point, ndiv=4, apodization="cosine" if wrong else None)
        except TypeError:
            return
        assert not wrong

    def most_memory():
        return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss

    for wrong in (False, True):
        for _ in range(500):
            call(wrong)
        before = most_memory()
        for _ in range(10_000):
            call(wrong)
        assert most_memory() - before < 2000  # kB: 0.2 a call
