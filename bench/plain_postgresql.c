/* PostgreSQL functions that do almost nothing but have as many arguments as those of the extension. They
 * show the time per row without the extension. */
#include <postgres.h>

#include <fmgr.h>

PG_MODULE_MAGIC;

PG_FUNCTION_INFO_V1(plain_sln);
Datum plain_sln(PG_FUNCTION_ARGS) {
  PG_RETURN_FLOAT8((PG_GETARG_FLOAT8(0) - PG_GETARG_FLOAT8(1)) / PG_GETARG_FLOAT8(2));
}

PG_FUNCTION_INFO_V1(plain_price);
Datum plain_price(PG_FUNCTION_ARGS) {
  PG_RETURN_FLOAT8(PG_GETARG_INT32(1) - PG_GETARG_INT32(0) + PG_GETARG_FLOAT8(2) +
                   PG_GETARG_FLOAT8(3) + PG_GETARG_FLOAT8(4) + PG_GETARG_INT32(5));
}
