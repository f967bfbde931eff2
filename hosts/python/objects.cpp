#include "hosts/python/objects.h"

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include "hosts/call/value.h"

namespace finance_python {
namespace {

using catalog::ArgumentKind;

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

PyTypeObject* date_class = nullptr;
PyObject* to_ordinal = nullptr;    // date.toordinal
PyObject* from_ordinal = nullptr;  // date.fromordinal
std::int64_t ordinal_of_1960 = 0;

std::string_view characters_of(PyObject* text) {
  Py_ssize_t length = 0;
  const char* const characters = PyUnicode_AsUTF8AndSize(text, &length);
  if (characters == nullptr) {  // half a surrogate pair
    PyErr_Clear();
    return {};
  }
  return {characters, static_cast<std::size_t>(length)};
}

std::optional<double> number_of_text(std::string_view text, ArgumentKind kind) {
  if (kind == ArgumentKind::kBasis) {
    const std::optional<int> code = catalog::basis_of(text);
    return code.has_value() ? std::optional<double>(*code) : std::nullopt;
  }
  const host::Value value = host::value_of(host::trim(text));
  if (catalog::is_date(kind) && value.is_date()) return value.number;
  return std::nullopt;
}

}  // namespace

void find_datetime() {
  const Object module = owned(PyImport_ImportModule("datetime"));
  Object date = owned(PyObject_GetAttrString(module.get(), "date"));
  Object to = owned(PyObject_GetAttrString(date.get(), "toordinal"));
  Object from = owned(PyObject_GetAttrString(date.get(), "fromordinal"));
  const Object epoch = owned(PyObject_CallFunction(date.get(), "iii", 1960, 1, 1));
  const Object ordinal = owned(PyObject_CallMethod(epoch.get(), "toordinal", nullptr));
  ordinal_of_1960 = whole_number(ordinal.get());
  date_class = reinterpret_cast<PyTypeObject*>(date.release());
  to_ordinal = to.release();
  from_ordinal = from.release();
}

Object date_of(double days) {
  constexpr std::int64_t kFirstOrdinal = 1;  // 0001-01-01
  const std::int64_t ordinal = static_cast<std::int64_t>(days) + ordinal_of_1960;
  if (ordinal < kFirstOrdinal) return Object(Py_NewRef(Py_None));
  const Object number = owned(PyLong_FromLongLong(ordinal));
  return owned(PyObject_CallFunctionObjArgs(from_ordinal, number.get(), nullptr));
}

bool read_plain(PyObject* object, ArgumentKind kind, double& number) {
  const bool is_date = catalog::is_date(kind);
  if (PyFloat_Check(object) != 0) {
    number = PyFloat_AsDouble(object);
    return !is_date || std::isnan(number);
  }
  if (Py_TYPE(object) == date_class) {
    if (!is_date) return false;
    const Object ordinal = owned(PyObject_CallFunctionObjArgs(to_ordinal, object, nullptr));
    number = static_cast<double>(whole_number(ordinal.get()) - ordinal_of_1960);
    return true;
  }
  if (PyLong_Check(object) != 0) {
    if (is_date) return false;
    number = PyLong_AsDouble(object);
    if (number != -1.0 || PyErr_Occurred() == nullptr) return true;
    PyErr_Clear();  // beyond the range of a double
    return false;
  }
  if (PyUnicode_Check(object) != 0) {
    const std::optional<double> value = number_of_text(characters_of(object), kind);
    if (value.has_value()) number = *value;
    return value.has_value();
  }
  return false;
}

Object read_objects(PyObject* const* arguments, Py_ssize_t count) {
  if (count != 3 || PyList_Check(arguments[0]) == 0) {
    raise(PyExc_TypeError, "a list, a kind and a function are expected");
  }
  PyObject* const objects = arguments[0];
  const auto kind = static_cast<ArgumentKind>(whole_number(arguments[1]));
  const Py_ssize_t size = PyList_Size(objects);
  Object memory =
      owned(PyByteArray_FromStringAndSize(nullptr, size * static_cast<Py_ssize_t>(sizeof(double))));
  Object misfits = owned(PyList_New(0));
  // The same few objects often recur: the texts of a column that a CSV file repeats.
  struct Recent {
    PyObject* object = nullptr;
    double number = 0.0;
  };
  std::array<Recent, 64> recent{};
  constexpr Py_ssize_t kBetweenChecks = 65'536;  // of signals
  for (Py_ssize_t i = 0; i < size; ++i) {
    const Object object = owned(Py_XNewRef(PyList_GetItem(objects, i)));
    double number = kMissing;
    auto& seen = recent[reinterpret_cast<std::uintptr_t>(object.get()) / 16 % recent.size()];
    bool is_good = true;
    if (seen.object == object.get()) {
      number = seen.number;
    } else if (object.get() != Py_None) {
      is_good = read_plain(object.get(), kind, number);
      if (is_good && PyUnicode_Check(object.get()) != 0) seen = {object.get(), number};
    }
    if (!is_good && PyUnicode_Check(object.get()) == 0) {
      const Object value = owned(PyObject_CallFunctionObjArgs(arguments[2], object.get(), nullptr));
      is_good = value.get() != Py_None;
      if (is_good) number = PyFloat_AsDouble(value.get());
      if (is_good && number == -1.0 && PyErr_Occurred() != nullptr) throw Raised();
    }
    if (i % kBetweenChecks == 0 && PyErr_CheckSignals() != 0) throw Raised();
    if (!is_good) {
      number = 0.0;
      const Object index = owned(PyLong_FromSsize_t(i));
      if (PyList_Append(misfits.get(), index.get()) != 0) throw Raised();
    }
    reinterpret_cast<double*>(PyByteArray_AsString(memory.get()))[i] = number;
  }
  return owned(Py_BuildValue("NN", memory.release(), misfits.release()));
}

}  // namespace finance_python
