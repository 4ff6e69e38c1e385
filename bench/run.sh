#!/usr/bin/env bash
# Runs the benchmarks of a build: bash bench/run.sh BUILD_DIR [benchmark options]
# e.g. bash bench/run.sh build --benchmark_filter=G4
set -euo pipefail
build="${1:-build}"
shift || true
exe="$build/bin/tarlox_bench"
if [ ! -x "$exe" ]; then
  echo "No $exe: build first (make build)." >&2
  exit 1
fi
export QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-offscreen}"
exec "$exe" --benchmark_counters_tabular=true "$@"
