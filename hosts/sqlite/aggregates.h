// The aggregates of cash flows: finance_irr, finance_try_irr, ...
#pragma once

#include <sqlite3ext.h>

// Returns a result code of SQLite.
int register_aggregates(sqlite3* database);
