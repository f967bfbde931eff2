// Arrays of other libraries, by the C data interface of Apache Arrow.
#pragma once

#include "hosts/python/python.h"

namespace finance_python {

// arrow(schema, array) or arrow(stream), from capsules: copies numbers, dates or lists of them.
// Returns (kind, numbers, offsets): the kind is "number", "date" or "zoned time", the numbers are
// doubles in a bytearray, where NaN is null and a date is the days from 1960, and the offsets are
// 64-bit numbers in a bytearray, or None if the values are not lists. A list that is null is empty.
// Returns None for another type.
Object read_arrow(PyObject* const* arguments, Py_ssize_t count);

}  // namespace finance_python
