#!/usr/bin/env bash
# Runs one of the site benchmarks (find_bench, listing_bench, quickfind_bench)
# on SQLite and on a throw-away PostgreSQL server; they share one site.
#   bench/run_on_both_engines.sh BENCH BUILD_DIR [BENCH options...]
set -euo pipefail
bench=${1:?benchmark: find_bench, listing_bench or quickfind_bench}
build=$(cd "${2:?build directory}" && pwd)
shift 2
here=$(cd "$(dirname "$0")" && pwd)
work="$build/find-bench"
mkdir -p "$work"
bash "$here/../tests/support/postgres.sh" start "$work/pg" >/dev/null
trap 'bash "$here/../tests/support/postgres.sh" stop "$work/pg"' EXIT
"$build/bin/$bench" --dir "$work" --pg "$(cat "$work/pg/conninfo")" "$@"
