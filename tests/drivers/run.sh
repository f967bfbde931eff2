#!/usr/bin/env bash
# Runs programs of docs/drivers.md and compares their output with the page. Where node has no module
# pg, npm fetches it.
# usage: run.sh BUILD-FOLDER SECTION...
set -euo pipefail
page=$(cd "$(dirname "$0")/../../docs" && pwd)/drivers.md
export PGPORT=5432 PGUSER=postgres PGDATABASE=postgres LC_ALL=C.UTF-8
case " $* " in
  *' JDBC '*)  # connects by TCP only
    free='import socket; print(socket.create_server(("localhost", 0)).getsockname()[1])'
    PGPORT=$(/usr/bin/python3 -c "$free")
    server_options='-c listen_addresses=localhost'
    ;;
esac
. "$(dirname "$0")/../postgresql/server.sh" "$1"
export PGHOST=$home NODE_PATH=$home/npm/node_modules:/usr/share/nodejs
psql -c 'CREATE EXTENSION finance'

block() { # SECTION NUMBER
  awk -v section="## $1" -v number="$2" '
    /^## / {on = $0 == section}
    on && /^```/ {inside = !inside; n += inside; next}
    on && inside && n == number' "$page"
}

mkdir programs
cd programs
shift
for section; do
  python=/usr/bin/python3  # Debian's, which finds Debian's modules
  case $section in
    psycopg) file=call.py program=("$python" call.py) ;;
    node-postgres) file=call.js program=(node call.js) ;;
    JDBC) file=Call.java program=(java -cp /usr/share/java/postgresql.jar Call.java
      "jdbc:postgresql://localhost:$PGPORT/postgres?user=postgres") ;;
    ODBC) file=call.py program=("$python" call.py
      "Driver={PostgreSQL Unicode};Server=$home;Port=$PGPORT;Database=postgres;Uid=postgres") ;;
  esac
  if [ "$section" = node-postgres ] && ! node -e 'require("pg")' 2>module.log; then
    npm install --silent --no-fund --no-audit --prefix "$home/npm" pg@8.8.0
  fi
  block "$section" 1 >"$file"
  block "$section" 2 >wanted
  [ -s wanted ]
  "${program[@]}" 2>&1 | diff wanted -
  echo "$section: passed"
done
