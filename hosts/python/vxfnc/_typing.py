"""The types of single arguments."""
import datetime
import decimal
from typing import Literal, Union

import numpy

Number = Union[float, decimal.Decimal, numpy.number]
Date = Union[datetime.date, str, numpy.datetime64]
Basis = Union[int, str]
Errors = Literal['warn', 'raise', 'coerce']
