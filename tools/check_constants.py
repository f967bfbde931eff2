#!/usr/bin/env python3
"""Derives the constants of module/numeric and module/calendar and compares them with the source.

  tools/check_constants.py    fails at the first constant that differs; ./dev check runs it
"""

from decimal import Decimal as D, getcontext
from pathlib import Path
from re import search

getcontext().prec = 50
MODULE = Path(__file__).resolve().parent.parent / "module"
BITS_53, LN_2 = D(2) ** 53, D(2).ln()
MOST = (1 - 1 / BITS_53) * D(2) ** 1024  # the largest double


def compare(path, before, wanted, digits=None):
    """Checks that the number after the text `before` is the double nearest to `wanted`, or has its digits."""
    literal = search(before + r"\s*(-?[0-9.]+(?:e[-+][0-9]+)?)", (MODULE / path).read_text()).group(1)
    same = float(literal) == float(wanted) if digits is None else abs(D(literal) - wanted) < D(10) ** -digits
    print(f"{path}: {literal}" if same else f"{path}: {literal}, not {wanted:.20}")
    if not same:
        raise SystemExit(1)
    return int(float(literal))


def solve(rows):
    """Solves linear equations by Gauss-Jordan elimination. The last column has the right sides."""
    for i, row in enumerate(rows):
        row = rows[i] = [x / row[i] for x in row]
        for j, other in enumerate(rows):
            if j != i:
                rows[j] = [x - other[i] * y for x, y in zip(other, row)]
    return [row[-1] for row in rows]


def artanh_tail(t):
    """(2 artanh(s / 2) - s) / (t s) with t = s^2: 1/12 + t/80 + t^2/448 + ..."""
    tail = D(0)
    for k in reversed(range(20)):
        tail = tail * t + 1 / (D(4) ** (k + 1) * (2 * k + 3))
    return tail


def minimax(end):
    """Finds (a - b t) / (1 - c t) closest to artanh_tail over [0, end] by the Remez exchange."""
    points, error = [D(0), end / 4, end * 3 / 4, end], D(0)
    for _ in range(40):
        rows = []
        for i, t in enumerate(points):
            sign, tail = (-1) ** i, artanh_tail(t)
            rows.append([D(1), -t, t * (tail + sign * error), D(-sign), tail])
        a, b, c, error = solve(rows)
        for i, sign in ((1, -1), (2, 1)):  # the inner extremes; the outer ones are the ends
            off = lambda t: sign * ((a - b * t) / (1 - c * t) - artanh_tail(t))
            step = end / 16
            while step > end / 10**12:
                best = max((points[i] - step, points[i], points[i] + step), key=off)
                step = step / 2 if best == points[i] else step
                points[i] = best
    return a, b, c


a, b, c = minimax((D(2) / 65) ** 2)  # s^2 for x = 1/32
ELEMENTARY, NEWTON, CALENDAR = "numeric/elementary.cpp", "numeric/newton.cpp", "calendar/calendar.h"
compare(ELEMENTARY, "numerator = ", a)
compare(ELEMENTARY, "numerator = [0-9.]+ - ", b)
compare(ELEMENTARY, "denominator = 1.0 - ", c)
compare(ELEMENTARY, "kLn2 = ", LN_2)
compare(ELEMENTARY, "kSafetyMargin = ", 1 + 6 / BITS_53)
compare(ELEMENTARY, "kHugeExponent = ", MOST.sqrt(), -141)  # 13 decimals
compare(ELEMENTARY, "kExpUnderflow = ", -1022 * LN_2, 7)  # 7 decimals
compare(ELEMENTARY, "kMultiplicationLimit = ", 104 * LN_2, 13)  # 13 decimals
compare("numeric/elementary.h", "kExpOverflow = ", MOST.ln())
compare(NEWTON, "kLongestStep = ", 512 * LN_2)
compare(NEWTON, "kNextToZero = ", 1 / BITS_53.sqrt(), 22)  # 15 decimals
compare(NEWTON, "kNothing = ", 10 / BITS_53, 29)  # 15 decimals

# The multiplications that replace divisions, for every day of a century and of a year.
per_four_years = compare(CALENDAR, "kPerFourYears = ", -(-(2**32) // 1461))
for day in range(36525):
    product = per_four_years * (4 * day + 3)
    assert product >> 32 == (4 * day + 3) // 1461
    assert (product & 0xFFFFFFFF) * 1461 >> 34 == (4 * day + 3) % 1461 // 4
LENGTHS = [31, 30, 31, 30, 31, 31, 30, 31, 30, 31, 31, 29]  # from March, which is month 3
slope = compare(CALENDAR, "months = ", D(2141))
start = compare(CALENDAR, r"months = \d+ \* day_of_year \+ ", D(197913))
dates = [(m, d) for m, length in enumerate(LENGTHS, 3) for d in range(1, length + 1)]
for day, date in enumerate(dates):
    months = slope * day + start
    assert (months >> 16, (months & 0xFFFF) // slope + 1) == date
print("check_constants: passed")
