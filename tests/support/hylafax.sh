#!/usr/bin/env bash
# Starts or stops a throw-away HylaFAX server (faxq + hfaxd) on loopback.
#   hylafax.sh start DIR PORT   private spool in DIR/spool, hfaxd on 127.0.0.1:PORT
#   hylafax.sh stop DIR         stop both daemons by their recorded PIDs, remove DIR
# Must run as root: the daemons switch to user uucp, so DIR and every
# parent of it must be traversable by uucp (faxq and hfaxd exit without a
# word otherwise; their messages go to syslog only).
set -euo pipefail
action=$1
dir=$2

# Running, and not only a zombie left for init to reap.
alive() {
  local state
  state=$(ps -o stat= -p "$1" 2>/dev/null) || return 1
  [ "${state:0:1}" != Z ]
}

stop_pid() {
  local file=$1
  [ -f "$file" ] || return 0
  local pid
  pid=$(cat "$file")
  if [ -n "$pid" ] && kill -0 "$pid" 2>/dev/null; then
    # Each daemon leads its own process group (setsid): the group takes
    # hfaxd's per-client children along.
    kill -- "-$pid" 2>/dev/null || kill "$pid" 2>/dev/null || true
    for _ in $(seq 1 50); do
      alive "$pid" || break
      sleep 0.1
    done
    alive "$pid" && kill -9 -- "-$pid" 2>/dev/null || true
  fi
  rm -f "$file"
}

case "$action" in
start)
  port=$3
  [ "$(id -u)" -eq 0 ] || { echo "hylafax.sh must run as root"; exit 2; }
  command -v faxq >/dev/null && command -v hfaxd >/dev/null \
    || { echo "faxq/hfaxd not found (package hylafax-server)"; exit 2; }
  [ -d /var/spool/hylafax ] && [ -d /etc/hylafax ] \
    || { echo "/var/spool/hylafax or /etc/hylafax missing (package hylafax-server)"; exit 2; }
  mkdir -p "$dir"
  chmod 0755 "$dir"
  spool="$dir/spool"
  rm -rf "$spool"
  cp -a /var/spool/hylafax "$spool"
  # The system's spool has an empty etc/ that its service bind-mounts over
  # /etc/hylafax; a private spool carries its own copy.
  rm -rf "$spool/etc"
  cp -a /etc/hylafax "$spool/etc"
  printf '127.0.0.1\n' >"$spool/etc/hosts.hfaxd"
  chown uucp:uucp "$spool/etc/hosts.hfaxd"
  chmod 0600 "$spool/etc/hosts.hfaxd"
  rm -f "$spool"/sendq/q* "$spool"/doneq/q* "$spool"/docq/doc* "$spool"/tmp/* "$spool"/FIFO*
  # Every parent of the spool must be traversable by uucp.
  p="$spool"
  while [ "$p" != "/" ]; do
    p=$(dirname "$p")
    if ! runuser -u uucp -- test -x "$p"; then
      echo "uucp can't traverse $p: chmod 0755 it"; exit 2
    fi
  done
  setsid faxq -D -q "$spool" >"$dir/faxq.log" 2>&1 &
  echo $! >"$dir/faxq.pid"
  for _ in $(seq 1 50); do
    [ -p "$spool/FIFO" ] && break
    sleep 0.1
  done
  [ -p "$spool/FIFO" ] || { echo "faxq did not start"; cat "$dir/faxq.log"; exit 1; }
  setsid hfaxd -d -q "$spool" -l 127.0.0.1 -i "$port" >"$dir/hfaxd.log" 2>&1 &
  echo $! >"$dir/hfaxd.pid"
  for _ in $(seq 1 50); do
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && { echo "HylaFAX on 127.0.0.1:$port"; exit 0; }
    kill -0 "$(cat "$dir/hfaxd.pid")" 2>/dev/null || break
    sleep 0.1
  done
  echo "hfaxd did not start"; cat "$dir/hfaxd.log"
  stop_pid "$dir/hfaxd.pid"
  stop_pid "$dir/faxq.pid"
  exit 1
  ;;
stop)
  stop_pid "$dir/hfaxd.pid"
  stop_pid "$dir/faxq.pid"
  rm -rf "$dir"
  ;;
*)
  echo "usage: hylafax.sh start DIR PORT | stop DIR"; exit 2
  ;;
esac
