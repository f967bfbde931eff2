// The table-valued function finance_keywords: a row a keyword, from the catalogue.
#pragma once

#include <sqlite3ext.h>

// The result code of SQLite.
int register_keywords_table(sqlite3* database);
