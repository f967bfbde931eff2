"""Calculations over cash flows, with one result per group of flows."""
import itertools
import math
import sys

import numpy

from . import _native
from ._calls import CALLS, thread_count
from ._errors import Failure, check_option, report
from ._rows import common_index, series
from ._values import Values, is_frame, is_series, pandas, read, read_arrow

_ALL = sys.maxsize


def evaluate(number, arguments, by, sort, errors, threads):
    """The results of a calculation. Its caller is a function of the package."""
    check_option(errors)
    call = CALLS[number]
    if any(hasattr(argument, '__dask_graph__') for argument in (*arguments, by)):
        from . import _dask
        return _dask.evaluate_flows(call, arguments, by, sort, errors)
    groups = Groups(call, arguments, by)
    failures = groups.evaluate(sort, threads, 0 if errors == 'coerce' else 1)
    if failures:
        report(call, groups.failed, failures[0], groups.count, groups.label(failures[0].row), errors)
    return groups.wrapped(groups.numbers)


def explain(call, arguments, by, sort, threads):
    """The reason why each group failed, or None."""
    groups = Groups(call, arguments, by)
    texts = numpy.full(groups.count, None, dtype=object)
    for failure in groups.evaluate(sort, threads, _ALL):
        texts[failure.row] = failure.message(call)
    return groups.wrapped(texts)


class Flows:
    """The values of one list argument, and where each group begins."""

    def __init__(self, numbers, lengths, misfits=None, missing=None):
        self.numbers = numbers
        self.lengths = lengths
        self.misfits = misfits or {}  # why values do not fit, by flow
        self.missing = missing  # the groups that have no list; None: every group has one

    def select(self, kept):
        """Leaves out the flows of all other groups."""
        flows = numpy.repeat(kept, self.lengths)
        places = numpy.cumsum(flows) - 1
        self.misfits = {int(places[flow]): reason for flow, reason in self.misfits.items() if flows[flow]}
        self.numbers = self.numbers[flows]
        self.lengths = numpy.where(kept, self.lengths, 0)

    def offsets(self):
        return numpy.concatenate(([0], numpy.cumsum(self.lengths, dtype=numpy.int64)))


class Groups:
    """The flows of a call in groups."""

    def __init__(self, call, arguments, by):
        self.call = call
        self.index = None  # of the result, if it is a Series
        self.is_single = False
        self.is_by_key = by is not None
        self.failed = 0
        self.failures = {}  # of groups that are not evaluated
        pairs = list(zip(call.parameters, arguments))
        lists = [(parameter, value) for parameter, value in pairs if parameter.is_list]
        if len(lists) > 1 and _is_date(lists[0][1]):
            order = ', '.join(parameter.name for parameter in call.parameters)
            raise TypeError(f'{call.name}: {lists[0][0].name} is a date: '
                            f'the order of the arguments is {call.name}({order})')
        flows = self._by_key(lists, by) if self.is_by_key else self._in_groups(lists)
        if not self.is_by_key and not self.is_single:
            self.index = common_index(call, arguments)
        self._match_lengths(flows)
        self.offsets = flows[0].offsets()
        self.count = self.offsets.size - 1
        self.numbers = numpy.empty(self.count)
        remaining = iter(flows)
        self.columns = tuple(self._column(parameter, value, remaining) for parameter, value in pairs)

    def _by_key(self, lists, by):
        """Groups the flows by their keys."""
        pd = pandas()
        if pd is None:
            raise TypeError(f'{self.call.name}: by needs pandas: import pandas first')
        common_index(self.call, [value for _, value in lists] + [by])
        codes, self.index = _factorize(self.call, by)
        values = [read(self.call, parameter, value) for parameter, value in lists]
        for (parameter, _), each in zip(lists, values):
            if each.array.shape != codes.shape:
                raise ValueError(f'{self.call.name}: by has the length {len(codes)}, '
                                 f'but {parameter.name} has the shape {each.array.shape}')
        offsets = numpy.empty(len(self.index) + 1, numpy.int64)
        order = numpy.empty(len(codes), numpy.int64)
        is_sorted = _native.group(numpy.ascontiguousarray(codes, numpy.int64), offsets, order)
        order = order[:offsets[-1]]
        flows = []
        for each in values:
            numbers = each.doubles()
            misfits = each.misfits
            if not is_sorted:
                numbers = numbers[order]
                misfits = {place: misfits[row] for place, row in enumerate(order.tolist())
                           if row in misfits} if misfits else {}
            flows.append(Flows(numbers, numpy.diff(offsets), misfits))
        return flows

    def _in_groups(self, lists):
        """Finds the groups in lists of lists, pairs of values and offsets, and tables."""
        flows = [_nested(self.call, parameter, value) for parameter, value in lists]
        if not any(isinstance(each, Flows) for each in flows):
            values = [each or read(self.call, *pair) for each, pair in zip(flows, lists)]
            common_index(self.call, [value for _, value in lists])
            if all(each.array.ndim == 2 for each in values):
                shape = numpy.broadcast_shapes(*(each.array.shape for each in values))
                return [_table(each, shape) for each in values]
            self.is_single = True
            for (parameter, _), each in zip(lists, values):
                if each.array.ndim > 1:
                    raise ValueError(f'{self.call.name}: {parameter.name} has {each.array.ndim} dimensions: '
                                     'must have one, or two in all lists')
                if each.array.size != values[0].array.size:
                    raise ValueError(f'{self.call.name}: {parameter.name} has the length {each.array.size}: '
                                     f'must have the length of {lists[0][0].name}, {values[0].array.size}')
            return [Flows(each.doubles(), numpy.array([each.array.size]), each.misfits) for each in values]
        for (parameter, _), each in zip(lists, flows):
            if not isinstance(each, Flows) or each.lengths.size != flows[0].lengths.size:
                raise ValueError(f'{self.call.name}: {parameter.name} must have one list for each list of '
                                 f'{lists[0][0].name}')
        return flows

    def _match_lengths(self, flows):
        """Lists of a group with different lengths are an error of the group."""
        missing = [each.missing for each in flows if each.missing is not None]
        kept = ~numpy.logical_or.reduce(missing) if missing else numpy.ones(flows[0].lengths.size, bool)
        positions = [i for i, parameter in enumerate(self.call.parameters, 1) if parameter.is_list]
        lengths = flows[0].lengths
        for position, each in zip(positions[1:], flows[1:]):
            for group in numpy.flatnonzero(kept & (each.lengths != lengths)).tolist():
                text = (f'has the length {each.lengths[group]}: must have the length of '
                        f'{self.call.parameters[positions[0] - 1].name}, {lengths[group]}')
                self.failures.setdefault(group, Failure(group, position, text))
        kept[list(self.failures)] = False
        if not kept.all():
            for each in flows:
                each.select(kept)

    def _column(self, parameter, value, flows):
        """The doubles of an argument. Values that do not fit are failures of their groups."""
        position = self.call.parameters.index(parameter) + 1
        if parameter.is_list:
            each = next(flows)
            for flow, reason in each.misfits.items():
                group = int(numpy.searchsorted(self.offsets, flow, side='right')) - 1
                self.failures.setdefault(group, Failure(group, position, reason, flow - int(self.offsets[group]) + 1))
            return each.numbers
        if self.is_by_key and is_series(value) and not value.index.equals(self.index):
            value = value.reindex(self.index)
        values = read(self.call, parameter, value)
        if values.array.size != 1 and values.array.shape != (self.count,):
            raise ValueError(f'{self.call.name}: {parameter.name} has the shape {values.array.shape}: '
                             f'must be one number, or one for each of the {self.count} groups')
        for group, reason in values.misfit_rows((self.count,)).items():
            self.failures.setdefault(group, Failure(group, position, reason))
        return values.doubles()

    def evaluate(self, sort, threads, explained):
        """Evaluates the groups and returns the first failures, as many as are to be explained."""
        failed = numpy.empty((self.count + 7) // 8, numpy.uint8)
        self.failed, reasons = _native.lists(self.call.number, self.columns, self.offsets, self.numbers, failed,
                                             bool(sort), thread_count(threads), explained)
        failures = {row: Failure(row, position, text, element) for row, position, element, text in reasons}
        for group, failure in self.failures.items():
            self.failed += not failed[group // 8] >> group % 8 & 1
            self.numbers[group] = numpy.nan
            failures[group] = failure
        return [failures[group] for group in sorted(failures)][:explained]

    def label(self, group):
        """The beginning of an error message that names a group."""
        if self.is_single:
            return ''
        return f'group {group}: ' if self.index is None else f'group {group} ({self.index[group]!r}): '

    def wrapped(self, array):
        """The results as the arguments were given: a scalar, an array or a Series."""
        if self.is_single:
            return array.tolist()[0]
        return array if self.index is None else series(array, self.index, self.call.name)


def _is_date(value):
    """Whether values are dates, by their type or their first value."""
    kind = getattr(getattr(value, 'dtype', None), 'kind', 'O')
    if kind != 'O':
        return kind == 'M'
    first = next((each for each in value if each is not None), None) if hasattr(value, '__iter__') else value
    if isinstance(first, (list, tuple, numpy.ndarray)) and len(first) > 0:
        first = first[0]
    return hasattr(first, 'year') or isinstance(first, numpy.datetime64)


def _nested(call, parameter, value):
    """The flows of an argument with one list per group; None if it is not such an argument.

    An Arrow array of single values is returned as Values, because a stream can be read only once.
    """
    arrow = read_arrow(call, parameter, value)
    if arrow is not None:
        numbers, offsets = arrow
        return Values(numbers) if offsets is None else Flows(numbers, numpy.diff(offsets))
    if _is_pair(value):
        values = read(call, parameter, value[0])
        return _of_offsets(call, parameter, values, numpy.asarray(value[1], numpy.int64))
    if isinstance(value, numpy.ndarray) and (value.dtype != object or value.ndim != 1):
        return None
    if not (is_series(value) and value.dtype == object or isinstance(value, (list, tuple, numpy.ndarray))):
        return None
    lists = list(value)
    if not _is_list(next((each for each in lists if _is_list(each) or not _is_missing(each)), None)):
        return None
    missing = numpy.array([not _is_list(each) for each in lists])
    for group in numpy.flatnonzero(missing).tolist():
        if not _is_missing(lists[group]):
            raise TypeError(f'{call.name}: {parameter.name} has lists, but its element {group} is '
                            f'{lists[group]!r:.80}: must be a list')
        lists[group] = ()
    lengths = numpy.array(list(map(len, lists)), numpy.int64)
    values = read(call, parameter, _joined([each for each in lists if len(each) > 0]))
    if values.array.ndim != 1:
        raise ValueError(f'{call.name}: {parameter.name} has lists of lists of lists: must have lists of lists')
    return Flows(values.doubles(), lengths, values.misfits, missing)


def _is_list(value):
    return (hasattr(value, '__len__') and not isinstance(value, (str, bytes, dict, set, frozenset))
            and getattr(value, 'ndim', 1) == 1)


def _is_missing(value):
    is_nan = isinstance(value, float) and math.isnan(value)
    return value is None or is_nan or pandas() is not None and pandas().isna(value) is True


def _joined(lists):
    """The values of lists, one after another."""
    types = {getattr(each, 'dtype', None) for each in lists}
    is_numeric = all(getattr(dtype, 'kind', 'O') in 'fi' for dtype in types)
    if lists and (is_numeric or len(types) == 1 and None not in types):
        # NumPy leaves out the masks.
        join = numpy.ma.concatenate if any(map(numpy.ma.isMaskedArray, lists)) else numpy.concatenate
        return join(lists)
    return list(itertools.chain.from_iterable(lists))


def _factorize(call, by):
    """The number of each flow's key, -1 for a missing key, and the keys."""
    pd = pandas()
    if isinstance(by, (str, bytes, dict, set, frozenset)) or not hasattr(by, '__len__'):
        raise TypeError(f'{call.name}: by is {by!r:.80}: must be a column with one key for each flow')
    if isinstance(by, numpy.ma.MaskedArray):
        by = pd.Series(by)
    if is_frame(by):
        by = pd.MultiIndex.from_frame(by)
    keys = by if isinstance(by, pd.Index) else pd.Index(by)
    if not isinstance(keys, pd.MultiIndex):
        starts = _starts_of_runs(keys)
        firsts = keys[starts]
        codes, uniques = firsts.factorize(sort=not firsts.is_monotonic_increasing)
        return numpy.repeat(codes, numpy.diff(starts, append=len(keys))), uniques.rename(keys.name)
    present = numpy.logical_and.reduce([codes >= 0 for codes in keys.codes])
    codes = numpy.full(len(keys), -1)
    codes[present], uniques = keys[present].factorize(sort=True)
    return codes, uniques.set_names(keys.names)


def _starts_of_runs(keys):
    """Where the keys change. The keys of a sorted table are compared faster than they are looked up."""
    if len(keys) > 0 and keys.dtype in ('O', 'i8'):
        values = keys.to_numpy()
        try:
            starts = numpy.flatnonzero(numpy.append(True, numpy.not_equal(values[1:], values[:-1])))
        except TypeError:  # pandas.NA cannot be compared
            return numpy.arange(len(keys))
        if 2 * starts.size < len(keys):
            return starts
    return numpy.arange(len(keys))


def _is_pair(value):
    """A tuple of an array of values and an array of offsets."""
    if not isinstance(value, tuple) or len(value) != 2 or any(isinstance(each, (list, tuple)) for each in value):
        return False
    return getattr(getattr(value[1], 'dtype', None), 'kind', '') in 'iu' and numpy.ndim(value[1]) == 1


def _of_offsets(call, parameter, values, offsets):
    size = values.array.size
    if offsets.size == 0 or offsets[0] < 0 or offsets[-1] > size or (numpy.diff(offsets) < 0).any():
        raise ValueError(f'{call.name}: the offsets of {parameter.name} must not decrease, '
                         f'and must be from 0 to the number of values, {size}')
    first, last = int(offsets[0]), int(offsets[-1])
    misfits = {flow - first: reason for flow, reason in values.misfits.items() if first <= flow < last}
    return Flows(values.doubles()[first:last], numpy.diff(offsets), misfits)


def _table(values, shape):
    """The rows of a table are groups."""
    values.misfits = values.misfit_rows(shape)
    numbers = numpy.broadcast_to(values.doubles().reshape(values.array.shape), shape)
    return Flows(numpy.ascontiguousarray(numbers).reshape(-1), numpy.full(shape[0], shape[1]), values.misfits)
