// The table-valued function finance_keywords: one row per keyword, from the catalogue.
#pragma once

#include <sqlite3ext.h>

// Returns a result code of SQLite.
int register_keywords_table(sqlite3* database);
