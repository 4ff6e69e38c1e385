#!/usr/bin/env bash
# Runs listing_bench on SQLite and on a throw-away PostgreSQL server.
#   bench/run_listing_bench.sh BUILD_DIR [listing_bench options...]
set -euo pipefail
build=$(cd "${1:?build directory}" && pwd)
shift
here=$(cd "$(dirname "$0")" && pwd)
work="$build/find-bench"
mkdir -p "$work"
bash "$here/../tests/support/postgres.sh" start "$work/pg" >/dev/null
trap 'bash "$here/../tests/support/postgres.sh" stop "$work/pg"' EXIT
"$build/bin/listing_bench" --dir "$work" --pg "$(cat "$work/pg/conninfo")" "$@"
