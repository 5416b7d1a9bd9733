#!/usr/bin/env bash
# Runs Debian's vsftpd (installed by scripts/install-servers) on a free port of 127.0.0.1 for one test.
# Usage: run_vsftpd.sh SERVERS_DIR WORK_DIR USER PASSWORD [--no-chroot]
# Prints "PORT <n>", "HOME <WORK_DIR/home>" and "PID <server pid>" once the server greets, then waits for it to end
# (kill -TERM <pid>, or SIGTERM/SIGINT to this script). Stop it, then wait for this script to exit: it then removes
# the temporary system account USER it made (vsftpd logs in local accounts only), so two runs with the same USER
# cannot overlap. Sessions are chrooted to the home unless --no-chroot is given. Files the client stores belong to
# USER's temporary uid; entries the test makes in the home itself must be writable by it to be changed over FTP.
# WORK_DIR gets vsftpd.conf, vsftpd.log (every command and reply) and server.log.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

plx_parse_args "$@"

vsftpd=/usr/sbin/vsftpd
[ -x "$vsftpd" ] || plx_fail "$vsftpd is missing (see scripts/install-servers)"
marker="plxftpclient test server, launcher pid"
made_user=0

# shellcheck disable=SC2317  # called from common.sh on exit
plx_undo() {
  local uid
  # Sessions run in sessions of their own, with the server's command line; they take SIGTERM without ending.
  for _ in $(seq 30); do
    plx_signal_matching 9 "$vsftpd" "$plx_work/vsftpd.conf" || break
    sleep 0.1
  done
  [ "$made_user" -eq 1 ] || return 0
  uid=$(id -u "$plx_user" 2>/dev/null) || return 0
  for _ in $(seq 30); do
    pgrep -U "$uid" -r D,I,R,S,T,t >/dev/null || break
    pkill -KILL -U "$uid" 2>/dev/null || true
    sleep 0.1
  done
  # --force: a zombie of the account may wait for init to reap it; the home is kept all the same.
  userdel --force "$plx_user" 2>/dev/null || echo "$plx_name: could not remove the temporary user $plx_user" >&2
}

# An account left by a launcher that is gone (killed with SIGKILL) is removed; one of a running launcher, or a
# real account, is an error.
if entry=$(getent passwd "$plx_user"); then
  gecos=$(echo "$entry" | cut -d: -f5)
  owner=${gecos#"$marker "}
  # A launcher that is stopping removes it in a moment.
  for _ in $(seq 50); do
    if [ "$owner" = "$gecos" ] || ! kill -0 "$owner" 2>/dev/null; then
      break
    fi
    sleep 0.1
    getent passwd "$plx_user" >/dev/null || break
  done
  if entry=$(getent passwd "$plx_user"); then
    if [ "$owner" = "$gecos" ]; then
      plx_fail "a system user '$plx_user' exists already; use another name"
    elif kill -0 "$owner" 2>/dev/null; then
      plx_fail "user '$plx_user' is in use by the launcher with pid $owner"
    fi
    pkill -KILL -U "$(echo "$entry" | cut -d: -f3)" 2>/dev/null || true
    userdel --force "$plx_user"
  fi
fi

made_user=1
useradd --badname --no-create-home --no-user-group --gid nogroup --home-dir "$plx_home" --shell /bin/sh \
  --comment "$marker $$" "$plx_user"
echo "$plx_user:$plx_password" | chpasswd
chown "$plx_user:nogroup" "$plx_home"
mkdir -p "$plx_work/empty"
chmod 755 "$plx_work/empty"

plx_configure() {
  local chroot=YES
  [ "$plx_chroot" -eq 1 ] || chroot=NO
  cat >"$plx_work/vsftpd.conf" <<EOF
listen=YES
listen_ipv6=NO
listen_address=127.0.0.1
listen_port=$plx_port
background=NO
seccomp_sandbox=NO
secure_chroot_dir=$plx_work/empty
nopriv_user=nobody
pam_service_name=vsftpd
anonymous_enable=NO
local_enable=YES
write_enable=YES
local_umask=022
local_root=$plx_home
chroot_local_user=$chroot
allow_writeable_chroot=YES
pasv_enable=YES
connect_from_port_20=NO
dirmessage_enable=NO
syslog_enable=NO
xferlog_enable=YES
xferlog_std_format=NO
log_ftp_protocol=YES
vsftpd_log_file=$plx_work/vsftpd.log
EOF
  chmod 600 "$plx_work/vsftpd.conf"
  plx_command=("$vsftpd" "$plx_work/vsftpd.conf")
}

plx_serve
