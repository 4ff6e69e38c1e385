#!/usr/bin/env bash
# Starts or stops a throw-away CUPS scheduler on loopback with a printer that
# writes what it is sent to a file.
#   cups.sh start DIR PORT   ServerRoot in DIR/etc, queue "tarlox-test"
#                            printing to DIR/out/printed.pdf (Generic PDF PPD)
#   cups.sh stop DIR         stop cupsd by its recorded PID, remove DIR
# Runs as root (cupsd runs its filters as user lp, so DIR/out is open to it).
set -euo pipefail
action=$1
dir=$2
ppd=/usr/share/ppd/cupsfilters/Generic-PDF_Printer-PDF.ppd

case "$action" in
start)
  port=$3
  [ "$(id -u)" -eq 0 ] || { echo "cups.sh must run as root"; exit 2; }
  command -v cupsd >/dev/null && command -v lpadmin >/dev/null \
    || { echo "cupsd/lpadmin not found (packages cups-daemon, cups-client)"; exit 2; }
  [ -f "$ppd" ] || { echo "$ppd missing (package cups-filters)"; exit 2; }
  rm -rf "$dir"
  mkdir -p "$dir/etc/ppd" "$dir/spool/tmp" "$dir/cache" "$dir/state" "$dir/log" "$dir/out"
  chmod 0755 "$dir" "$dir/etc"
  chmod 0777 "$dir/out" "$dir/spool/tmp"
  p="$dir"
  while [ "$p" != "/" ]; do chmod o+x "$p" 2>/dev/null || true; p=$(dirname "$p"); done
  cat >"$dir/etc/cupsd.conf" <<CONF
Listen 127.0.0.1:$port
Browsing No
LogLevel warn
WebInterface No
DefaultAuthType None
<Location />
  Order allow,deny
  Allow 127.0.0.1
</Location>
<Location /admin>
  Order allow,deny
  Allow 127.0.0.1
</Location>
<Policy default>
  <Limit All>
    Order deny,allow
  </Limit>
</Policy>
CONF
  cat >"$dir/etc/cups-files.conf" <<CONF
FileDevice Yes
ServerRoot $dir/etc
RequestRoot $dir/spool
TempDir $dir/spool/tmp
CacheDir $dir/cache
StateDir $dir/state
AccessLog $dir/log/access_log
ErrorLog $dir/log/error_log
PageLog $dir/log/page_log
User lp
Group lp
SystemGroup root
CONF
  setsid cupsd -f -c "$dir/etc/cupsd.conf" -s "$dir/etc/cups-files.conf" </dev/null >"$dir/log/cupsd.out" 2>&1 &
  echo $! >"$dir/pid"
  for _ in $(seq 1 100); do
    lpstat -h "127.0.0.1:$port" -r 2>/dev/null | grep -q "is running" && break
    sleep 0.1
  done
  lpadmin -h "127.0.0.1:$port" -p tarlox-test -E -v "file://$dir/out/printed.pdf" -P "$ppd"
  echo "cupsd on 127.0.0.1:$port"
  ;;
stop)
  if [ -f "$dir/pid" ]; then
    pid=$(cat "$dir/pid")
    kill -- "-$pid" 2>/dev/null || kill "$pid" 2>/dev/null || true
    for _ in $(seq 1 50); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    kill -9 "$pid" 2>/dev/null || true
  fi
  rm -rf "$dir"
  ;;
esac
