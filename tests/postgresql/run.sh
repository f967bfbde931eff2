#!/usr/bin/env bash
# Tests the extension in separate servers.
# usage: run.sh BUILD-FOLDER
set -euo pipefail
. "$(dirname "$0")/server.sh" "$1"

# The transcript: psql executes each line that begins with "> ", and must print the lines that
# follow. Errors are printed with their SQLSTATE.
sed -n "/^\(>\|--\) /{h;s/[\\']/&&/g;s/.*/\\\\echo '&'/p;g;s/^> //p}" "$tests/transcript.txt" |
  psql -P null=NULL -v SHOW_CONTEXT=never -v VERBOSITY=verbose -d postgres 2>&1 |
  sed -E '/^LOCATION:/d; s/(Keywords are)( [A-Z]+,)+ ([A-Z]+)\.$/\1 all up to \3/' |
  diff "$tests/transcript.txt" -

# The published examples, which use all keywords, must have the same bits as in the command. The
# transcript has created the extension in this database.
sed '1d; s/,/ /; s/,.*//; s/;/ /g' "$tests/../published.csv" >calls
"$build/bin/finance" --calls calls | paste -d' ' - calls | awk '
  {
    call = "finance(\047" $2 "\047"
    for (i = 3; i <= NF; ++i)
      call = call ", " ($i == "." ? "NULL" : $i ~ /[0-9]-|[A-Z]/ ? "\047" $i "\047" : $i)
    wanted = $1 == "." ? "NULL" : $1 ~ /[0-9]-[0-9]/ ? "DATE \047" $1 "\047 - DATE \0471960-01-01\047" : $1
    print "SELECT CASE WHEN " call ") IS NOT DISTINCT FROM (" wanted ")::float8 THEN \047same\047 ELSE $$" $0 "$$ END;"
  }' >same.sql
psql -d postgres -f same.sql | sort | uniq -c >same.out
if [ "$(cat same.out)" != "$(printf '%7d same' "$(wc -l <calls)")" ]; then
  echo "not the results of the command:" && cat same.out
  exit 1
fi

# Three servers, started by the commands in the document.
cp -r "$tests/../../examples" "$home"
awk '/^## /{on = /PostgreSQL on many machines/} /^```/{inside = on && $0 == "```sh"; next} inside' \
  "$tests/../../docs/engines.md" >walk.sh
as_user env -u PGUSER -u PGPORT -u PGOPTIONS PATH="$bin:$PATH" TMPDIR="$home" bash -e walk.sh >walk.out
grep ^Time: walk.out
grep -oE 'Async Foreign Scan|Remote SQL.*|^ +([0-9]+|shard[0-9]) +[|].*' walk.out | diff "$tests/shards.out" -
