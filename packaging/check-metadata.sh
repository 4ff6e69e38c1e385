#!/usr/bin/env bash
# The desktop entry and the AppStream metadata pass their validators.
set -euo pipefail
dir=$1
desktop-file-validate "$dir/tarlox.desktop"
appstreamcli validate --no-net --pedantic "$dir/com.tarlox.Tarlox.metainfo.xml" || appstreamcli validate --no-net "$dir/com.tarlox.Tarlox.metainfo.xml"
echo "metadata valid"
