#!/usr/bin/env bash
# Runs find_bench on SQLite and on a throw-away PostgreSQL server.
#   bench/run_find_bench.sh BUILD_DIR [find_bench options...]
set -euo pipefail
build=$(cd "${1:?build directory}" && pwd)
shift
here=$(cd "$(dirname "$0")" && pwd)
work="$build/find-bench"
mkdir -p "$work"
bash "$here/../tests/support/postgres.sh" start "$work/pg" >/dev/null
trap 'bash "$here/../tests/support/postgres.sh" stop "$work/pg"' EXIT
"$build/bin/find_bench" --dir "$work" --pg "$(cat "$work/pg/conninfo")" "$@"
