#!/usr/bin/env bash
# Runs Debian's pure-ftpd, unpacked by scripts/install-servers into SERVERS_DIR/pure-ftpd, on a free port of
# 127.0.0.1 for one test.
# Usage: run_pureftpd.sh SERVERS_DIR WORK_DIR USER PASSWORD [--no-chroot]
# Prints "PORT <n>", "HOME <WORK_DIR/home>" and "PID <server pid>" once the server greets, then waits for it to end
# (kill -TERM <pid>, or SIGTERM/SIGINT to this script). USER is a virtual user (a PureDB file in WORK_DIR, password
# hashed with SHA-512 crypt, which checks quickly) working as the system user nobody: entries the test makes in the
# home must be writable by nobody to be changed over FTP. Sessions are chrooted to the home unless --no-chroot is
# given. Nothing outside WORK_DIR is changed. WORK_DIR gets pureftpd.passwd, pureftpd.pdb and server.log.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

plx_parse_args "$@"

root=$plx_servers/pure-ftpd
pureftpd=$root/usr/sbin/pure-ftpd
purepw=$root/usr/bin/pure-pw
for binary in "$pureftpd" "$purepw"; do
  [ -x "$binary" ] || plx_fail "$binary is missing (see scripts/install-servers)"
done

uid=$(id -u nobody)
gid=$(getent group nogroup | cut -d: -f3)
chown nobody:nogroup "$plx_home"

hash=$(printf '%s' "$plx_password" | "$plx_python" -W ignore -c 'import crypt, sys
print(crypt.crypt(sys.stdin.read(), crypt.mksalt(crypt.METHOD_SHA512)))')
# login:password:uid:gid:gecos:home: and twelve limits left empty (see pure-pw(8)).
printf '%s:%s:%s:%s::%s::::::::::::\n' "$plx_user" "$hash" "$uid" "$gid" "$plx_home" >"$plx_work/pureftpd.passwd"
chmod 600 "$plx_work/pureftpd.passwd"
"$purepw" mkdb "$plx_work/pureftpd.pdb" -f "$plx_work/pureftpd.passwd" >>"$plx_log" 2>&1 \
  || plx_fail "pure-pw mkdb failed: $(cat "$plx_log")"

plx_configure() {
  plx_command=("$pureftpd"
    -S "127.0.0.1,$plx_port"
    -l "puredb:$plx_work/pureftpd.pdb"
    -E -H -u 1
    -f none
    -g "$plx_work/pure-ftpd.pid")
  [ "$plx_chroot" -eq 0 ] || plx_command+=(-A)
}

plx_serve
