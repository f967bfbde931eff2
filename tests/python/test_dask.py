"""The package in a cluster of Dask: two worker processes, connected by TCP."""
import os
import pathlib
import signal
import subprocess
import sys

import numpy
import pandas
import pytest

dask = pytest.importorskip('dask')
distributed = pytest.importorskip('distributed')
import dask.array  # noqa: E402
import dask.dataframe  # noqa: E402

import vxfnc  # noqa: E402

ROWS, PARTS = 1_000_000, 40


@pytest.fixture(scope='module')
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, protocol='tcp://', host='127.0.0.1',
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as connected:
        yield connected


def bonds(part):
    """A part of the bonds. Tasks make their own data, as tasks that read files do."""
    random = numpy.random.default_rng(part)
    rows = ROWS // PARTS
    settle = numpy.datetime64('2026-01-01') + random.integers(0, 365, rows)
    return pandas.DataFrame({'settle': settle, 'maturity': settle + random.integers(1, 12000, rows),
                             'coupon': random.uniform(0, 0.1, rows), 'price': random.uniform(80, 120, rows)})


def yields(frame, redemption):
    return vxfnc.yield_(frame.settle, frame.maturity, frame.coupon, frame.price, redemption, 2, errors='coerce')


def collection():
    return dask.dataframe.from_map(bonds, range(PARTS), meta=bonds(0).head(0))


def test_a_cluster_returns_the_results_of_one_process(client):
    assert set(vxfnc.check_workers(client).values()) == {vxfnc.__build__}
    results = yields(collection(), 100).compute().to_numpy()
    expected = yields(pandas.concat(map(bonds, range(PARTS))), 100).to_numpy()
    assert numpy.array_equal(results, expected, equal_nan=True)
    assert numpy.isfinite(expected).mean() > 0.9


def test_a_job_survives_the_death_of_a_worker(client):
    expected = sum(yields(bonds(part), 101).sum() for part in range(PARTS))
    pids = client.run(os.getpid)
    parts = client.compute(yields(collection(), 101).to_delayed())
    next(iter(distributed.as_completed(parts)))
    assert any(part.status == 'pending' for part in parts)
    os.kill(next(iter(pids.values())), signal.SIGKILL)
    assert sum(part.sum() for part in client.gather(parts)) == expected
    client.wait_for_workers(2)
    assert set(client.run(os.getpid).values()) != set(pids.values())


def test_a_worker_without_the_package_is_named(client, tmp_path):
    (tmp_path / 'vxfnc.py').write_text('raise ModuleNotFoundError("No module named \'vxfnc\'")')
    worker = subprocess.Popen([sys.executable, '-m', 'distributed.cli.dask_worker', client.scheduler.address,
                               '--name', 'bare', '--no-nanny', '--no-dashboard', '--nthreads', '1'],
                              env={**os.environ, 'PYTHONPATH': str(tmp_path)}, stderr=subprocess.DEVNULL)
    try:
        client.wait_for_workers(3)
        with pytest.raises(RuntimeError, match=r'tcp://\S+ has no vxfnc \(No module named .vxfnc.\)'):
            vxfnc.check_workers(client)
        with pytest.raises(ModuleNotFoundError, match="No module named 'vxfnc'"):
            client.submit(vxfnc.sln, 10000, 1000, 5, workers=['bare'], pure=False).result(timeout=20)
    finally:
        worker.terminate()
        worker.wait()


def test_flows_of_a_key_come_together_from_all_partitions(client):
    flows = pandas.read_csv(pathlib.Path(__file__).parents[2] / 'examples/flows.csv')
    parts = dask.dataframe.from_pandas(flows, npartitions=5)
    for sort in (True, False):
        rates = vxfnc.xirr(parts.amount, parts.date, by=parts.fund, sort=sort).compute()
        expected = vxfnc.xirr(flows.amount, flows.date, by=flows.fund, sort=sort)
        pandas.testing.assert_series_equal(rates.sort_index(), expected, check_exact=sort)
    with pytest.raises(TypeError, match='must be columns'):
        vxfnc.xirr(parts.amount, parts.date)


def test_arrays_with_different_chunks(client):
    months = numpy.arange(1, 361)
    rates = numpy.linspace(0.001, 0.01, 360)
    lazy = vxfnc.ipmt(dask.array.from_array(rates, 100), dask.array.from_array(months, 77), 360, 250000)
    assert numpy.array_equal(lazy.compute(), vxfnc.ipmt(rates, months, 360, 250000))
    table = vxfnc.fv(dask.array.from_array(rates.reshape(-1, 1), 90), dask.array.from_array(months, 120), -100)
    assert numpy.array_equal(table.compute(), vxfnc.fv(rates.reshape(-1, 1), months, -100))


def test_failed_rows_and_single_values(client):
    lives = dask.dataframe.from_pandas(pandas.Series([5, 0, 4]), npartitions=2)
    reasons = vxfnc.explain(vxfnc.sln, 10000, 1000, lives).compute()
    assert reasons.tolist() == [None, 'argument 3 (life) is 0: must be greater than 0', None]
    with pytest.raises(vxfnc.FinanceError, match='life') as caught:
        vxfnc.sln(10000, 1000, lives, errors='raise').compute()
    assert (caught.value.keyword, caught.value.argument, caught.value.row) == ('SLN', 'life', 1)
    assert vxfnc.sln(dask.delayed(int)('10000'), 1000, 5).compute() == 1800
    dates = vxfnc.couppcd(dask.dataframe.from_pandas(pandas.Series(['2026-09-01']), npartitions=1), '2031-02-28', 2)
    assert dates.dtype == 'M8[ns]' and dates.compute()[0] == pandas.Timestamp('2026-08-31')
