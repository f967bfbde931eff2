"""Calls whose types mypy checks. It must find the error in each line with a comment, and no other."""
import datetime
from typing import assert_type

import numpy

import vxfnc

assert_type(vxfnc.sln(10000, 1000, 5), float)
assert_type(vxfnc.yearfrac('2026-01-01', datetime.date(2027, 1, 1), 'ACTUAL', errors='raise'), float)
assert_type(vxfnc.coupncd('2026-11-23', numpy.datetime64('2036-11-15'), 2), datetime.date)
vxfnc.price(numpy.array(['2026-11-23'], 'M8[D]'), '2036-11-15', [0.04], 0.05, 100, 2).tolist()
vxfnc.xirr([-100, 110], ['2026-01-01', '2027-01-01'], by=None, sort=False)
vxfnc.sln(10000, 1000)  # type: ignore[call-overload]
vxfnc.sln(10000, 1000, 5, errors='ignore')  # type: ignore[call-overload]
vxfnc.xirr([-100, 110])  # type: ignore[call-arg]
