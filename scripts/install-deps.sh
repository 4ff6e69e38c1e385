#!/usr/bin/env bash
# Installs the Debian 12 packages Tarlox builds, runs and tests with.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev libqt6sql6-sqlite libqt6sql6-psql libgl-dev
  libtiff-dev libtiff-tools libleptonica-dev
  libsane-dev libsane1 sane-utils
  libpoppler-qt6-dev libzxing-dev libcurl4-openssl-dev libwmf-dev
  libsqlite3-dev libpq-dev postgresql postgresql-contrib
  libqpdf-dev qpdf poppler-utils libpdfbox2-java libactivation-java libjaxb-api-java default-jre-headless
  libgtest-dev libgmock-dev libbenchmark-dev gcovr
  python3-aiosmtpd dovecot-pop3d openssl
  hylafax-server hylafax-client
  xvfb xauth
  help2man desktop-file-utils appstream dpkg-dev
  fonts-liberation cups-daemon cups-client cups-filters
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq

# hylafax-server's install would start the system's fax daemons (and pulls in
# a mail server). The tests run their own on a private spool, so no service
# is started while packages go in, where the machine does not already forbid it.
policy=/usr/sbin/policy-rc.d
if [ ! -e "$policy" ]; then
  printf '#!/bin/sh\nexit 101\n' | $sudo tee "$policy" >/dev/null
  $sudo chmod 0755 "$policy"
  trap '$sudo rm -f "$policy"' EXIT
fi
$sudo apt-get install -y --no-install-recommends "${missing[@]}"
