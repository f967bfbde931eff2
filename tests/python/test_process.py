"""Threads, signals, forks and memory."""
import concurrent.futures
import multiprocessing
import os
import resource
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pandas as pd
import pytest

import vxfnc

RANDOM = np.random.default_rng(1)
SETTLE = np.datetime64('2026-01-01') + RANDOM.integers(0, 365, 50_001)
BONDS = (SETTLE, SETTLE + RANDOM.integers(200, 9999, SETTLE.size), RANDOM.uniform(0.01, 0.08, SETTLE.size),
         RANDOM.uniform(60, 140, SETTLE.size), 100, RANDOM.choice([1, 2, 4], SETTLE.size), RANDOM.integers(0, 5, SETTLE.size))
FLOWS = (RANDOM.uniform(-100, 120, 50_000), SETTLE[1:], SETTLE[1:].astype(int) % 97 * 51 + np.arange(50_000) % 51)


def yields(threads):
    return vxfnc.yield_(*BONDS, threads=threads, errors='coerce').tobytes()


def rates(threads):
    amount, date, by = FLOWS
    return vxfnc.xirr(amount, date, by=by, threads=threads, errors='coerce').to_numpy().tobytes()


@pytest.mark.parametrize('function', [yields, rates])
def test_results_do_not_depend_on_threads_and_processes(function):
    expected = function(1)
    assert {function(2), function(7), function(None)} == {expected}
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        assert set(pool.map(function, [1, 2, 3, 4, 1, 2])) == {expected}
        with multiprocessing.get_context('fork').Pool(2) as processes:
            assert set(processes.map(function, [1, 2])) == {expected}


@pytest.mark.parametrize('function, arguments', [
    (vxfnc.yield_, [np.resize(argument, 30_000_000) if np.ndim(argument) else argument for argument in BONDS]),
    (vxfnc.xirr, (np.resize([1.0, -1.0, 1e-9], 3_000_000), np.datetime64('1000-01-01') + np.arange(3_000_000))),
], ids=['rows', 'flows'])
def test_ctrl_c_stops_a_call(function, arguments):
    pressed = []

    def press():
        pressed.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.3, press)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        function(*arguments, errors='coerce', threads=2)
    print(f'stopped after {time.monotonic() - pressed[0]:.3f} s')
    assert vxfnc.sln(1000, 100, 5) == 180.0


def test_python_ends_while_a_thread_calls():
    program = '''import threading, time, numpy, vxfnc
def call():
    while True:
        vxfnc.sln(numpy.ones(1500), 1, 5)
threading.Thread(target=call, daemon=True).start()
time.sleep(0.1)'''
    for _ in range(3):
        assert subprocess.run([sys.executable, '-c', program]).returncode == 0


def test_other_threads_run_meanwhile():
    """A call releases the lock of the interpreter."""
    counts = []

    def count():
        while not done:
            counts.append(1)
            time.sleep(0.001)

    done = False
    thread = threading.Thread(target=count)
    thread.start()
    for _ in range(10):
        yields(1)
    done = True
    thread.join()
    assert len(counts) > 20


def test_calls_keep_no_memory():
    column = pd.Series(['2026-11-23', 'x', None] * 100)
    amounts, dates = [[-100.0, 60.0, 60.0], [1.0, 2.0]], [['2024-01-01', '2025-01-01', '2026-01-01'], ['x', None]]

    def calls(count):
        for _ in range(count):
            vxfnc.price('2026-11-23', '2036-11-15', 0.0425, 0.0441, 100, 2, 'ACTUAL')
        for _ in range(count // 500):
            vxfnc.couppcd(column, '2036-11-15', 2, errors='coerce')
            vxfnc.explain(vxfnc.xirr, amounts, dates)
            vxfnc.sln(np.ones(100_000), 1, 5)

    calls(50_000)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    calls(1_000_000)
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before < 4_000  # KiB
