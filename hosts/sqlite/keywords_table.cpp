#include "hosts/sqlite/keywords_table.h"

#include <new>
#include <string>

#include "catalog/catalog.h"
#include "catalog/page.h"

SQLITE_EXTENSION_INIT3

namespace {

constexpr const char* kSchema =
    "CREATE TABLE finance_keywords(keyword TEXT, title TEXT, signature TEXT, summary TEXT, "
    "result TEXT, formula TEXT, example TEXT, value TEXT, related TEXT)";

struct Cursor : sqlite3_vtab_cursor {
  std::size_t row = 0;
};

std::size_t& row_of(sqlite3_vtab_cursor* cursor) noexcept {
  return static_cast<Cursor*>(cursor)->row;
}

int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
  const int status = sqlite3_declare_vtab(database, kSchema);
  if (status != SQLITE_OK) return status;
  sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
  *table = new (std::nothrow) sqlite3_vtab{};
  return *table == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int disconnect(sqlite3_vtab* table) {
  delete table;
  return SQLITE_OK;
}

int best_index(sqlite3_vtab*, sqlite3_index_info* plan) {
  plan->estimatedRows = static_cast<sqlite3_int64>(catalog::keywords().size());
  plan->estimatedCost = static_cast<double>(plan->estimatedRows);
  return SQLITE_OK;
}

int open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor;
  return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
}

int close(sqlite3_vtab_cursor* cursor) {
  delete static_cast<Cursor*>(cursor);
  return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value**) {
  row_of(cursor) = 0;
  return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
  ++row_of(cursor);
  return SQLITE_OK;
}

int at_end(sqlite3_vtab_cursor* cursor) {
  return row_of(cursor) >= catalog::keywords().size() ? 1 : 0;
}

int row_id(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
  *id = static_cast<sqlite3_int64>(row_of(cursor)) + 1;
  return SQLITE_OK;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int index) {
  const catalog::Keyword& keyword = catalog::keywords()[row_of(cursor)];
  const catalog::Description& text = keyword.description;
  const auto set_result = [context](std::string_view shown) {
    sqlite3_result_text(context, shown.data(), static_cast<int>(shown.size()), SQLITE_TRANSIENT);
  };
  if (index == 2) {
    try {
      set_result(signature_of(keyword));
    } catch (const std::bad_alloc&) {
      return SQLITE_NOMEM;
    }
    return SQLITE_OK;
  }
  const std::string_view columns[] = {keyword.word, text.title,  "",
                                      text.summary, text.result, text.formula,
                                      text.example, text.value,  text.related};
  set_result(columns[index]);
  return SQLITE_OK;
}

// Without xCreate, the table exists in every database and cannot be created.
sqlite3_module module_of_keywords() noexcept {
  sqlite3_module module{};
  module.xConnect = connect;
  module.xDisconnect = disconnect;
  module.xBestIndex = best_index;
  module.xOpen = open;
  module.xClose = close;
  module.xFilter = filter;
  module.xNext = next;
  module.xEof = at_end;
  module.xColumn = column;
  module.xRowid = row_id;
  return module;
}

}  // namespace

int register_keywords_table(sqlite3* database) {
  static const sqlite3_module module = module_of_keywords();
  return sqlite3_create_module(database, "finance_keywords", &module, nullptr);
}
