# shellcheck shell=bash disable=SC2034  # the variables set here are used by the launchers
# Shared by run_vsftpd.sh, run_proftpd.sh and run_pureftpd.sh (sourced, never run). They all take
#   SERVERS_DIR WORK_DIR USER PASSWORD [--no-chroot]
# start one server on a free loopback port, print "PORT <n>", "HOME <path>" and "PID <pid>" once it greets, then
# wait for it to end (kill -TERM <pid>, or the launcher's own SIGTERM/SIGINT) and undo what they set up.
#
# A launcher defines:
#   plx_configure  writes the configuration for $plx_port and fills the array plx_command (may be called again
#                  with another port when the first one was taken meanwhile)
#   plx_undo       optional; undoes global changes (run once, on every exit path)

plx_name=$(basename "$0")
plx_python=/usr/bin/python3
plx_pid=""
plx_done=0

plx_fail() {
  echo "$plx_name: $*" >&2
  exit 1
}

# Sets plx_servers, plx_work, plx_user, plx_password, plx_chroot (1 or 0) and plx_home (created); lets unprivileged
# session processes reach the home through the work folder.
plx_parse_args() {
  if [ $# -lt 4 ] || [ $# -gt 5 ] || { [ $# -eq 5 ] && [ "$5" != "--no-chroot" ]; }; then
    echo "usage: $plx_name SERVERS_DIR WORK_DIR USER PASSWORD [--no-chroot]" >&2
    exit 2
  fi
  [ -d "$1" ] || plx_fail "no servers folder '$1' (see scripts/install-servers)"
  [ -d "$2" ] || plx_fail "no work folder '$2'"
  plx_servers=$(cd "$1" && pwd -P)
  plx_work=$(cd "$2" && pwd -P)
  plx_user=$3
  plx_password=$4
  plx_chroot=1
  [ $# -lt 5 ] || plx_chroot=0
  case "$plx_user" in
    "" | *[!A-Za-z0-9._-]* | [-.]*) plx_fail "user name '$plx_user' must be letters, digits, '.', '_' or '-'" ;;
  esac
  case "$plx_password" in
    "" | *$'\n'* | *$'\r'*) plx_fail "the password must be one non-empty line" ;;
  esac
  [ "$(id -u)" -eq 0 ] || plx_fail "must run as root"
  plx_home=$plx_work/home
  mkdir -p "$plx_home"
  chmod 711 "$plx_work"
  plx_log=$plx_work/server.log
  : >"$plx_log"
  plx_stopping=0
  trap plx_cleanup EXIT
  trap plx_on_signal TERM INT HUP
}

plx_free_port() {
  "$plx_python" -c 'import socket
s = socket.socket()
s.bind(("127.0.0.1", 0))
print(s.getsockname()[1])'
}

# Until TIMEOUT seconds pass: connects to $plx_port and reads the whole greeting, then says QUIT. Exit status 0 for
# a 220 greeting, 2 for another reply (printed), 3 if the server process ended, 4 on timeout.
plx_await_greeting() {
  "$plx_python" - "$plx_port" "$plx_pid" "$1" <<'EOF'
import socket, sys, time

port, pid, timeout = int(sys.argv[1]), int(sys.argv[2]), float(sys.argv[3])
deadline = time.monotonic() + timeout


def alive():
    try:
        with open("/proc/%d/stat" % pid) as stat:
            text = stat.read()
    except OSError:
        return False
    return text[text.rindex(")") + 2] != "Z"


def reply(stream):
    first = line = stream.readline()
    while line and not (len(line) >= 4 and line[:3] == first[:3] and line[3:4] == b" "):
        line = stream.readline()
    return first


while True:
    if not alive():
        sys.exit(3)
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as connection:
            stream = connection.makefile("rb")
            first = reply(stream)
            if not first.startswith(b"220"):
                sys.stderr.write("greeting: %r\n" % first)
                sys.exit(2)
            connection.sendall(b"QUIT\r\n")
            reply(stream)
        sys.exit(0 if alive() else 3)
    except OSError:
        if time.monotonic() > deadline:
            sys.exit(4)
        time.sleep(0.05)
EOF
}

# plx_signal_matching SIGNAL ARG...: sends the signal (a number) to the live processes whose command line is
# exactly ARG... (sessions that servers fork into sessions of their own). Status 1 when there is none.
plx_signal_matching() {
  "$plx_python" - "$@" <<'EOF'
import os, sys

signal_number = int(sys.argv[1])
wanted = ("\0".join(sys.argv[2:]) + "\0").encode()
found = False
for name in os.listdir("/proc"):
    if not name.isdigit():
        continue
    try:
        with open("/proc/%s/cmdline" % name, "rb") as cmdline:
            if cmdline.read() != wanted:
                continue
        with open("/proc/%s/stat" % name) as stat:
            text = stat.read()
        if text[text.rindex(")") + 2] == "Z":
            continue
        os.kill(int(name), signal_number)
        found = True
    except OSError:
        pass
sys.exit(0 if found else 1)
EOF
}

# Stops the server (if running) and whatever is left in its process group, then runs plx_undo. Runs once.
plx_cleanup() {
  [ "$plx_done" -eq 0 ] || return 0
  plx_done=1
  set +e
  if [ -n "$plx_pid" ]; then
    if kill -0 "$plx_pid" 2>/dev/null; then
      kill -TERM "$plx_pid" 2>/dev/null
      for _ in $(seq 50); do
        kill -0 "$plx_pid" 2>/dev/null || break
        sleep 0.1
      done
      kill -KILL "$plx_pid" 2>/dev/null
    fi
    wait "$plx_pid" 2>/dev/null
    # Sessions it forked into its process group (zombies waiting for init to reap them do not count).
    for _ in $(seq 30); do
      pgrep -g "$plx_pid" -r D,I,R,S,T,t >/dev/null || break
      kill -TERM -- "-$plx_pid" 2>/dev/null
      sleep 0.1
    done
    pgrep -g "$plx_pid" -r D,I,R,S,T,t >/dev/null && kill -KILL -- "-$plx_pid" 2>/dev/null
  fi
  if declare -F plx_undo >/dev/null; then
    plx_undo
  fi
}

# The first signal asks the server to stop (SIGTERM), a second one kills it.
plx_on_signal() {
  [ -n "$plx_pid" ] || exit 1
  if [ "$plx_stopping" -eq 0 ]; then
    plx_stopping=1
    kill -TERM "$plx_pid" 2>/dev/null || true
  else
    kill -KILL "$plx_pid" 2>/dev/null || true
  fi
}

# Starts the server (plx_configure, then plx_command in a session of its own, output to $plx_log), prints PORT,
# HOME and PID once it greets, waits for it to end and exits.
plx_serve() {
  local attempt result probe
  for attempt in 1 2 3; do
    plx_port=$(plx_free_port)
    plx_command=()
    plx_configure
    echo "== starting on port $plx_port: ${plx_command[*]}" >>"$plx_log"
    setsid "${plx_command[@]}" </dev/null >>"$plx_log" 2>&1 &
    plx_pid=$!
    # In the background, so that a signal is handled at once.
    plx_await_greeting 15 2>>"$plx_log" &
    probe=$!
    while :; do
      result=0
      wait "$probe" || result=$?
      kill -0 "$probe" 2>/dev/null || break
    done
    if [ "$plx_stopping" -eq 1 ]; then
      echo "$plx_name: stopped by a signal before the server was ready" >&2
      exit 1
    fi
    [ "$result" -eq 0 ] && break
    if [ "$result" -ne 3 ]; then
      kill -TERM "$plx_pid" 2>/dev/null || true
    fi
    wait "$plx_pid" 2>/dev/null || true
    plx_pid=""
    # Another program may have taken the port between choosing and binding it: try another.
    if [ "$result" -eq 3 ] && [ "$attempt" -lt 3 ]; then
      continue
    fi
    case $result in
      2) echo "$plx_name: the server did not greet with 220" >&2 ;;
      3) echo "$plx_name: the server exited on starting" >&2 ;;
      4) echo "$plx_name: the server did not answer on port $plx_port in time" >&2 ;;
    esac
    sed 's/^/  /' "$plx_log" >&2
    exit 1
  done
  printf 'PORT %s\nHOME %s\nPID %s\n' "$plx_port" "$plx_home" "$plx_pid"
  local status
  while :; do
    status=0
    wait "$plx_pid" || status=$?
    # A trapped signal interrupts wait with the server still running: wait on.
    kill -0 "$plx_pid" 2>/dev/null || break
  done
  if [ "$plx_stopping" -eq 1 ] || [ "$status" -eq 0 ] || [ "$status" -eq 143 ]; then
    exit 0
  fi
  exit "$status"
}
