"""Functions about calculations."""
import inspect

from . import _flows, _native, _rows
from ._calls import CALLS

_BY_NAME = {call.name: call for call in CALLS}


def explain(function, *arguments, **options):
    """The reason why each row of a call failed.

    Parameters
    ----------
    function : function
        A function of this package, such as vxfnc.price.
    *arguments, **options
        The arguments of its call.

    Returns
    -------
    str, array or Series
        One text per row: 'argument 3 (rate) is -0.05: must be at least 0'. None for a row that has
        a result, and for a row without one because a value is missing.

    Examples
    --------
    >>> import vxfnc
    >>> print(vxfnc.explain(vxfnc.sln, 10000, 1000, [5, 0]))
    [None 'argument 3 (life) is 0: must be greater than 0']
    """
    call = _BY_NAME.get(getattr(function, '__name__', None))
    if call is None:
        raise TypeError('explain: the first argument must be a function of vxfnc, such as vxfnc.price')
    bound = inspect.signature(function).bind(*arguments, **options)
    bound.apply_defaults()
    values = [bound.arguments[parameter.name] for parameter in call.parameters]
    threads = bound.arguments['threads']
    if not call.has_lists:
        return _rows.explain(call, values, threads)
    if any(hasattr(value, '__dask_graph__') for value in (*values, bound.arguments['by'])):
        raise TypeError('explain: groups in collections of Dask cannot be explained: compute them first')
    return _flows.explain(call, values, bound.arguments['by'], bound.arguments.get('sort', True), threads)


def check_workers(client):
    """Checks that all workers of a Dask cluster have the build of this package that is running here.

    Parameters
    ----------
    client : distributed.Client

    Returns
    -------
    dict
        The build by the address of the worker.

    Raises
    ------
    RuntimeError
        A worker has another build, or does not have the package. The message names the workers.
    """
    builds = client.run(eval, "__import__('vxfnc').__build__", on_error='return')
    wrong = {address: build for address, build in builds.items() if build != _native.build}
    if wrong:
        lines = [f'{address} has {build if isinstance(build, str) else f"no vxfnc ({build})"}'
                 for address, build in sorted(wrong.items())]
        raise RuntimeError(f'workers differ from this process, which has {_native.build}: ' + '; '.join(lines))
    return builds
