"""The calculations, and options that all functions have."""
import operator
import os
import sys

from . import _native

NUMBER, WHOLE, DATE, DATE_TIME, BASIS, FREQUENCY = range(6)
_DATE_RESULT = 5


class Parameter:
    """An argument of a calculation."""

    def __init__(self, name, kind, is_list, allowed):
        self.name = name
        self.kind = kind
        self.is_list = is_list
        self.is_date = kind in (DATE, DATE_TIME)
        self.allowed = allowed  # 'must be a number'
        if self.is_date:
            self.allowed = "must be a date, such as datetime.date(2026, 11, 23) or '2026-11-23'"


class Call:
    """A calculation."""

    def __init__(self, number, keyword, result, parameters):
        self.number = number
        self.keyword = keyword
        self.name = keyword.lower() + ('_' if keyword == 'YIELD' else '')
        self.gives_date = result == _DATE_RESULT
        self.parameters = [Parameter(*parameter) for parameter in parameters]
        self.has_lists = any(parameter.is_list for parameter in self.parameters)
        self.unit = 'groups' if self.has_lists else 'rows'


CALLS = [Call(number, *keyword) for number, keyword in enumerate(_native.keywords)]


def thread_count(threads):
    """The number of threads that an option allows."""
    if threads is None:
        return 1 if _is_in_dask_worker() else len(os.sched_getaffinity(0))
    if operator.index(threads) < 1:
        raise ValueError(f'threads is {threads}: must be at least 1')
    return threads


def _is_in_dask_worker():
    """A worker of Dask has a thread for each of its processors already."""
    distributed = sys.modules.get('distributed')
    try:
        return distributed is not None and distributed.get_worker() is not None
    except (AttributeError, ValueError):
        return False
