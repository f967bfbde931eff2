#!/usr/bin/env bash
# Measures the time per row in PostgreSQL, in comparison with a nearly empty C function that has the
# same number of arguments: 1,000,000 rows in a separate server, best of five alternating runs,
# without parallel workers.
# usage: postgresql.sh BUILD-FOLDER
set -euo pipefail
bench=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
home=$(mktemp -d /tmp/finance-pg.XXXXXX)
bin=$(pg_config --bindir)
as_user() {
  if [ "$(id -u)" = 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}
finish() {
  as_user "$bin/pg_ctl" -D "$home/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$home"
}
trap finish EXIT
[ "$(id -u)" != 0 ] || chown postgres "$home"

gcc -O2 -fPIC -shared -I"$(pg_config --includedir-server)" "$bench/plain_postgresql.c" -o "$home/plain.so"
cp "$build/lib/finance_postgresql.so" "$build/lib/vxfnc.so" "$home"
chmod 755 "$home"/*.so
cd "$home"
as_user "$bin/initdb" -D "$home/data" -U postgres -A trust --locale=C.UTF-8 -N >"$home/log"
as_user "$bin/pg_ctl" -w -D "$home/data" -l "$home/server.log" \
  -o "-k $home -c listen_addresses= -c fsync=off -c max_parallel_workers_per_gather=0 -c jit=off" start >"$home/log"
psql() { as_user "$bin/psql" -XqAt -h "$home" -U postgres -d postgres "$@"; }

# The script refers to the library by MODULE_PATHNAME.
sed -e '/^\\echo/d' -e "s|MODULE_PATHNAME|$home/finance_postgresql|" "$build"/postgresql/finance--*.sql | psql 2>"$home/log"
psql <<SQL
CREATE FUNCTION plain_sln(float8, float8, float8) RETURNS float8 AS '$home/plain' LANGUAGE C IMMUTABLE;
CREATE FUNCTION plain_price(date, date, float8, float8, float8, int) RETURNS float8 AS '$home/plain' LANGUAGE C IMMUTABLE;
CREATE TABLE rows AS SELECT i::float8 AS cost, i / 10.0::float8 AS salvage, (5 + i % 7)::float8 AS life,
  CASE WHEN i > 0 THEN 0 END::float8 AS bad_life, NULL::float8 AS no_life, DATE '2024-03-11' AS settlement, DATE '2033-11-15' AS maturity, 0.0725::float8 AS rate, 0.05::float8 AS yld,
  100::float8 AS redemption, 2 AS frequency FROM generate_series(1, 1000000) AS i;
VACUUM ANALYZE rows;
SQL

declare -A best
time_of() { # NAME EXPRESSION
  local ms
  ms=$(printf '\\timing\nSELECT sum(%s) FROM rows;\n' "$2" | psql | sed -n 's/^Time: \([0-9.]*\) ms.*/\1/p')
  best[$1]=$(awk -v a="$ms" -v b="${best[$1]:-1e9}" 'BEGIN { print a < b ? a : b }')
}
bond='settlement, maturity, rate, yld, redemption, frequency'
for _ in 1 2 3 4 5; do
  time_of plain_sln 'plain_sln(cost, salvage, life)'
  time_of sln "finance('SLN', cost, salvage, life)"
  time_of named_sln 'finance_sln(cost, salvage, life)'
  time_of try_sln "finance_try('SLN', cost, salvage, life)"
  time_of bad_sln "finance_try('SLN', cost, salvage, bad_life)"
  time_of null_sln "finance_try('SLN', cost, salvage, no_life)"
  time_of plain_price "plain_price($bond)"
  time_of price "finance('PRICE', $bond)"
  time_of named_price "finance_price($bond)"
done
echo "| PostgreSQL | ns per row | more than the C function |"
echo "|---|---:|---:|"
row() { # TITLE NAME PLAIN
  awk -v title="$1" -v a="${best[$2]}" -v b="${best[$3]}" 'BEGIN { printf "| %s | %.0f | %s |\n", title, a, (a > b ? sprintf("%.0f", a - b) : "") }'
}
row 'a C function of three arguments' plain_sln plain_sln
row "\`finance('SLN', ...)\`" sln plain_sln
row '`finance_sln(...)`' named_sln plain_sln
row "\`finance_try('SLN', ...)\`" try_sln plain_sln
row "\`finance_try('SLN', ...)\` that fails" bad_sln plain_sln
row "\`finance_try('SLN', ...)\` of NULL" null_sln plain_sln
row 'a C function of six arguments' plain_price plain_price
row "\`finance('PRICE', ...)\`, 10 years" price plain_price
row '`finance_price(...)`' named_price plain_price
