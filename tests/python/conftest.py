"""What the tests share: the folder of the build, and calls of a keyword."""
import os
import pathlib

import hypothesis

import vxfnc
from vxfnc._calls import CALLS

hypothesis.settings.register_profile('suite', database=None, deadline=None)
hypothesis.settings.load_profile('suite')

TESTS = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ['VXFNC_BUILD'])
CALL = {call.keyword: call for call in CALLS}


def function(keyword):
    return getattr(vxfnc, CALL[keyword].name)


def arguments_of(keyword, words):
    """The arguments of a call in the order of the command, with the lists of Python."""
    parameters = CALL[keyword].parameters
    lists = [parameter for parameter in parameters if parameter.is_list]
    if not lists:
        return list(words)
    leading = parameters.index(lists[0])
    # Only XIRR has an optional argument after its lists, and takes it if the number of words is odd.
    trailing = len(parameters) - leading - len(lists)
    if keyword == 'XIRR':
        trailing = len(words) % 2
    size = (len(words) - leading - trailing) // len(lists)
    middle = [list(words[leading + i * size:leading + (i + 1) * size]) for i in range(len(lists))]
    return [*words[:leading], *middle, *words[len(words) - trailing:]]
