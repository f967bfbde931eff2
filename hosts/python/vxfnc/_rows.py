"""Calculations with one result per row."""
import datetime
import sys

import numpy

from . import _native
from ._calls import CALLS, thread_count
from ._errors import Failure, check_option, report
from ._values import is_frame, is_series, pandas, read

_EPOCH = numpy.datetime64('1960-01-01', 'D')
_ALL = sys.maxsize


def evaluate(number, arguments, errors, threads):
    """The results of a calculation. Its caller is a function of the package."""
    check_option(errors)
    call = CALLS[number]
    if any(hasattr(argument, '__dask_graph__') for argument in arguments):
        from . import _dask
        return _dask.evaluate(call, arguments, errors)
    rows = Rows(call, arguments)
    failures = rows.evaluate(threads, 0 if errors == 'coerce' else 1)
    if failures:
        report(call, rows.failed, failures[0], rows.count, rows.label(failures[0].row), errors)
    return rows.results()


def explain(call, arguments, threads):
    """The reason why each row failed, or None."""
    if any(hasattr(argument, '__dask_graph__') for argument in arguments):
        from . import _dask
        return _dask.explain(call, arguments)
    rows = Rows(call, arguments)
    texts = numpy.full(rows.count, None, dtype=object)
    for failure in rows.evaluate(threads, _ALL):
        texts[failure.row] = failure.message(call)
    return rows.wrapped(texts.reshape(rows.shape))


class Rows:
    """The arguments of a call, broadcast against each other."""

    def __init__(self, call, arguments):
        self.call = call
        self.index = common_index(call, arguments)
        self.values = [read(call, *pair) for pair in zip(call.parameters, arguments)]
        try:
            self.shape = numpy.broadcast_shapes(*(values.array.shape for values in self.values))
        except ValueError:
            shapes = ', '.join(f'{parameter.name} {values.array.shape}'
                               for parameter, values in zip(call.parameters, self.values) if values.array.ndim)
            raise ValueError(f'{call.name}: the arrays have different shapes: {shapes}') from None
        if self.index is not None and self.shape != (len(self.index),):
            raise ValueError(f'{call.name}: the shape of the arrays is {self.shape}, '
                             f'but the Series has the length {len(self.index)}')
        self.count = int(numpy.prod(self.shape, dtype=numpy.int64))
        self.failed = 0

    def evaluate(self, threads, explained):
        """Evaluates the rows and returns the first failures, as many as are to be explained."""
        self.numbers = numpy.empty(self.count)
        failed = numpy.empty((self.count + 7) // 8, numpy.uint8)
        columns = tuple(values.column(self.shape) for values in self.values)
        self.failed, reasons = _native.columns(self.call.number, columns, self.numbers, failed,
                                               thread_count(threads), explained)
        failures = {row: Failure(row, position, text) for row, position, text in reasons}
        for position, values in reversed(list(enumerate(self.values, 1))):
            for row, reason in values.misfit_rows(self.shape).items():
                # The value was replaced by 0, so that the row has a result unless another value is
                # missing or invalid.
                has_failed = failed[row // 8] >> row % 8 & 1
                if numpy.isnan(self.numbers[row]) and not has_failed:
                    continue
                self.failed += not has_failed
                failed[row // 8] |= 1 << row % 8
                self.numbers[row] = numpy.nan
                failures[row] = Failure(row, position, reason)
        return [failures[row] for row in sorted(failures)][:explained]

    def label(self, row):
        """The beginning of an error message that names a row."""
        if not self.shape:
            return ''
        label = f'row {row}'
        pd = pandas()
        if self.index is not None and not isinstance(self.index, pd.RangeIndex):
            label += f' (index {self.index[row]!r})'
        return label + ': '

    def results(self):
        if not self.call.gives_date:
            return self.wrapped(self.numbers.reshape(self.shape))
        with numpy.errstate(invalid='ignore'):  # NaN becomes NaT
            days = self.numbers.reshape(self.shape).astype(numpy.int64).astype('timedelta64[D]')
        return self.wrapped(_EPOCH + days)

    def wrapped(self, array):
        """The results as the arguments were given: a scalar, an array or a Series."""
        if not self.shape:
            value = array[()]
            return value.item() if array.dtype.kind == 'f' else _date(value)
        return array if self.index is None else series(array, self.index, self.call.name)


def _date(value):
    """A datetime.date, if there is one: not before the year 1, and not NaT."""
    if not isinstance(value, numpy.datetime64):
        return value
    date = value.item()
    return date if isinstance(date, datetime.date) else value


def common_index(call, arguments):
    """The index of the Series among the arguments, which must be the same; None if there is none."""
    found = [argument.index for argument in arguments if is_series(argument) or is_frame(argument)]
    for index in found[1:]:
        if index is not found[0] and not index.equals(found[0]):
            raise ValueError(f'{call.name}: the Series have different indexes: align them, '
                             'or pass arrays with .to_numpy()')
    return found[0] if found else None


def series(array, index, name):
    pd = pandas()
    try:
        return pd.Series(array, index=index, name=name)
    except pd.errors.OutOfBoundsDatetime:  # pandas counts nanoseconds, which end in 2262
        return pd.Series(array.astype(object), index=index, name=name)
