// The limited API of Python 3.11, with owning classes. A module that uses only this API runs in
// Python 3.11 and in all later releases.
#pragma once

#define PY_SSIZE_T_CLEAN
#define Py_LIMITED_API 0x030B0000  // NOLINT(bugprone-reserved-identifier)
#include <Python.h>
#include <unistd.h>

#include <cstdint>
#include <exception>
#include <new>
#include <utility>

namespace finance_python {

// Owns a reference.
class Object {
 public:
  explicit Object(PyObject* object = nullptr) noexcept : object_(object) {}
  Object(Object&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Object& operator=(Object&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  ~Object() { Py_XDECREF(object_); }

  [[nodiscard]] PyObject* get() const noexcept { return object_; }
  [[nodiscard]] PyObject* release() noexcept { return std::exchange(object_, nullptr); }

 private:
  PyObject* object_;
};

// Python has an error to raise.
struct Raised {};

// Throws Raised if the object is null.
inline Object owned(PyObject* object) {
  if (object == nullptr) throw Raised();
  return Object(object);
}

[[noreturn]] inline void raise(PyObject* type, const char* message) {
  PyErr_SetString(type, message);
  throw Raised();
}

// Calls a function that returns an Object and may throw. Returns null if Python has an error.
PyObject* guarded(auto&& function) noexcept {
  try {
    return function().release();
  } catch (const Raised&) {
    return nullptr;
  } catch (const std::bad_alloc&) {
    return PyErr_NoMemory();
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
    return nullptr;
  }
}

// The number of an int object. Throws Raised if it has none.
inline std::int64_t whole_number(PyObject* object) {
  const long long number = PyLong_AsLongLong(object);
  if (number == -1 && PyErr_Occurred() != nullptr) throw Raised();
  return number;
}

// The memory of an array with one dimension.
class Buffer {
 public:
  enum class Access : bool { kRead, kWrite };

  Buffer(PyObject* object, std::int64_t item_size, Access access = Access::kRead) {
    const int flags = access == Access::kWrite ? PyBUF_STRIDES | PyBUF_WRITABLE : PyBUF_STRIDES;
    if (PyObject_GetBuffer(object, &view_, flags) != 0) throw Raised();
    const bool is_valid = view_.ndim == 1 && view_.itemsize == item_size &&
                          reinterpret_cast<std::intptr_t>(view_.buf) % item_size == 0 &&
                          view_.strides[0] % item_size == 0;
    if (is_valid) return;
    PyBuffer_Release(&view_);
    raise(PyExc_ValueError, "the array has the wrong dimension, item size or alignment");
  }
  Buffer(Buffer&& other) noexcept : view_(std::exchange(other.view_, {})) {}
  Buffer& operator=(Buffer&&) = delete;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { PyBuffer_Release(&view_); }

  [[nodiscard]] std::int64_t size() const noexcept { return view_.shape[0]; }
  [[nodiscard]] std::int64_t stride() const noexcept { return view_.strides[0]; }
  template <class T>
  [[nodiscard]] T* data() const noexcept {
    return static_cast<T*>(view_.buf);
  }

 private:
  Py_buffer view_{};
};

// Takes the lock of the interpreter by a function of Python. When the interpreter ends, that
// function ends a daemon thread. The thread then waits for the end of the process instead: its
// objects cannot be destroyed without the lock.
auto take_lock(auto&& function) noexcept {
  try {
    return function();
  } catch (...) {
    while (true) pause();
  }
}

// Releases the lock of the interpreter, so that other threads of Python can run.
class WithoutLock {
 public:
  WithoutLock() noexcept : state_(PyEval_SaveThread()) {}
  WithoutLock(const WithoutLock&) = delete;
  WithoutLock& operator=(const WithoutLock&) = delete;
  ~WithoutLock() {
    take_lock([this] { PyEval_RestoreThread(state_); });
  }

 private:
  PyThreadState* state_;
};

}  // namespace finance_python
