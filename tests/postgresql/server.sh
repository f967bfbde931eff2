# Starts a separate server: a copy of the installed server, with the extension, on a socket in a
# temporary folder. Changes nothing else. If run by root, the server runs as the user postgres.
# The variable server_options can hold more options of the server.
# usage: . server.sh BUILD-FOLDER
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$(cd "$1" && pwd)
home=$(mktemp -d /tmp/finance-pg.XXXXXX)
bin=$home$(pg_config --bindir)

as_user() {
  if [ "$(id -u)" = 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}
finish() {
  for data in "$home"/*/PG_VERSION "$home"/*/*/PG_VERSION; do
    [ ! -f "$data" ] || as_user "$bin/pg_ctl" -D "${data%/*}" -m immediate stop >>"$home/stop.log" 2>&1 || true
  done
  rm -rf "$home"
}
trap finish EXIT

for folder in --bindir --pkglibdir --sharedir; do
  folder=$(pg_config $folder)
  mkdir -p "$home$folder"
  cp -rL "$folder/." "$home$folder"
done
rm -f "$home$(pg_config --pkglibdir)"/{finance_postgresql,vxfnc}.so \
  "$home$(pg_config --sharedir)"/extension/finance*  # files of an earlier installation
DESTDIR=$home cmake --install "$build" --component postgresql >"$home/install.log"
cp "$tests/finance--0.1.sql" "$home$(pg_config --sharedir)/extension"
[ "$(id -u)" != 0 ] || chown -R postgres "$home"

cd "$home"
as_user "$bin/initdb" -D "$home/data" -U postgres -A trust --locale=C.UTF-8 -N >"$home/init.log"
as_user "$bin/pg_ctl" -w -D "$home/data" -l "$home/server.log" \
  -o "-k $home -c listen_addresses= ${server_options:-} -c fsync=off" start >"$home/start.log"

export PGHOST=$home PGUSER=postgres PATH=$bin:$PATH
psql() { as_user psql -XqAt "$@"; }
