"""Financial calculations over numbers, arrays and tables.

    >>> import vxfnc
    >>> round(vxfnc.price('2026-11-23', '2036-11-15', 0.0425, 0.0441, 100, 2, 'ACTUAL'), 6)
    98.718685

Each function is one calculation. Its arguments are numbers, dates, or arrays of them, which are
broadcast as NumPy does it: lists, arrays of NumPy, columns of pandas, and collections of Dask.
Rates are fractions: 0.05 is 5 %. Dates are datetime.date, datetime64 or texts such as '2026-11-23'.
"""
from . import _functions
from ._errors import FinanceError, FinanceWarning
from ._functions import *  # noqa: F403
from ._native import build as __build__
from ._native import version as __version__
from ._tools import check_workers, explain

__all__ = ['FinanceError', 'FinanceWarning', 'check_workers', 'explain', *_functions.__all__]
