#!/usr/bin/env bash
# Builds the .deb, unpacks it into a directory of its own and starts both
# programs from there, as an installed system would.
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$build" && cpack -G DEB -B "$work/out" >/dev/null)
deb=$(ls "$work"/out/tarlox_*.deb)
dpkg-deb --info "$deb" | grep -E "Depends:.*libqt6sql6-sqlite" >/dev/null
dpkg-deb -x "$deb" "$work/root"
for f in usr/bin/tarlox usr/bin/tarlox-cli usr/libexec/tarlox/tarlox-barcode usr/share/applications/tarlox.desktop \
         usr/share/metainfo/com.tarlox.Tarlox.metainfo.xml usr/share/icons/hicolor/scalable/apps/tarlox.svg \
         usr/share/icons/hicolor/48x48/apps/tarlox.png usr/share/man/man1/tarlox-cli.1 \
         usr/share/bash-completion/completions/tarlox-cli usr/share/doc/tarlox/manual/index.html; do
    [ -e "$work/root/$f" ] || { echo "missing from the package: $f"; exit 1; }
done
export TARLOX="$work/site" HOME="$work/home"
"$work/root/usr/bin/tarlox-cli" --version
"$work/root/usr/bin/tarlox-cli" init
# The desktop program starts and stays up until it is stopped.
set +e
QT_QPA_PLATFORM=offscreen timeout 5 "$work/root/usr/bin/tarlox"
code=$?
set -e
[ $code -eq 124 ] || { echo "tarlox ended with $code"; exit 1; }
echo "package installs and both programs start"
