#!/usr/bin/env bash
# Tests the extension of DuckDB: a transcript, the statements of docs/duckdb.md, and random calls of every
# keyword, whose results must have the same bits as those of the command.
# usage: run.sh BUILD-FOLDER CALLS-PER-KEYWORD
set -euo pipefail
tests=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
shell() { "$build/bin/duckdb_shell" "$build/lib/finance.duckdb_extension"; }

# The shell executes each line that begins with "> ".
cd "$tests/../.."
sed -n 's/^> //p' "$tests/transcript.txt" | shell | diff "$tests/transcript.txt" -

# The statements of the document must not fail.
awk '/^```/ {inside = $0 == "```sql"; next} inside {statement = statement " " $0}
  inside && /;$/ {print statement; statement = ""}' docs/duckdb.md >"$folder/document.sql"
cp -r examples "$folder"
(cd "$folder" && shell <document.sql) >"$folder/document.out"
if [ ! -s "$folder/document.sql" ] || grep 'Error: ' "$folder/document.out"; then exit 1; fi

"$tests/../random_calls.py" "$tests/../published.csv" "$folder" "$2"
for file in "$folder"/*.tsv; do
  keyword=$(basename "$file")
  count=${keyword#*.}
  count=${count%.tsv}
  keyword=${keyword%%.*}
  "$build/bin/finance" --filter "$keyword" <"$file" >"$file.out" 2>"$file.log"
  columns=$(seq -s, -f 'c%g' "$count")
  read="delim = '\t', header = false, quote = '', escape = '', auto_detect = false, nullstr = '\N'"
  echo "SELECT '$keyword', count(*), count(wanted) > 0, bool_and(finance_try('$keyword', $columns) IS NOT DISTINCT FROM if(wanted LIKE '____-__-__', (CAST(TRY_CAST(wanted AS DATE) AS DATE) - DATE '1960-01-01')::DOUBLE, TRY_CAST(wanted AS DOUBLE))) FROM read_csv('$file', columns = {$(seq -s, -f "'c%g': 'VARCHAR'" "$count")}, $read) POSITIONAL JOIN read_csv('$file.out', columns = {'wanted': 'VARCHAR'}, $read);"
done >"$folder/same.sql"
shell <"$folder/same.sql" | grep -v '^> ' >"$folder/same.out"
if grep -v '|true$' "$folder/same.out"; then exit 1; fi
awk -F'|' '{calls += $2} END {print calls " calls are the same"}' "$folder/same.out"
