// Objects of Python as values of arguments.
#pragma once

#include "catalog/catalog.h"
#include "hosts/python/python.h"

namespace finance_python {

// Finds the classes of the module datetime. Call it once, first.
void find_datetime();

// The date of a count of days from 1960. Returns None for a date that datetime.date cannot hold.
Object date_of(double days);

// Reads a number, a date, or the text of a date or basis. Returns false for another object, and for
// a value that does not fit the kind.
bool read_plain(PyObject* object, catalog::ArgumentKind kind, double& number);

// read(objects, kind, convert): the values of a list of objects as doubles in a bytearray, and
// the indexes of the values that do not fit the kind. None is missing, which is NaN. An object of
// another class is passed to convert, which returns a float or, if it does not fit, None.
Object read_objects(PyObject* const* arguments, Py_ssize_t count);

}  // namespace finance_python
