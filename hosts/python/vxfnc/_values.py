"""The values of arguments as arrays that the native part reads."""
import datetime
import decimal
import math
import numbers
import sys

import numpy

from . import _native
from ._calls import BASIS

FLOAT64, FLOAT32, INT64, INT32 = range(1, 5)
_TYPES = {'f8': FLOAT64, 'f4': FLOAT32, 'i8': INT64, 'i4': INT32}
_UNITS_PER_DAY = {'D': 1, 'h': 24, 'm': 1440, 's': 86400, 'ms': 86400 * 10**3,
                  'us': 86400 * 10**6, 'ns': 86400 * 10**9, 'ps': 86400 * 10**12}
_DAYS_PER_UNIT = {'D': 1, 'W': 7, 'M': 28, 'Y': 365}


class Values:
    """The values of one argument."""

    def __init__(self, array, units=0, misfits=None):
        self.array = array
        self.units = units  # per day, if the array has the bits of a datetime64
        self.misfits = misfits or {}  # why values do not fit, by flat index

    def column(self, shape):
        """The values, broadcast to a shape and flattened, as the native part takes them."""
        array = self.array
        if array.size == 1:
            array = array.reshape(1)
        elif array.shape != shape or (array.ndim != 1 and not array.flags.c_contiguous):
            array = numpy.broadcast_to(array, shape).reshape(-1)
        elif array.ndim != 1:
            array = array.reshape(-1)
        return array, _TYPES[array.dtype.str[1:]], self.units

    def doubles(self):
        """The values as one row of doubles, dates as days from 1960."""
        array = numpy.ascontiguousarray(self.array).reshape(-1)
        if self.units == 0:
            return array.astype(numpy.float64, copy=False)
        days = numpy.empty(array.size)
        _native.days(array, self.units, days)
        return days

    def misfit_rows(self, shape):
        """The rows whose values do not fit, after broadcasting, with the reasons."""
        if not self.misfits:
            return {}
        index = numpy.full(self.array.shape, -1)
        index.flat[list(self.misfits)] = list(self.misfits)
        rows = numpy.broadcast_to(index, shape).reshape(-1)
        return {int(row): self.misfits[int(rows[row])] for row in numpy.flatnonzero(rows >= 0)}


def pandas():
    """pandas, if the caller has loaded it."""
    return sys.modules.get('pandas')


def is_series(value):
    return pandas() is not None and isinstance(value, pandas().Series)


def is_frame(value):
    return pandas() is not None and isinstance(value, pandas().DataFrame)


def read(call, parameter, value):
    """The values of an argument: a number, a date, a text, or an array of them."""
    if _is_categorical(value):
        return _read_categories(call, parameter, value)
    arrow = read_arrow(call, parameter, value)
    if arrow is not None:
        if arrow[1] is not None:
            _refuse(call, parameter, 'an array of lists')
        return Values(arrow[0])
    array = to_array(call, parameter, value)
    kind = array.dtype.kind
    if kind in 'OUS':
        return _read_objects(call, parameter, array)
    if kind == 'M':
        if not parameter.is_date:
            _refuse(call, parameter, 'a date')
        return _read_times(array)
    if kind not in 'fiub':
        _refuse(call, parameter, f'of type {array.dtype}')
    if parameter.is_date and not (kind == 'f' and numpy.isnan(array).all()):
        _refuse(call, parameter, f'a number ({array.dtype})' if array.ndim else f'the number {value}')
    if array.dtype.str[1:] not in _TYPES or not array.dtype.isnative:
        is_long = kind == 'i' and array.dtype.itemsize == 8
        array = array.astype(numpy.int64 if is_long else numpy.float64)
    return Values(array if array.flags.aligned else array.copy())


def to_array(call, parameter, value):
    """An array of NumPy with the values."""
    if isinstance(value, numpy.ma.MaskedArray):
        return _filled(value)
    if isinstance(value, numpy.ndarray):
        return numpy.asarray(value)  # a matrix keeps two dimensions when it is flattened
    pd = pandas()
    if pd is not None:
        if is_frame(value):
            _refuse(call, parameter, 'a DataFrame, not one of its columns')
        if isinstance(value, pd.api.extensions.ExtensionArray):
            value = pd.Series(value)
        if isinstance(value, (pd.Series, pd.Index)):
            return _of_pandas(call, parameter, value)
    if isinstance(value, (list, tuple)):
        return _of_list(call, parameter, value)
    if isinstance(value, (dict, set, frozenset)):
        _refuse(call, parameter, f'a {type(value).__name__}')
    is_array = hasattr(value, '__array__') or hasattr(value, '__len__')
    if isinstance(value, (float, int)) or is_array and not isinstance(value, (str, bytes)):
        return numpy.asarray(value)
    scalar = numpy.empty((), dtype=object)
    scalar[()] = value
    return scalar


def _of_list(call, parameter, values):
    try:
        array = numpy.asarray(values)
    except ValueError:
        raise ValueError(f'{call.name}: {parameter.name} has lists of different lengths: must be one list, '
                         'or lists of one length') from None
    if array.dtype.kind in 'fi' or array.dtype.kind == 'M' and (array.ndim != 1 or _have_one_unit(values)):
        return array
    # NumPy turns numbers beside texts into texts, durations beside dates into dates, and dates that
    # nanoseconds cannot hold into others.
    objects = numpy.empty(array.shape, dtype=object)
    objects[...] = numpy.array(values, dtype=object).reshape(array.shape)
    return objects


def _have_one_unit(times):
    return len({getattr(time, 'dtype', None) for time in times}) == 1


def _of_pandas(call, parameter, series):
    pd = pandas()
    dtype = series.dtype
    if isinstance(dtype, pd.DatetimeTZDtype):
        _refuse_zone(call, parameter)
    if isinstance(dtype, numpy.dtype):
        return series.to_numpy()
    if dtype.kind in 'fiub':
        return series.to_numpy(dtype=numpy.float64, na_value=numpy.nan)
    if dtype.kind == 'M':
        return series.to_numpy(dtype='datetime64[ns]')
    return series.to_numpy(dtype=object)


def _filled(masked):
    kind = masked.dtype.kind
    if kind == 'M':
        return masked.filled(numpy.datetime64('NaT'))
    if kind in 'fiub':
        return masked.astype(numpy.float64).filled(numpy.nan)
    return masked.astype(object).filled(None)


def read_arrow(call, parameter, value):
    """The doubles of an Arrow array and, if it has lists, their offsets; None for another object."""
    if pandas() is not None and isinstance(value, (pandas().Series, pandas().Index)):
        return None
    if hasattr(value, '__arrow_c_stream__'):
        parts = _native.arrow(value.__arrow_c_stream__())
    elif hasattr(value, '__arrow_c_array__'):
        parts = _native.arrow(*value.__arrow_c_array__())
    else:
        return None
    if parts is None:  # a type that NumPy converts
        return None
    kind, numbers, offsets = parts
    if kind == 'zoned time':
        _refuse_zone(call, parameter)
    if parameter.is_date != (kind == 'date'):
        _refuse(call, parameter, f'an Arrow array of {kind}s')
    return numpy.frombuffer(numbers), None if offsets is None else numpy.frombuffer(offsets, numpy.int64)


def _read_times(array):
    unit, count = numpy.datetime_data(array.dtype)
    if unit in ('fs', 'as'):  # the times are hours from 1970: only its first midnight is a date
        array = numpy.sign(array.astype(numpy.int64)).astype('datetime64[ps]')
        unit = 'ps'
    elif unit not in _UNITS_PER_DAY or count != 1 or not array.dtype.isnative:
        target = unit if unit in _UNITS_PER_DAY else 'D'
        array = _limited(array, unit, count).astype(f'datetime64[{target}]')
        unit = target
    if not array.flags.aligned:
        array = array.copy()
    return Values(array.view(numpy.int64), _UNITS_PER_DAY[unit])


def _limited(array, unit, count):
    """Times that NumPy can convert to days, or to a count of 1, without an overflow."""
    most = (2**63 - 1) // count
    if unit in _DAYS_PER_UNIT:  # days far beyond the calendar
        most = min(most, 10**8 // (count * _DAYS_PER_UNIT[unit]) + 1)
    times = array.astype(numpy.int64)
    times = numpy.where(numpy.isnat(array), times, numpy.clip(times, -most, most))
    return times.view(f'datetime64[{count}{unit}]')


def _is_categorical(value):
    pd = pandas()
    return pd is not None and isinstance(getattr(value, 'dtype', None), pd.CategoricalDtype)


def _read_categories(call, parameter, value):
    """Reads each category once."""
    values = getattr(value, 'array', value)
    codes = numpy.asarray(values.codes)
    categories = read(call, parameter, values.categories.to_numpy())
    numbers = numpy.append(categories.doubles(), numpy.nan)
    misfits = {}
    for code, reason in categories.misfits.items():
        misfits.update(dict.fromkeys(numpy.flatnonzero(codes == code).tolist(), reason))
    return Values(numbers[codes], 0, misfits)  # the code of a missing value is -1


def _read_objects(call, parameter, array):
    objects = array.reshape(-1).tolist()
    memory, misfits = _native.read(objects, parameter.kind, lambda value: _number_of(parameter, value))
    numbers = numpy.frombuffer(memory).reshape(array.shape)
    reasons = {index: _why_not(parameter, objects[index]) for index in misfits}
    if array.ndim == 0 and misfits and (not isinstance(objects[0], str) or not _takes_text(parameter)):
        raise TypeError(f'{call.name}: {parameter.name} {reasons[0]}')
    return Values(numbers, 0, reasons)


def _takes_text(parameter):
    return parameter.is_date or parameter.kind == BASIS


def _number_of(parameter, value):
    """The number of an object that the native part does not know; None if it does not fit."""
    pd = pandas()
    if pd is not None and (value is pd.NA or value is pd.NaT):
        return math.nan
    if parameter.is_date:
        if not isinstance(value, (datetime.date, numpy.datetime64)) or getattr(value, 'tzinfo', None) is not None:
            return None
        time = value.to_datetime64() if hasattr(value, 'to_datetime64') else numpy.datetime64(value)
        return float(_read_times(numpy.asarray(time)).doubles()[0])
    is_number = isinstance(value, (numbers.Real, decimal.Decimal, numpy.bool_))
    try:
        return float(value) if is_number and not isinstance(value, numpy.timedelta64) else None
    except (OverflowError, TypeError, ValueError):
        return None


def _why_not(parameter, value):
    if parameter.is_date and getattr(value, 'tzinfo', None) is not None:
        return f'is {value}: must be a date without a time zone'
    try:
        shown = f'the text {value!r}' if isinstance(value, str) else repr(value)
    except ValueError:  # an int with thousands of digits
        shown = f'an object of type {type(value).__name__}'
    return f'is {shown[:80]}: {parameter.allowed}'


def _refuse(call, parameter, what):
    raise TypeError(f'{call.name}: {parameter.name} is {what}: {parameter.allowed}')


def _refuse_zone(call, parameter):
    raise TypeError(f'{call.name}: {parameter.name} has a time zone: must be a date without a time zone; '
                    "for a Series, .dt.tz_localize(None) removes it")
