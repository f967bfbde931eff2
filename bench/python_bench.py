#!/usr/bin/python3
"""Measures the functions of the Python package, beside the module's dispatcher and the kernel's lists
for the same rows, and beside other ways to calculate. Each time is the best of many rounds. The rounds
of the functions that are compared alternate. usage: python_bench.py BUILD-FOLDER [ROWS]"""
import ctypes
import sys
import time
import timeit

import numpy
import pandas
import QuantLib

build = sys.argv[1]
rows = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
sys.path.insert(0, f'{build}/python')
import vxfnc  # noqa: E402

library = ctypes.CDLL(f'{build}/lib/bench_dispatcher.so')
FLOWS, SAMPLE, FEW_GROUPS = 10, min(rows, 5000), 500

i = numpy.arange(rows)
cost, salvage, life = i * 1.0, i / 10.0, 5.0 + i % 7
settlement = numpy.datetime64('2024-03-11') + i % 5
maturity = numpy.datetime64('2033-11-15') + i % 31
rate, yld, price = 0.0725 + i % 3 / 1e3, 0.05 + i % 100 / 1e4, 100.0 + i % 100 / 50
CALLS = [  # with the largest ratio that we aim at
    (vxfnc.sln, 'SLN', (cost, salvage, life), 1.3),
    (vxfnc.yearfrac, 'YEARFRAC', (settlement, maturity, 0), 1.15),
    (vxfnc.price, 'PRICE', (settlement, maturity, rate, yld, 100, 2, 0), 1.08),
    (vxfnc.yield_, 'YIELD', (settlement, maturity, rate, price, 100, 2, 0), 1.08),
]


def best(*bodies, budget=10):
    """The seconds of the fastest round of each body. The rounds take this many seconds together."""
    fastest = [float('inf')] * len(bodies)
    end = time.perf_counter() + budget
    while time.perf_counter() < end:
        for at, body in enumerate(bodies):
            began = time.perf_counter()
            body()
            fastest[at] = min(fastest[at], time.perf_counter() - began)
    return fastest


def doubles(values):
    """The numbers that the module gets: dates are days from 1960."""
    array = numpy.atleast_1d(values)
    if array.dtype.kind == 'M':
        array = (array - numpy.datetime64('1960-01-01')).astype('timedelta64[D]')
    return array.astype(numpy.float64)


def pointer(array):
    return ctypes.c_void_p(array.ctypes.data)


def dispatcher(keyword, arguments, results):
    """A function that calls the dispatcher for each row."""
    columns = [doubles(values) for values in arguments]

    def call():
        pointers = (ctypes.c_void_p * len(columns))(*[column.ctypes.data for column in columns])
        steps = (ctypes.c_int32 * len(columns))(*[int(column.size > 1) for column in columns])
        library.evaluate_rows(keyword.encode(), pointers, steps, len(columns), ctypes.c_int64(rows), pointer(results))
    return call


def demand(results, others):
    if not numpy.array_equal(results, others):
        sys.exit('python_bench: two ways of calling return different results')


def microseconds(function, *arguments):
    """The time of one call with Python's own numbers and dates."""
    return min(timeit.repeat(lambda: function(*arguments), number=2000, repeat=15)) / 2000 * 1e6


def first(values):
    """The value of the first row, as a Python object."""
    return numpy.atleast_1d(values)[0].item()


def print_rows():
    print('| Keyword | dispatcher, ns per row | vxfnc, one thread | ratio | limit | speedup of two threads '
          '| one call of Python numbers, µs (limit 0.6) |\n|---|---:|---:|---:|---:|---:|---:|')
    times = {}
    for function, keyword, arguments, limit in CALLS:
        results = numpy.empty(rows)
        least, one, two = best(dispatcher(keyword, arguments, results), lambda: function(*arguments, threads=1),
                               lambda: function(*arguments, threads=2))
        demand(results, function(*arguments))
        single = microseconds(function, *map(first, arguments))
        times[keyword] = one / rows * 1e9
        print(f'| {keyword} | {least / rows * 1e9:.1f} | {times[keyword]:.1f} | {one / least:.2f} | {limit:.2f} | '
              f'{one / two:.2f} | {single:.2f} |')
    return times


def print_groups():
    groups = rows // FLOWS
    fund = numpy.repeat(numpy.arange(groups), FLOWS)
    flow = numpy.tile(numpy.arange(FLOWS), groups)
    amounts = numpy.where(flow == 0, -900.0 * (FLOWS - 1), 1000.0 + fund % 7)
    dates = numpy.datetime64('2024-03-11') + 91 * flow
    offsets = numpy.arange(groups + 1) * FLOWS
    table = pandas.DataFrame({'fund': fund, 'amount': amounts, 'date': dates})
    shuffled, few = table.sample(frac=1, random_state=1), table.head(FEW_GROUPS * FLOWS)
    numbers, results = doubles(dates), numpy.empty(groups)

    def pairs(threads):
        return vxfnc.xirr((amounts, offsets), (dates, offsets), threads=threads)

    ways = {
        "the kernel's lists": lambda: library.evaluate_lists(
            b'XIRR', pointer(amounts), pointer(numbers), pointer(offsets), ctypes.c_int64(groups), pointer(results)),
        'vxfnc, pairs of values and offsets (limit 1.1)': lambda: pairs(1),
        'the same in two threads': lambda: pairs(2),
        'vxfnc, `by=` sorted keys': lambda: vxfnc.xirr(amounts, dates, by=fund, threads=1),
        'vxfnc, `by=` shuffled keys': lambda: vxfnc.xirr(
            shuffled['amount'], shuffled['date'], by=shuffled['fund'], threads=1),
    }
    seconds = [each / groups for each in best(*ways.values())]
    demand(results, pairs(2))
    applied, = best(lambda: few.groupby('fund').apply(lambda each: vxfnc.xirr(each['amount'], each['date'])), budget=1)
    seconds.append(applied / min(FEW_GROUPS, groups))
    print(f'\n| XIRR of {groups:,} groups of {FLOWS} flows | ns per group | ratio |\n|---|---:|---:|')
    for way, each in zip([*ways, f'pandas, `groupby.apply` of vxfnc.xirr, {FEW_GROUPS} groups'], seconds):
        print(f'| {way} | {each * 1e9:.0f} | {each / seconds[0]:.2f} |')
    single = microseconds(vxfnc.xirr, amounts[:FLOWS].tolist(), dates[:FLOWS].tolist())
    print(f'\nOne call of `vxfnc.xirr` with two lists of {FLOWS} Python objects takes {single:.1f} µs.')


def print_others(times):
    start, end = settlement[:SAMPLE].tolist(), maturity[:SAMPLE].tolist()
    lists = [values[:SAMPLE].tolist() for values in (cost, salvage, life)]
    from_date = [QuantLib.Date(day.day, day.month, day.year) for day in start]
    to_date = [QuantLib.Date(day.day, day.month, day.year) for day in end]
    coupons, yields = rate[:SAMPLE].tolist(), yld[:SAMPLE].tolist()
    days = QuantLib.Thirty360(QuantLib.Thirty360.USA)

    def clean_price(settlement, maturity, rate, yld):
        schedule = QuantLib.Schedule(
            maturity - QuantLib.Period(10, QuantLib.Years), maturity, QuantLib.Period(QuantLib.Semiannual),
            QuantLib.NullCalendar(), QuantLib.Unadjusted, QuantLib.Unadjusted, QuantLib.DateGeneration.Backward, False)
        bond = QuantLib.FixedRateBond(0, 100.0, schedule, [rate], days)
        return bond.cleanPrice(yld, days, QuantLib.Compounded, QuantLib.Semiannual, settlement)

    def prices():
        return [clean_price(*each) for each in zip(from_date, to_date, coupons, yields)]

    by_hand = best(lambda: (cost - salvage) / life, lambda: (maturity - settlement).astype(numpy.float64) / 365,
                   budget=1)
    sampled = best(
        lambda: [(c - s) / n for c, s, n in zip(*lists)],
        lambda: [(b - a).days / 365 for a, b in zip(start, end)],
        lambda: [days.yearFraction(a, b) for a, b in zip(from_date, to_date)],
        prices)
    arguments = [values[:SAMPLE] if numpy.ndim(values) else values for values in CALLS[2][2]]
    most = numpy.abs(prices() - vxfnc.price(*arguments)).max()
    print('\n| Without vxfnc | ns per row | vxfnc, one thread | ratio |\n|---|---:|---:|---:|')
    for what, seconds, keyword in [
        ('NumPy, `(cost - salvage) / life`', by_hand[0] / rows, 'SLN'),
        ('a list in Python, `(c - s) / n`', sampled[0] / SAMPLE, 'SLN'),
        ('NumPy, `(end - start) / 365`, which is the basis ACT/365 only', by_hand[1] / rows, 'YEARFRAC'),
        ('a list in Python, `(end - start).days / 365`', sampled[1] / SAMPLE, 'YEARFRAC'),
        ('QuantLib, `Thirty360.yearFraction`', sampled[2] / SAMPLE, 'YEARFRAC'),
        ('QuantLib, `FixedRateBond.cleanPrice` of a new bond', sampled[3] / SAMPLE, 'PRICE'),
    ]:
        print(f'| {what} | {seconds * 1e9:.1f} | {times[keyword]:.1f} | {seconds * 1e9 / times[keyword]:.2f} |')
    print(f'\nLists and QuantLib have {SAMPLE:,} rows, the others {rows:,}. The prices of QuantLib differ '
          f'by at most {most:.1g}.')


if __name__ == '__main__':
    row_times = print_rows()
    print_groups()
    print_others(row_times)
