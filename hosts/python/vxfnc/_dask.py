"""Calculations over collections of Dask. They are evaluated lazily, one partition or block at a time."""
import sys

import dask
import dask.array
import numpy

from . import _functions, _tools


def evaluate(call, arguments, errors):
    return _map(_function(call), call, arguments, 'M8[ns]' if call.gives_date else 'f8', errors=errors, threads=1)


def explain(call, arguments):
    return _map(_explain, call, [_function(call), *arguments], 'O')


def evaluate_flows(call, arguments, by, sort, errors):
    """Brings the flows of a key to one partition."""
    lists = {parameter.name: value for parameter, value in zip(call.parameters, arguments) if parameter.is_list}
    if by is None or not all(_is_column(value) for value in (*lists.values(), by)):
        raise TypeError(f'{call.name}: collections of Dask must be columns, and by must be one of them')
    others = {parameter.name: value for parameter, value in zip(call.parameters, arguments) if not parameter.is_list}
    for name, value in others.items():
        if hasattr(value, '__dask_graph__'):
            raise TypeError(f'{call.name}: {name} must be one number')
    options = {**others, 'errors': errors, **({'sort': sort} if 'date' in lists else {})}
    flows = by.to_frame(name='by').assign(**lists).shuffle('by')
    return flows.map_partitions(_evaluate_partition, _function(call), by.name, options, meta=(call.name, 'f8'))


def _function(call):
    return getattr(_functions, call.name)


def _map(function, call, arguments, dtype, **options):
    """Maps a function over the blocks or partitions of its arguments."""
    if any(_is_column(argument) for argument in arguments):
        from dask import dataframe
        return dataframe.map_partitions(function, *arguments, meta=(call.name, dtype), **options)
    if not any(isinstance(argument, dask.array.Array) for argument in arguments):
        return dask.delayed(function)(*arguments, **options)
    arrays = [dask.array.asarray(argument) if isinstance(argument, (list, tuple, numpy.ndarray)) else argument
              for argument in arguments]
    dimensions = max(array.ndim for array in arrays if isinstance(array, dask.array.Array))
    pairs = []
    for array in arrays:
        axes = range(dimensions - array.ndim, dimensions) if isinstance(array, dask.array.Array) else None
        pairs += [array, axes]
    dtype = dtype.replace('ns', 'D')
    return dask.array.blockwise(function, range(dimensions), *pairs, dtype=dtype,
                                meta=numpy.empty((0,) * dimensions, dtype), **options)


def _is_column(value):
    """Whether a value is a column, whose partitions are Series of pandas."""
    frames = sys.modules.get('dask.dataframe')
    return frames is not None and isinstance(value, (frames.Series, frames.Index))


def _explain(function, *arguments):
    return _tools.explain(function, *arguments, threads=1)


def _evaluate_partition(flows, function, name, options):
    lists = {column: flows[column] for column in flows.columns if column != 'by'}
    return function(**lists, **options, by=flows['by'].rename(name), threads=1)
