#!/usr/bin/env bash
# Runs Debian's proftpd, unpacked by scripts/install-servers into SERVERS_DIR/proftpd, on a free port of 127.0.0.1
# for one test.
# Usage: run_proftpd.sh SERVERS_DIR WORK_DIR USER PASSWORD [--no-chroot]
# Prints "PORT <n>", "HOME <WORK_DIR/home>" and "PID <server pid>" once the server greets, then waits for it to end
# (kill -TERM <pid>, or SIGTERM/SIGINT to this script). USER is a virtual user (an AuthUserFile in WORK_DIR) working
# as the system user nobody: entries the test makes in the home must be writable by nobody to be changed over FTP.
# Sessions are chrooted to the home unless --no-chroot is given. Nothing outside WORK_DIR is changed.
# WORK_DIR gets proftpd.conf, proftpd.log, commands.log (every command and reply) and server.log.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

plx_parse_args "$@"

root=$plx_servers/proftpd
proftpd=$root/usr/sbin/proftpd
[ -x "$proftpd" ] || plx_fail "$proftpd is missing (see scripts/install-servers)"

uid=$(id -u nobody)
gid=$(getent group nogroup | cut -d: -f3)
chown nobody:nogroup "$plx_home"

hash=$(printf '%s' "$plx_password" | "$plx_python" -W ignore -c 'import crypt, sys
print(crypt.crypt(sys.stdin.read(), crypt.mksalt(crypt.METHOD_SHA512)))')
printf '%s:%s:%s:%s:plxftpclient test user:%s:/bin/sh\n' "$plx_user" "$hash" "$uid" "$gid" "$plx_home" \
  >"$plx_work/proftpd.passwd"
printf 'nogroup:x:%s:\n' "$gid" >"$plx_work/proftpd.group"
chmod 600 "$plx_work/proftpd.passwd" "$plx_work/proftpd.group"

plx_configure() {
  local default_root=""
  [ "$plx_chroot" -eq 0 ] || default_root="DefaultRoot ~"
  cat >"$plx_work/proftpd.conf" <<EOF
ServerType standalone
ServerName "plxftpclient test"
DefaultAddress 127.0.0.1
SocketBindTight on
UseIPv6 off
Port $plx_port
MaxInstances 50
User nobody
Group nogroup
Umask 022
ModulePath $root/usr/lib/proftpd
PidFile $plx_work/proftpd.pid
ScoreboardFile $plx_work/proftpd.scoreboard
DelayEngine off
ControlsEngine off
WtmpLog off
UseLastlog off
UseReverseDNS off
<IfModule mod_ident.c>
  IdentLookups off
</IfModule>
AuthPAM off
AuthOrder mod_auth_file.c
AuthUserFile $plx_work/proftpd.passwd
AuthGroupFile $plx_work/proftpd.group
PersistentPasswd off
RequireValidShell off
RootLogin off
$default_root
AllowOverwrite on
SystemLog $plx_work/proftpd.log
TransferLog none
LogFormat commands "%m %J -> %s %S"
ExtendedLog $plx_work/commands.log ALL commands
EOF
  chmod 600 "$plx_work/proftpd.conf"
  plx_command=("$proftpd" -n -q -c "$plx_work/proftpd.conf")
}

plx_serve
