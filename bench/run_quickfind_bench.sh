#!/usr/bin/env bash
# Runs quickfind_bench on SQLite and on a throw-away PostgreSQL server.
#   bench/run_quickfind_bench.sh BUILD_DIR [quickfind_bench options...]
set -euo pipefail
build=$(cd "${1:?build directory}" && pwd)
shift
here=$(cd "$(dirname "$0")" && pwd)
work="$build/find-bench"
mkdir -p "$work"
bash "$here/../tests/support/postgres.sh" start "$work/pg" >/dev/null
trap 'bash "$here/../tests/support/postgres.sh" stop "$work/pg"' EXIT
"$build/bin/quickfind_bench" --dir "$work" --pg "$(cat "$work/pg/conninfo")" "$@"
