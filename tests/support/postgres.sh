#!/usr/bin/env bash
# Starts or stops a throw-away PostgreSQL server on loopback for the tests.
#   postgres.sh start DIR   initdb in DIR, start on a free port, write DIR/conninfo
#   postgres.sh stop DIR    stop it and remove DIR
#   postgres.sh halt DIR    stop it, keep DIR (restart brings it back on the same port)
#   postgres.sh restart DIR start a halted server again
set -euo pipefail
action=$1
dir=$2
bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)
[ -n "$bin" ] || { echo "PostgreSQL server binaries not found"; exit 1; }

as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u postgres -- "$@"
  else
    "$@"
  fi
}

case "$action" in
start)
  if [ -f "$dir/conninfo" ] && as_owner "$bin/pg_ctl" -D "$dir/data" status >/dev/null 2>&1; then
    exit 0
  fi
  rm -rf "$dir"
  mkdir -p "$dir/sock"
  [ "$(id -u)" -eq 0 ] && chown -R postgres "$dir"
  as_owner "$bin/initdb" -D "$dir/data" --auth=trust -U postgres --encoding=UTF8 --locale=C >"$dir/initdb.log" 2>&1
  for attempt in 1 2 3 4 5 6 7 8; do
    port=$(( 20000 + (RANDOM % 20000) ))
    if as_owner "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
         -o "-p $port -c listen_addresses=127.0.0.1 -k $dir/sock -c fsync=off -c max_connections=200" start >/dev/null; then
      echo "host=127.0.0.1 port=$port user=postgres" >"$dir/conninfo"
      echo "PostgreSQL on 127.0.0.1:$port"
      exit 0
    fi
  done
  cat "$dir/server.log" || true
  exit 1
  ;;
halt)
  as_owner "$bin/pg_ctl" -D "$dir/data" -m fast -w stop >/dev/null
  ;;
restart)
  port=$(sed -n 's/.*port=\([0-9]*\).*/\1/p' "$dir/conninfo")
  as_owner "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
    -o "-p $port -c listen_addresses=127.0.0.1 -k $dir/sock -c fsync=off" start >/dev/null
  ;;
stop)
  [ -d "$dir/data" ] && as_owner "$bin/pg_ctl" -D "$dir/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$dir"
  ;;
esac
