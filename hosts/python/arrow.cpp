#include "hosts/python/arrow.h"

#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/python/evaluation.h"

// The structures of the interface. The names and members are those that Arrow documents.
struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  std::int64_t flags;
  std::int64_t n_children;
  ArrowSchema** children;
  ArrowSchema* dictionary;
  void (*release)(ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  std::int64_t length;
  std::int64_t null_count;
  std::int64_t offset;
  std::int64_t n_buffers;
  std::int64_t n_children;
  const void** buffers;
  ArrowArray** children;
  ArrowArray* dictionary;
  void (*release)(ArrowArray*);
  void* private_data;
};

struct ArrowArrayStream {
  int (*get_schema)(ArrowArrayStream*, ArrowSchema*);
  int (*get_next)(ArrowArrayStream*, ArrowArray*);
  const char* (*get_last_error)(ArrowArrayStream*);
  void (*release)(ArrowArrayStream*);
  void* private_data;
};

namespace finance_python {
namespace {

// What a stream returns, which must be released.
template <class T>
struct Received {
  T value{};

  Received() = default;
  Received(const Received&) = delete;
  Received& operator=(const Received&) = delete;
  ~Received() {
    if (value.release != nullptr) value.release(&value);
  }
};

bool is_present(const ArrowArray& array, std::int64_t index) noexcept {
  const auto* const bits = static_cast<const std::uint8_t*>(array.buffers[0]);
  return bits == nullptr || (bits[index / 8] >> (index % 8) & 1) != 0;
}

class Values {
 public:
  // False if the type is not read.
  [[nodiscard]] bool set_type(const ArrowSchema& schema) {
    const ArrowSchema* values = &schema;
    const std::string_view format = schema.format;
    if (format == "+l" || format == "+L") {
      is_list_ = true;
      has_long_offsets_ = format == "+L";
      values = schema.children[0];
    }
    type_ = values->format;
    if (values->dictionary != nullptr) return false;
    if (type_.starts_with("ts") && type_.size() >= 4) {
      units_per_day_ = per_day(type_[2]);
      is_zoned_ = type_.size() > 4;
      type_ = "l";
    } else if (type_ == "tdm") {
      units_per_day_ = per_day('m');
      type_ = "l";
    } else if (type_ == "tdD") {
      units_per_day_ = 1;
      type_ = "i";
    }
    return type_.size() == 1 && std::string_view("cCsSiIlLfg").find(type_) != type_.npos;
  }

  void append(const ArrowArray& array) {
    if (!is_list_) return append(array, 0, array.length);
    if (has_long_offsets_) return append_lists<std::int64_t>(array);
    append_lists<std::int32_t>(array);
  }

  [[nodiscard]] Object result() const {
    const char* const kind = units_per_day_ == 0 ? "number" : is_zoned_ ? "zoned time" : "date";
    Object offsets(is_list_ ? bytes_of(offsets_).release() : Py_NewRef(Py_None));
    return owned(Py_BuildValue("sNN", kind, bytes_of(numbers_).release(), offsets.release()));
  }

 private:
  static std::int64_t per_day(char unit) noexcept {
    constexpr std::int64_t kSeconds = 86'400;
    switch (unit) {
      case 's':
        return kSeconds;
      case 'm':
        return kSeconds * 1'000;
      case 'u':
        return kSeconds * 1'000'000;
      default:
        return kSeconds * 1'000'000'000;
    }
  }

  template <class T>
  static Object bytes_of(const std::vector<T>& values) {
    return owned(PyByteArray_FromStringAndSize(reinterpret_cast<const char*>(values.data()),
                                               static_cast<Py_ssize_t>(values.size() * sizeof(T))));
  }

  template <class Offset>
  void append_lists(const ArrowArray& array) {
    const auto* const offsets = static_cast<const Offset*>(array.buffers[1]) + array.offset;
    for (std::int64_t i = 0; i < array.length; ++i) {
      if (is_present(array, array.offset + i)) {
        append(*array.children[0], offsets[i], offsets[i + 1] - offsets[i]);
      }
      offsets_.push_back(static_cast<std::int64_t>(numbers_.size()));
    }
  }

  void append(const ArrowArray& array, std::int64_t first, std::int64_t count) {
    switch (type_[0]) {
      case 'c':
        return append<std::int8_t>(array, first, count);
      case 'C':
        return append<std::uint8_t>(array, first, count);
      case 's':
        return append<std::int16_t>(array, first, count);
      case 'S':
        return append<std::uint16_t>(array, first, count);
      case 'i':
        return append<std::int32_t>(array, first, count);
      case 'I':
        return append<std::uint32_t>(array, first, count);
      case 'l':
        return append<std::int64_t>(array, first, count);
      case 'L':
        return append<std::uint64_t>(array, first, count);
      case 'f':
        return append<float>(array, first, count);
      default:
        return append<double>(array, first, count);
    }
  }

  template <class T>
  void append(const ArrowArray& array, std::int64_t first, std::int64_t count) {
    const auto* const values = static_cast<const T*>(array.buffers[1]);
    for (std::int64_t i = array.offset + first; i < array.offset + first + count; ++i) {
      double number = std::numeric_limits<double>::quiet_NaN();
      if (is_present(array, i)) {
        number = static_cast<double>(values[i]);
        if (units_per_day_ != 0) {
          const auto time = static_cast<std::int64_t>(values[i]);
          convert_to_days(&time, sizeof time, units_per_day_, std::span(&number, 1));
        }
      }
      numbers_.push_back(number);
    }
  }

  std::string_view type_;           // of the numbers that are stored
  std::int64_t units_per_day_ = 0;  // 0: not a date
  bool is_zoned_ = false;
  bool is_list_ = false;
  bool has_long_offsets_ = false;
  std::vector<double> numbers_;
  std::vector<std::int64_t> offsets_{0};
};

template <class T>
T& pointer_in(PyObject* capsule, const char* name) {
  auto* const pointer = static_cast<T*>(PyCapsule_GetPointer(capsule, name));
  if (pointer == nullptr) throw Raised();
  if (pointer->release == nullptr) {
    raise(PyExc_ValueError, "the Arrow array was released: it can be read only once");
  }
  return *pointer;
}

// The error of a stream. Python must not have an error to raise while arrays are released.
struct StreamError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void throw_error_of(ArrowArrayStream& stream) {
  const char* const message = stream.get_last_error(&stream);
  throw StreamError(message == nullptr ? "the stream of Arrow arrays failed" : message);
}

Object read_stream(ArrowArrayStream& stream) {
  Values values;
  Received<ArrowSchema> schema;
  if (stream.get_schema(&stream, &schema.value) != 0) throw_error_of(stream);
  if (!values.set_type(schema.value)) return Object(Py_NewRef(Py_None));
  while (true) {
    Received<ArrowArray> chunk;
    if (stream.get_next(&stream, &chunk.value) != 0) throw_error_of(stream);
    if (chunk.value.release == nullptr) return values.result();
    values.append(chunk.value);
  }
}

}  // namespace

Object read_arrow(PyObject* const* arguments, Py_ssize_t count) {
  if (count == 2) {
    Values values;
    const auto& schema = pointer_in<ArrowSchema>(arguments[0], "arrow_schema");
    const auto& array = pointer_in<ArrowArray>(arguments[1], "arrow_array");
    if (!values.set_type(schema)) return Object(Py_NewRef(Py_None));
    values.append(array);
    return values.result();
  }
  if (count != 1) raise(PyExc_TypeError, "one or two capsules are expected");
  try {
    return read_stream(pointer_in<ArrowArrayStream>(arguments[0], "arrow_array_stream"));
  } catch (const StreamError& error) {
    raise(PyExc_ValueError, error.what());
  }
}

}  // namespace finance_python
