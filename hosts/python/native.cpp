// vxfnc._native: the part of the Python package that evaluates. The functions of the package call
// it with arrays that they have checked; it checks them again as far as memory is concerned.
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "hosts/call/list_call.h"
#include "hosts/call/module_loader.h"
#include "hosts/python/arrow.h"
#include "hosts/python/evaluation.h"
#include "hosts/python/objects.h"
#include "hosts/python/python.h"

namespace finance_python {
namespace {

const catalog::Keyword& keyword_at(PyObject* index) {
  const std::int64_t number = whole_number(index);
  const auto keywords = catalog::keywords();
  if (number < 0 || number >= static_cast<std::int64_t>(keywords.size())) {
    raise(PyExc_ValueError, "there is no keyword with this number");
  }
  return keywords[static_cast<std::size_t>(number)];
}

void expect_count(Py_ssize_t count, Py_ssize_t expected) {
  if (count != expected) raise(PyExc_TypeError, "wrong number of arguments");
}

// The call of a keyword with all its arguments. The lock of the interpreter protects the calls.
host::CheckedCall& kept_call(PyObject* index) {
  static auto* const calls =
      new std::vector<std::unique_ptr<host::CheckedCall>>(catalog::keywords().size());
  const catalog::Keyword& keyword = keyword_at(index);
  auto& call = (*calls)[static_cast<std::size_t>(&keyword - catalog::keywords().data())];
  if (call == nullptr) {
    call = std::make_unique<host::CheckedCall>(host::loaded_module(), keyword,
                                               keyword.arguments().size());
  }
  return *call;
}

// scalar(keyword, *arguments): the result of plain numbers, dates and texts, or None: then the
// general way finds the result or the error.
Object scalar(PyObject* const* arguments, Py_ssize_t count) {
  if (count == 0) raise(PyExc_TypeError, "a keyword is expected");
  host::CheckedCall& call = kept_call(arguments[0]);
  expect_count(count - 1, static_cast<Py_ssize_t>(call.size()));
  call.begin();
  for (std::size_t position = 1; position <= call.size(); ++position) {
    double number = 0.0;
    if (!read_plain(arguments[position], call.parameter(position).kind, number)) {
      return Object(Py_NewRef(Py_None));
    }
    call.set_number(position, number);
  }
  const host::CallResult result = call.run();
  if (!result.ok() || std::isnan(result.value.number)) return Object(Py_NewRef(Py_None));
  return result.value.is_date() ? date_of(result.value.number)
                                : owned(PyFloat_FromDouble(result.value.number));
}

// The memory of the arguments (array, type, units per day) of a call, and the columns in it.
class Columns {
 public:
  Columns(const catalog::Keyword& keyword, PyObject* arguments, std::int64_t rows) {
    const auto size = static_cast<std::size_t>(std::max<Py_ssize_t>(PyTuple_Size(arguments), 0));
    if (!keyword.accepts(size) || keyword.has_lists()) {
      raise(PyExc_TypeError, "wrong number of arguments");
    }
    for (std::size_t i = 0; i < size; ++i) {
      add(PyTuple_GetItem(arguments, static_cast<Py_ssize_t>(i)), rows);
    }
  }
  [[nodiscard]] std::span<const Column> get() const noexcept { return columns_; }

 private:
  void add(PyObject* argument, std::int64_t rows) {
    PyObject* array = nullptr;
    int type = 0;
    long long units_per_day = 0;
    if (argument == nullptr ||
        PyArg_ParseTuple(argument, "OiL", &array, &type, &units_per_day) == 0) {
      throw Raised();
    }
    const bool is_small = type == VXK_FLOAT32 || type == VXK_INT32;
    const bool is_time = units_per_day > 0 && type == VXK_INT64;
    if (units_per_day != 0 ? !is_time : type < VXK_FLOAT64 || type > VXK_INT32) {
      raise(PyExc_ValueError, "the type is unknown");
    }
    const Buffer& buffer = buffers_.emplace_back(array, is_small ? 4 : 8);
    if (buffer.size() != rows && buffer.size() != 1) {
      raise(PyExc_ValueError, "the arrays have different lengths");
    }
    Column& column = columns_.emplace_back();
    column.numbers.size = sizeof column.numbers;
    column.numbers.type = type;
    column.numbers.values = buffer.data<const void>();
    column.numbers.stride = buffer.size() == 1 ? 0 : buffer.stride();
    column.units_per_day = units_per_day;
  }

  std::vector<Buffer> buffers_;
  std::vector<Column> columns_;
};

// The items of an array without gaps.
template <class T>
T* items(const Buffer& buffer, std::int64_t size) {
  const bool is_contiguous = buffer.size() <= 1 || buffer.stride() == sizeof(T);
  if (buffer.size() != size || !is_contiguous) {
    raise(PyExc_ValueError, "an array has the wrong length");
  }
  return buffer.data<T>();
}

int thread_count(PyObject* threads) {
  constexpr std::int64_t kMost = 1024;
  return static_cast<int>(std::clamp<std::int64_t>(whole_number(threads), 1, kMost));
}

// The first rows that failed, at most as many as asked for.
std::vector<std::int64_t> first_failures(const std::uint8_t* failures, std::int64_t rows,
                                         std::int64_t most) {
  std::vector<std::int64_t> found;
  for (std::int64_t row = 0; row < rows && static_cast<std::int64_t>(found.size()) < most; ++row) {
    if (host::has_failed(failures, row)) found.push_back(row);
  }
  return found;
}

// A list of what the function returns for each row. Ctrl-C stops it.
Object list_of(std::span<const std::int64_t> rows, auto&& function) {
  Object list = owned(PyList_New(0));
  for (const std::int64_t row : rows) {
    const Object item = function(row);
    if (PyList_Append(list.get(), item.get()) != 0 || PyErr_CheckSignals() != 0) throw Raised();
  }
  return list;
}

// columns(keyword, arguments, results, failures, threads, explained): the number of rows that
// failed, and for the first `explained` of them (row, position, text). One row per result.
Object columns(PyObject* const* arguments, Py_ssize_t count) {
  expect_count(count, 6);
  const catalog::Keyword& keyword = keyword_at(arguments[0]);
  const Buffer results(arguments[2], sizeof(double), Buffer::Access::kWrite);
  const Buffer failures(arguments[3], 1, Buffer::Access::kWrite);
  const std::int64_t rows = results.size();
  const Columns given(keyword, arguments[1], rows);
  auto* const values = items<double>(results, rows);
  auto* const bits = items<std::uint8_t>(failures, (rows + 7) / 8);
  const int threads = thread_count(arguments[4]);
  const std::int64_t explained = whole_number(arguments[5]);
  host::ColumnReport report;
  {
    const WithoutLock released;
    report = evaluate(keyword, given.get(), rows, values, bits, threads);
  }
  if (report.is_cancelled) throw Raised();
  Explainer explainer(keyword, given.get());
  Object reasons = list_of(
      first_failures(bits, rows, std::min(explained, report.failed)), [&](std::int64_t row) {
        const host::CheckedCall::Reason why = explainer.reason(row);
        return owned(Py_BuildValue("Lns#", static_cast<long long>(row),
                                   static_cast<Py_ssize_t>(why.position), why.text.data(),
                                   static_cast<Py_ssize_t>(why.text.size())));
      });
  return owned(Py_BuildValue("LN", static_cast<long long>(report.failed), reasons.release()));
}

// The groups of flows of a call: arguments are arrays of 64-bit numbers, of the length of the
// flows, of the groups or 1.
class Groups {
 public:
  Groups(const catalog::Keyword& keyword, PyObject* arguments, PyObject* offsets)
      : keyword_(keyword), offsets_(offsets, sizeof(std::int64_t)) {
    const auto* const first = items<const std::int64_t>(offsets_, offsets_.size());
    if (offsets_.size() == 0) raise(PyExc_ValueError, "there are no offsets");
    for (std::int64_t i = 0; i < offsets_.size(); ++i) {
      if (first[i] < (i == 0 ? 0 : first[i - 1])) raise(PyExc_ValueError, "the offsets decrease");
    }
    const Py_ssize_t size = PyTuple_Size(arguments);
    if (size < 0) throw Raised();
    for (Py_ssize_t i = 0; i < size; ++i) add(PyTuple_GetItem(arguments, i));
    if (!host::ListCall::fits(keyword, arguments_)) {
      raise(PyExc_TypeError, "wrong number of arguments");
    }
  }

  [[nodiscard]] std::span<const std::int64_t> offsets() const noexcept {
    return {offsets_.data<const std::int64_t>(), static_cast<std::size_t>(offsets_.size())};
  }
  [[nodiscard]] std::int64_t count() const noexcept { return offsets_.size() - 1; }
  [[nodiscard]] std::span<const host::ListArgument> arguments() const noexcept {
    return arguments_;
  }

 private:
  void add(PyObject* argument) {
    const auto parameters = keyword_.arguments();
    if (arguments_.size() >= parameters.size()) raise(PyExc_TypeError, "too many arguments");
    const catalog::Argument& parameter = parameters[arguments_.size()];
    const Buffer& buffer = buffers_.emplace_back(argument, sizeof(double));
    const bool is_constant = !parameter.is_list() && buffer.size() == 1;
    const std::int64_t length = parameter.is_list() ? offsets().back() : count();
    if (!is_constant && buffer.size() < length) {
      raise(PyExc_ValueError, "the arrays have different lengths");
    }
    arguments_.push_back({.values = items<const double>(buffer, buffer.size()),
                          .is_list = parameter.is_list(),
                          .is_constant = is_constant,
                          .is_date = parameter.is_date()});
  }

  const catalog::Keyword& keyword_;
  Buffer offsets_;
  std::vector<Buffer> buffers_;
  std::vector<host::ListArgument> arguments_;
};

// lists(keyword, arguments, offsets, results, failures, sort, threads, explained): the same for
// groups of flows; the reasons are (group, position, element, text).
Object lists(PyObject* const* arguments, Py_ssize_t count) {
  expect_count(count, 8);
  const catalog::Keyword& keyword = keyword_at(arguments[0]);
  const Groups groups(keyword, arguments[1], arguments[2]);
  const Buffer results(arguments[3], sizeof(double), Buffer::Access::kWrite);
  const Buffer failures(arguments[4], 1, Buffer::Access::kWrite);
  const std::span values(items<double>(results, groups.count()),
                         static_cast<std::size_t>(groups.count()));
  auto* const bits = items<std::uint8_t>(failures, (groups.count() + 7) / 8);
  host::ListOptions options{.sort = whole_number(arguments[5]) != 0,
                            .threads = thread_count(arguments[6])};
  const std::int64_t explained = whole_number(arguments[7]);
  host::ListCall call(host::loaded_module(), keyword, groups.arguments());
  host::ListReport report;
  const auto run = [&](const volatile std::int32_t* cancel) {
    options.cancel = cancel;
    report = call.run(groups.offsets(), values, bits, options);
  };
  {
    constexpr std::int64_t kFewFlows = 2000;
    const WithoutLock released;
    if (groups.offsets().back() <= kFewFlows) {
      run(nullptr);
    } else {
      report.is_cancelled |= !run_in_threads(1, run);
    }
  }
  if (report.is_cancelled) throw Raised();
  Object reasons = list_of(
      first_failures(bits, groups.count(), std::min(explained, report.failed)),
      [&](std::int64_t row) {
        const host::ListError why = call.error(groups.offsets(), static_cast<std::size_t>(row));
        return owned(Py_BuildValue("Lnns#", static_cast<long long>(row),
                                   static_cast<Py_ssize_t>(why.argument),
                                   static_cast<Py_ssize_t>(why.element), why.reason.data(),
                                   static_cast<Py_ssize_t>(why.reason.size())));
      });
  return owned(Py_BuildValue("LN", static_cast<long long>(report.failed), reasons.release()));
}

// Appends the numbers of a list or tuple of plain values. Returns false if it is not one.
bool read_list(PyObject* list, catalog::ArgumentKind kind, std::vector<double>& numbers) {
  const bool is_list = PyList_Check(list) != 0;
  if (!is_list && PyTuple_Check(list) == 0) return false;
  for (Py_ssize_t i = 0; i < (is_list ? PyList_Size(list) : PyTuple_Size(list)); ++i) {
    const Object item(Py_XNewRef(is_list ? PyList_GetItem(list, i) : PyTuple_GetItem(list, i)));
    double number = 0.0;
    if (item.get() == nullptr || !read_plain(item.get(), kind, number)) return false;
    numbers.push_back(number);
  }
  return true;
}

// flows(keyword, sort, *arguments): the result of a few flows in lists of plain values, or None:
// then the general way finds the result or the error.
Object flows(PyObject* const* arguments, Py_ssize_t count) {
  if (count < 2) raise(PyExc_TypeError, "a keyword and an option are expected");
  const catalog::Keyword& keyword = keyword_at(arguments[0]);
  const auto parameters = keyword.arguments();
  expect_count(count - 2, static_cast<Py_ssize_t>(parameters.size()));
  constexpr std::size_t kMostFlows = 1000;
  std::vector<std::vector<double>> values(parameters.size());
  std::vector<host::ListArgument> list_arguments;
  std::size_t size = kMostFlows;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const catalog::Argument& parameter = parameters[i];
    double number = 0.0;
    const bool is_plain = parameter.is_list()
                              ? read_list(arguments[i + 2], parameter.kind, values[i])
                              : read_plain(arguments[i + 2], parameter.kind, number);
    if (!parameter.is_list()) values[i].push_back(number);
    if (parameter.is_list() && size == kMostFlows) size = std::min(size, values[i].size());
    if (!is_plain || (parameter.is_list() && values[i].size() != size)) {
      return Object(Py_NewRef(Py_None));
    }
    list_arguments.push_back({.values = values[i].data(),
                              .is_list = parameter.is_list(),
                              .is_constant = !parameter.is_list(),
                              .is_date = parameter.is_date()});
  }
  host::ListCall call(host::loaded_module(), keyword, list_arguments);
  const std::int64_t offsets[] = {0, static_cast<std::int64_t>(size)};
  double result = std::nan("");
  call.run(offsets, std::span(&result, 1), nullptr, {.sort = whole_number(arguments[1]) != 0});
  return std::isnan(result) ? Object(Py_NewRef(Py_None)) : owned(PyFloat_FromDouble(result));
}

// group(codes, offsets, order): counts the rows of each code in offsets, one more than there are
// codes, and stores the rows in the order of their codes. Rows with a negative code are left out.
// Returns whether the rows were in this order already.
Object group(PyObject* const* arguments, Py_ssize_t count) {
  expect_count(count, 3);
  const Buffer codes(arguments[0], sizeof(std::int64_t));
  const Buffer starts(arguments[1], sizeof(std::int64_t), Buffer::Access::kWrite);
  const Buffer rows(arguments[2], sizeof(std::int64_t), Buffer::Access::kWrite);
  if (starts.size() == 0) raise(PyExc_ValueError, "there are no offsets");
  const auto* const code = items<const std::int64_t>(codes, rows.size());
  auto* const offsets = items<std::int64_t>(starts, starts.size());
  auto* const order = items<std::int64_t>(rows, rows.size());
  const std::int64_t groups = starts.size() - 1;
  bool is_sorted = true;
  std::fill_n(offsets, starts.size(), 0);
  for (std::int64_t row = 0; row < rows.size(); ++row) {
    if (code[row] >= groups) raise(PyExc_ValueError, "a code is too large");
    is_sorted &= code[row] >= (row == 0 ? 0 : code[row - 1]);
    if (code[row] >= 0) ++offsets[code[row] + 1];
  }
  std::partial_sum(offsets, offsets + starts.size(), offsets);
  std::vector<std::int64_t> next(offsets, offsets + groups);
  for (std::int64_t row = 0; row < rows.size(); ++row) {
    if (code[row] >= 0) order[next[static_cast<std::size_t>(code[row])]++] = row;
  }
  return owned(PyBool_FromLong(is_sorted ? 1 : 0));
}

// days(times, units per day, results): the days from 1960 of times that a datetime64 stores.
Object days(PyObject* const* arguments, Py_ssize_t count) {
  expect_count(count, 3);
  const Buffer times(arguments[0], sizeof(std::int64_t));
  const Buffer results(arguments[2], sizeof(double), Buffer::Access::kWrite);
  const std::int64_t units_per_day = whole_number(arguments[1]);
  if (units_per_day < 1) raise(PyExc_ValueError, "a day has at least one unit");
  convert_to_days(
      items<const std::int64_t>(times, results.size()), sizeof(std::int64_t), units_per_day,
      std::span(items<double>(results, results.size()), static_cast<std::size_t>(results.size())));
  return Object(Py_NewRef(Py_None));
}

// keywords(): for each keyword its name, the kind of its result and its arguments: (name, kind,
// whether it is a list, what it must be).
Object keywords() {
  Object all = owned(PyList_New(0));
  for (const catalog::Keyword& keyword : catalog::keywords()) {
    Object list = owned(PyList_New(0));
    for (const catalog::Argument& argument : keyword.arguments()) {
      const Object item = owned(Py_BuildValue(
          "siOs", argument.name.data(), static_cast<int>(argument.kind),
          argument.is_list() ? Py_True : Py_False, host::type_error(argument.kind).c_str()));
      if (PyList_Append(list.get(), item.get()) != 0) throw Raised();
    }
    const Object item = owned(Py_BuildValue("siN", keyword.word.data(),
                                            static_cast<int>(keyword.result), list.release()));
    if (PyList_Append(all.get(), item.get()) != 0) throw Raised();
  }
  return all;
}

template <auto* function>
PyObject* method(PyObject* /*module*/, PyObject* const* arguments, Py_ssize_t count) noexcept {
  return guarded([=] { return function(arguments, count); });
}

template <auto* function>
PyCFunction fast() noexcept {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&method<function>));
}

PyMethodDef methods[] = {
    {"scalar", fast<scalar>(), METH_FASTCALL, nullptr},
    {"columns", fast<columns>(), METH_FASTCALL, nullptr},
    {"lists", fast<lists>(), METH_FASTCALL, nullptr},
    {"flows", fast<flows>(), METH_FASTCALL, nullptr},
    {"group", fast<group>(), METH_FASTCALL, nullptr},
    {"days", fast<days>(), METH_FASTCALL, nullptr},
    {"read", fast<read_objects>(), METH_FASTCALL, nullptr},
    {"arrow", fast<read_arrow>(), METH_FASTCALL, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

// Loads the module, so that a broken installation is an error at import.
Object initialize(PyObject* module) {
  std::string build;
  try {
    build = host::versions(VXFNC_VERSION);
  } catch (const vxkernel::Error& error) {
    raise(PyExc_ImportError, error.what());
  }
  find_datetime();
  if (PyModule_AddStringConstant(module, "version", VXFNC_VERSION) != 0 ||
      PyModule_AddStringConstant(module, "build", build.c_str()) != 0 ||
      PyModule_AddObjectRef(module, "keywords", keywords().get()) != 0) {
    throw Raised();
  }
  return Object(Py_NewRef(Py_None));
}

int initialize_or_fail(PyObject* module) noexcept {
  const Object done(guarded([=] { return initialize(module); }));
  return done.get() == nullptr ? -1 : 0;
}

PyModuleDef_Slot slots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(initialize_or_fail)},
    {0, nullptr},
};

PyModuleDef definition = {
    PyModuleDef_HEAD_INIT, "vxfnc._native", nullptr, 0, methods, slots, nullptr, nullptr, nullptr};

}  // namespace
}  // namespace finance_python

PyMODINIT_FUNC PyInit__native() { return PyModuleDef_Init(&finance_python::definition); }
