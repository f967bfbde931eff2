// The DuckDB extension. It uses only the stable C interface of DuckDB, so that one file serves all
// releases from 1.2.0 on.
//
//   LOAD 'build/release/lib/finance.duckdb_extension';
//   SELECT finance_price(settle, maturity, coupon, yld, 100, 2, 'ACTUAL') FROM bonds;
#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "hosts/call/module_loader.h"
#include "hosts/duckdb/functions.h"
#include "hosts/sql/sql_text.h"

duckdb_ext_api_v1 duckdb_ext_api{};

namespace {

using namespace finance_duckdb;

using Evaluate = void(const Function&, duckdb_data_chunk, duckdb_vector);

// No exception leaves the extension.
template <Evaluate* evaluate>
void call(duckdb_function_info info, duckdb_data_chunk chunk, duckdb_vector result) noexcept {
  try {
    evaluate(*static_cast<const Function*>(duckdb_scalar_function_get_extra_info(info)), chunk,
             result);
  } catch (const std::bad_alloc&) {
    duckdb_scalar_function_set_error(info, "finance: out of memory");
  } catch (const std::exception& error) {
    duckdb_scalar_function_set_error(info, error.what());
  }
}

void version(duckdb_function_info info, duckdb_data_chunk chunk, duckdb_vector result) noexcept {
  try {
    const std::string text = host::versions(VXFNC_VERSION);
    for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk); ++row) {
      duckdb_vector_assign_string_element_len(result, row, text.data(), text.size());
    }
  } catch (const std::exception& error) {
    duckdb_scalar_function_set_error(info, error.what());
  }
}

// Registers functions in a database. All functions of one name are registered together.
class Registration {
 public:
  explicit Registration(duckdb_connection connection) : connection_(connection) {}

  [[nodiscard]] bool register_all() {
    const Function any{nullptr, OnError::kRaise};
    register_any("finance", any, DUCKDB_TYPE_DOUBLE);
    register_any("finance_try", {nullptr, OnError::kNull}, DUCKDB_TYPE_DOUBLE);
    register_any("finance_error", {nullptr, OnError::kMessage}, DUCKDB_TYPE_VARCHAR);
    for (const catalog::Keyword& keyword : catalog::keywords()) {
      register_keyword(keyword.function_name(), {&keyword, OnError::kRaise});
      register_keyword(host::try_name(keyword.function_name()), {&keyword, OnError::kNull});
    }
    // Registered last: a database that has it has all functions.
    Overload overload("finance_version", {nullptr, OnError::kRaise}, DUCKDB_TYPE_VARCHAR, version);
    duckdb_scalar_function_set_volatile(overload.get());
    is_good_ =
        is_good_ && duckdb_register_scalar_function(connection_, overload.get()) == DuckDBSuccess;
    return is_good_;
  }

 private:
  // Owns a function until it is registered.
  class Overload {
   public:
    Overload(const std::string& name, const Function& function, duckdb_type type,
             duckdb_scalar_function_t body)
        : overload_(duckdb_create_scalar_function()) {
      duckdb_scalar_function_set_name(overload_, name.c_str());
      duckdb_scalar_function_set_return_type(overload_, LogicalType(type).get());
      duckdb_scalar_function_set_special_handling(overload_);  // NULL does not end the evaluation
      duckdb_scalar_function_set_extra_info(overload_, new Function(function),
                                            [](void* old) { delete static_cast<Function*>(old); });
      duckdb_scalar_function_set_function(overload_, body);
    }
    Overload(const Overload&) = delete;
    Overload& operator=(const Overload&) = delete;
    ~Overload() { duckdb_destroy_scalar_function(&overload_); }
    [[nodiscard]] duckdb_scalar_function get() const noexcept { return overload_; }

   private:
    duckdb_scalar_function overload_;
  };

  void register_any(const std::string& name, const Function& function, duckdb_type type) {
    Overload overload(name, function, type, call<evaluate>);
    duckdb_scalar_function_add_parameter(overload.get(), LogicalType(DUCKDB_TYPE_VARCHAR).get());
    duckdb_scalar_function_set_varargs(overload.get(), LogicalType(DUCKDB_TYPE_ANY).get());
    is_good_ =
        is_good_ && duckdb_register_scalar_function(connection_, overload.get()) == DuckDBSuccess;
  }

  void add(duckdb_scalar_function_set set, const std::string& name, const Function& function,
           std::size_t count, duckdb_type basis) {
    const catalog::Keyword& keyword = *function.keyword;
    const auto parameters = keyword.arguments().first(count);
    const bool is_date = keyword.result == catalog::ResultKind::kDate;
    Overload overload(name, function, is_date ? DUCKDB_TYPE_DATE : DUCKDB_TYPE_DOUBLE,
                      keyword.has_lists() ? call<evaluate_lists> : call<evaluate>);
    for (const catalog::Argument& parameter : parameters) {
      const bool is_basis = parameter.kind == catalog::ArgumentKind::kBasis;
      const LogicalType type(is_basis              ? basis
                             : parameter.is_date() ? DUCKDB_TYPE_DATE
                                                   : DUCKDB_TYPE_DOUBLE);
      const LogicalType list(duckdb_create_list_type(type.get()));
      duckdb_scalar_function_add_parameter(overload.get(),
                                           parameter.is_list() ? list.get() : type.get());
    }
    is_good_ = is_good_ && duckdb_add_scalar_function_to_set(set, overload.get()) == DuckDBSuccess;
  }

  // One overload for each number of arguments, and one for each type of the basis.
  void register_keyword(const std::string& name, const Function& function) {
    const auto parameters = function.keyword->arguments();
    duckdb_scalar_function_set set = duckdb_create_scalar_function_set(name.c_str());
    for (std::size_t count = function.keyword->required(); count <= parameters.size(); ++count) {
      add(set, name, function, count, DUCKDB_TYPE_VARCHAR);
      if (parameters[count - 1].kind == catalog::ArgumentKind::kBasis) {
        add(set, name, function, count, DUCKDB_TYPE_DOUBLE);
      }
    }
    is_good_ = is_good_ && duckdb_register_scalar_function_set(connection_, set) == DuckDBSuccess;
    duckdb_destroy_scalar_function_set(&set);
  }

  duckdb_connection connection_;
  bool is_good_ = true;
};

bool load(duckdb_extension_info info, duckdb_extension_access* access) {
  const auto* const api = static_cast<const duckdb_ext_api_v1*>(access->get_api(info, "v1.2.0"));
  if (api == nullptr) return false;  // DuckDB has set the error
  // Written once per process, because other databases may already call the functions.
  static std::once_flag first;
  std::call_once(first, [api] { duckdb_ext_api = *api; });
  if (std::memcmp(&duckdb_ext_api, api, sizeof duckdb_ext_api) != 0) {
    access->set_error(info, "finance: another copy of DuckDB in this process uses the extension");
    return false;
  }
  host::loaded_module();
  duckdb_connection connection = nullptr;
  if (duckdb_connect(*access->get_database(info), &connection) != DuckDBSuccess) {
    access->set_error(info, "finance: cannot connect to the database");
    return false;
  }
  const bool is_good = Registration(connection).register_all();
  duckdb_disconnect(&connection);
  if (!is_good) access->set_error(info, "finance: cannot register the functions");
  return is_good;
}

}  // namespace

// The entry point.
extern "C" [[gnu::visibility("default")]] bool finance_init_c_api(
    duckdb_extension_info info, struct duckdb_extension_access* access) {
  try {
    return load(info, access);
  } catch (const std::exception& error) {
    access->set_error(info, error.what());
    return false;
  }
}
