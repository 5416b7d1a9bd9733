#!/usr/bin/env bash
# plxftp against a real server: pyftpdlib on a free loopback port over a temporary tree. Checks every command's
# output and exit status, the failure format, the progress bar (only on a terminal), byte-exact batch transfers
# and where the password comes from.
# Usage: tests/cli/cli_session.sh BUILD_DIR SOURCE_DIR       Exit status 0 when every check passes.
# The conditions below are shell text that check evaluates after each run, hence single quotes throughout.
# shellcheck disable=SC2016,SC2034,SC2001
set -uo pipefail

build=${1:?usage: cli_session.sh BUILD_DIR SOURCE_DIR}
source_dir=${2:?usage: cli_session.sh BUILD_DIR SOURCE_DIR}
plxftp=$build/tools/plxftp/plxftp
if [ ! -x "$plxftp" ]; then
    echo "not built: $plxftp"
    exit 1
fi

work=$(mktemp -d /tmp/plxftp_cli.XXXXXX)
home=$work/home      # the server's tree
local_dir=$work/local
mkdir -p "$home" "$local_dir"
server_pid=""
cleanup() {
    if [ -n "$server_pid" ]; then
        kill "$server_pid" 2>/dev/null
        wait "$server_pid" 2>/dev/null
    fi
    rm -rf "$work"
}
trap cleanup EXIT

user=tester
password="pw-$RANDOM-$RANDOM"
/usr/bin/python3 "$source_dir/tests/servers/pyftpd_server.py" "$home" "$user" "$password" "$work/server.log" \
    >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
port=""
for _ in $(seq 1 100); do
    port=$(sed -n 's/^PORT \([0-9][0-9]*\)$/\1/p' "$work/server.out")
    [ -n "$port" ] && break
    kill -0 "$server_pid" 2>/dev/null || break
    sleep 0.1
done
if [ -z "$port" ]; then
    echo "pyftpdlib did not start (is python3-pyftpdlib installed for /usr/bin/python3?)"
    cat "$work/server.err"
    exit 1
fi
echo "# pyftpdlib on 127.0.0.1:$port, tree $home"

# Short time-outs keep the library's waits for a reply that never comes (after a refused download) to 3 seconds.
fast=(--timeout 2 --retries 1 --retry-timeout 1)
export PLXFTP_PASSWORD=$password

out="" err="" rc=0
# plx ARGS...: runs plxftp against the server with stdin from /dev/null; sets out, err and rc.
plx() {
    "$plxftp" -P "$port" -u "$user" "${fast[@]}" 127.0.0.1 "$@" >"$work/out" 2>"$work/err" </dev/null
    rc=$?
    out=$(cat "$work/out")
    err=$(cat "$work/err")
}
# raw ARGS...: runs plxftp with exactly these arguments.
raw() {
    "$plxftp" "$@" >"$work/out" 2>"$work/err" </dev/null
    rc=$?
    out=$(cat "$work/out")
    err=$(cat "$work/err")
}

checks=0
failures=0
# check NAME CONDITION: evaluates CONDITION (shell text) and reports; shows the last run on failure.
check() {
    checks=$((checks + 1))
    if eval "$2"; then
        echo "ok $checks - $1"
    else
        failures=$((failures + 1))
        echo "not ok $checks - $1"
        echo "#   condition: $2"
        echo "#   exit status: $rc"
        sed 's/^/#   stdout: /' <<<"$out"
        sed 's/^/#   stderr: /' <<<"$err"
    fi
}
same() { cmp -s "$1" "$2"; }
# The failure line: "plxftp: WHAT: 0x<8 hex> NAME: meaning".
failure_line() { grep -Eq "^plxftp: .+: $1 $2: .+$" <<<"$err"; }

# ---- usage ----------------------------------------------------------------------------------------------------------
raw --help
check "--help prints the usage and exits 0" '[ $rc -eq 0 ] && grep -q "^Usage: plxftp \[options\] HOST COMMAND" <<<"$out"'
raw
check "no arguments: exit 2 and a hint" '[ $rc -eq 2 ] && grep -q "Try .plxftp --help." <<<"$err"'
raw 127.0.0.1 frobnicate
check "unknown command: exit 2" '[ $rc -eq 2 ] && grep -q "unknown command" <<<"$err"'
raw 127.0.0.1 ls a b
check "too many arguments: exit 2 with the command synopsis" '[ $rc -eq 2 ] && grep -q "ls \[DIR\]" <<<"$err"'
raw --bogus 127.0.0.1 ls
check "unknown option: exit 2" '[ $rc -eq 2 ] && grep -q "unknown option .--bogus." <<<"$err"'
raw -P 0 127.0.0.1 ls
check "port 0: exit 2" '[ $rc -eq 2 ]'
raw --retries 3 --retry-timeout 2 127.0.0.1 ls
check "--retries above --retry-timeout is refused: exit 2" '[ $rc -eq 2 ] && grep -q "retry-timeout" <<<"$err"'
raw 127.0.0.1 mget "$local_dir" a/x.bin b/x.bin
check "mget of two files with one name: exit 2" '[ $rc -eq 2 ]'
raw --codes
header_names=$(sed -n 's/^constexpr unsigned int \(FTP_[A-Z0-9_]*\) = .*/\1/p' "$source_dir/include/plxftpclient.h" | sort)
check "--codes gives every code of the header a name and a meaning" \
    '[ $rc -eq 0 ] && [ -n "$header_names" ] && [ "$(grep -Ec "^0x[0-9A-F]{8}  FTP_[A-Z0-9_]+ +[a-z].+$" <<<"$out")" -eq "$(wc -l <<<"$out")" ] &&
     [ "$(awk "{ print \$2 }" <<<"$out" | sort)" = "$header_names" ]'

# ---- directories and uploads ----------------------------------------------------------------------------------------
head -c 300000 /dev/urandom >"$local_dir/data.bin"
plx mkdir d1/d2
check "mkdir of a two-level path" '[ $rc -eq 0 ] && [ "$out" = "mkdir: d1/d2" ] && [ -d "$home/d1/d2" ]'
plx mkdir d1/d2
check "mkdir of an existing directory succeeds" '[ $rc -eq 0 ]'
plx put "$local_dir/data.bin"
check "put without REMOTE lands in the login directory under its name" \
    '[ $rc -eq 0 ] && [ "$out" = "put: $local_dir/data.bin -> data.bin (300000 bytes)" ] && same "$local_dir/data.bin" "$home/data.bin"'
plx put "$local_dir/data.bin" d1/d2/
check "put into a directory (REMOTE ending in /)" \
    '[ $rc -eq 0 ] && same "$local_dir/data.bin" "$home/d1/d2/data.bin"'
plx put "$local_dir/data.bin" d1/renamed.bin
check "put under another name" '[ $rc -eq 0 ] && same "$local_dir/data.bin" "$home/d1/renamed.bin"'
plx put "$local_dir/nope.bin"
check "put of a missing local file: exit 4, nothing created on the server" \
    '[ $rc -eq 4 ] && grep -q "cannot upload" <<<"$err" && [ ! -e "$home/nope.bin" ]'
plx put "$local_dir/data.bin" nodir/x.bin
check "put into a missing remote directory: exit 3 with the code" '[ $rc -eq 3 ] && failure_line 0x3BB0000E FTP_ERR_NO_SUCH_FILE'

# ---- listing --------------------------------------------------------------------------------------------------------
ln -s data.bin "$home/link.bin"
head -c 7 /dev/urandom >"$home/s.bin"
plx ls d1/d2
check "ls of a directory: one aligned line" \
    '[ $rc -eq 0 ] && grep -Eq "^file  300000  [0-9]{4}-[0-9]{2}-[0-9]{2}( [0-9]{2}:[0-9]{2})?  data\.bin$" <<<"$out" && [ "$(wc -l <<<"$out")" -eq 1 ]'
plx ls
check "ls of the login directory: dir/ and link@ marked" \
    '[ $rc -eq 0 ] && grep -Eq "^dir  +[0-9]+  .+  d1/$" <<<"$out" && grep -Eq "^link +[0-9]+  .+  link\.bin@$" <<<"$out" && grep -Eq "^file +7  .+  s\.bin$" <<<"$out"'
# Sizes right-aligned: every size ends in the same column, and every name starts in the same column.
check "ls columns line up" \
    '[ "$(awk "{ match(\$0, /^[a-z]+ +[0-9]+/); print RLENGTH }" <<<"$out" | sort -u | wc -l)" -eq 1 ] &&
     [ "$(awk "{ n = \$NF; sub(/[@\/]$/, \"\", n); print index(\$0, n) }" <<<"$out" | sort -u | wc -l)" -eq 1 ]'
plx ls nodir
check "ls of a missing directory: exit 3 with the code" '[ $rc -eq 3 ] && failure_line 0x3BB0000E FTP_ERR_NO_SUCH_FILE'

# ---- exists ---------------------------------------------------------------------------------------------------------
plx exists d1/d2/data.bin
check "exists: yes, exit 0" '[ $rc -eq 0 ] && [ "$out" = yes ]'
plx exists data.bin
check "exists of a name in the login directory: yes" '[ $rc -eq 0 ] && [ "$out" = yes ]'
plx exists d1/d2
check "exists of a directory: yes" '[ $rc -eq 0 ] && [ "$out" = yes ]'
plx exists d1/d2/missing.bin
check "exists: no, exit 1" '[ $rc -eq 1 ] && [ "$out" = no ]'
plx exists nodir/missing.bin
check "exists under a missing directory: no, exit 1" '[ $rc -eq 1 ] && [ "$out" = no ]'

# ---- downloads ------------------------------------------------------------------------------------------------------
plx get d1/d2/data.bin "$local_dir/got.bin"
check "get: byte-exact, one summary line" \
    '[ $rc -eq 0 ] && same "$home/d1/d2/data.bin" "$local_dir/got.bin" && [ "$out" = "get: d1/d2/data.bin -> $local_dir/got.bin (300000 bytes)" ]'
check "get with output piped: no progress bar (no CR, no escape, empty stderr)" \
    '! grep -q $'"'"'[\r\033]'"'"' "$work/out" "$work/err" && [ -z "$err" ]'
mkdir -p "$local_dir/into"
plx get s.bin "$local_dir/into"
check "get into a local folder keeps the name" '[ $rc -eq 0 ] && same "$home/s.bin" "$local_dir/into/s.bin"'
plx get d1/d2/missing.bin "$local_dir/missing.bin"
check "get of a missing file: exit 3, hex code, name and meaning on stderr" \
    '[ $rc -eq 3 ] && [ "$(wc -l <<<"$err")" -eq 1 ] && grep -Eq "^plxftp: get d1/d2/missing\.bin: 0x3BB0000E FTP_ERR_NO_SUCH_FILE: no such file" <<<"$err"'
check "get of a missing file leaves no local file" '[ ! -e "$local_dir/missing.bin" ]'
"$plxftp" -P "$port" -u "$user" 127.0.0.1 get d1/renamed.bin "$local_dir/default.bin" >"$work/out" 2>"$work/err" </dev/null
rc=$? out=$(cat "$work/out") err=$(cat "$work/err")
check "get with the default time-outs" '[ $rc -eq 0 ] && same "$home/d1/renamed.bin" "$local_dir/default.bin"'
plx get data.bin /nonexistent-folder/x.bin
check "get into an impossible local path: exit 3, FTP_ERR_LOCAL_CREATE" '[ $rc -eq 3 ] && failure_line 0x3BB00006 FTP_ERR_LOCAL_CREATE'

if command -v script >/dev/null 2>&1; then
    # On a terminal (script gives plxftp a pseudo-terminal) the bar shows, ending at 100%.
    script -qec "'$plxftp' -P $port -u $user ${fast[*]} 127.0.0.1 get data.bin '$local_dir/tty.bin'" /dev/null \
        >"$work/tty" 2>&1 </dev/null
    rc=$? out=$(tr '\r' '\n' <"$work/tty") err=""
    check "get on a terminal draws a progress bar" \
        '[ $rc -eq 0 ] && grep -q $'"'"'\r'"'"' "$work/tty" && grep -Eq "data\.bin +\[#+\] +100%  293\.0 KiB / 293\.0 KiB" <<<"$out" && same "$home/data.bin" "$local_dir/tty.bin"'
    script -qec "'$plxftp' -P $port -u $user ${fast[*]} --no-progress 127.0.0.1 get data.bin '$local_dir/tty2.bin'" \
        /dev/null >"$work/tty" 2>&1 </dev/null
    rc=$? out=$(tr '\r' '\n' <"$work/tty") err=""
    check "--no-progress on a terminal: no bar" '[ $rc -eq 0 ] && ! grep -q "%" "$work/tty"'
else
    echo "# script(1) not found: progress bar on a terminal not checked"
fi

# ---- batches --------------------------------------------------------------------------------------------------------
mkdir -p "$local_dir/batch" "$local_dir/back"
head -c 123457 /dev/urandom >"$local_dir/batch/one.bin"
printf 'line one\r\nline two\n\0\0\r\n\377tail' >"$local_dir/batch/two.txt"  # CR LF, NUL and high bytes
: >"$local_dir/batch/empty.bin"
plx mput d1/d2 "$local_dir/batch/one.bin" "$local_dir/batch/two.txt" "$local_dir/batch/empty.bin"
check "mput: three files, one line each" '[ $rc -eq 0 ] && [ "$(grep -c "^put: " <<<"$out")" -eq 3 ]'
check "mput is byte-exact" \
    'same "$local_dir/batch/one.bin" "$home/d1/d2/one.bin" && same "$local_dir/batch/two.txt" "$home/d1/d2/two.txt" && same "$local_dir/batch/empty.bin" "$home/d1/d2/empty.bin"'
plx mget "$local_dir/back" d1/d2/one.bin d1/d2/two.txt d1/d2/empty.bin
check "mget: three files, one line each" '[ $rc -eq 0 ] && [ "$(grep -c "^get: " <<<"$out")" -eq 3 ]'
check "mget is byte-exact" \
    'same "$local_dir/batch/one.bin" "$local_dir/back/one.bin" && same "$local_dir/batch/two.txt" "$local_dir/back/two.txt" && same "$local_dir/batch/empty.bin" "$local_dir/back/empty.bin"'
mkdir -p "$local_dir/partial"
plx mget "$local_dir/partial" d1/d2/one.bin d1/d2/missing.bin d1/d2/two.txt
check "mget stops at the first failure: exit 3, earlier files kept, later ones not fetched" \
    '[ $rc -eq 3 ] && failure_line 0x3BB0000E FTP_ERR_NO_SUCH_FILE && same "$local_dir/batch/one.bin" "$local_dir/partial/one.bin" && [ ! -e "$local_dir/partial/two.txt" ]'
plx mput d1 "$local_dir/batch/one.bin" "$local_dir/batch/nope.bin"
check "mput with a missing local file: exit 4 before anything is sent" '[ $rc -eq 4 ] && [ ! -e "$home/d1/one.bin" ]'
plx mget "$local_dir/batch/one.bin" d1/d2/one.bin
check "mget into something that is not a folder: exit 4" '[ $rc -eq 4 ]'

# ---- passwords ------------------------------------------------------------------------------------------------------
unset PLXFTP_PASSWORD
printf '%s\n' "$password" >"$work/pw"
plx --password-file "$work/pw" exists data.bin
check "password from a file" '[ $rc -eq 0 ] && [ "$out" = yes ]'
printf '%s\r\nsecond line\n' "$password" >"$work/pw-crlf"
plx --password-file "$work/pw-crlf" exists data.bin
check "password file with CR LF: the first line without its CR" '[ $rc -eq 0 ]'
PLXFTP_PASSWORD=$password plx exists data.bin
check "password from PLXFTP_PASSWORD" '[ $rc -eq 0 ] && [ "$out" = yes ]'
# pyftpdlib answers a wrong password after 3 seconds: a longer first time-out than the other checks use.
PLXFTP_PASSWORD=wrong plx --timeout 5 exists data.bin
check "wrong password: exit 3, FTP_ERR_PASS_DENIED" '[ $rc -eq 3 ] && failure_line 0x3BB00007 FTP_ERR_PASS_DENIED && [ -z "$out" ]'
PLXFTP_PASSWORD=wrong plx --password-file "$work/pw" exists data.bin
check "the password file wins over PLXFTP_PASSWORD" '[ $rc -eq 0 ]'
plx --password-file "$work/no-such-file" exists data.bin
check "unreadable password file: exit 4" '[ $rc -eq 4 ] && grep -q "cannot read password file" <<<"$err"'
plx --timeout 5 exists data.bin
check "no password and no terminal: a warning, then the login fails" \
    '[ $rc -eq 3 ] && grep -q "warning: no password" <<<"$err" && failure_line 0x3BB00007 FTP_ERR_PASS_DENIED'
check "the password never appears in the server's log" '! grep -qF "$password" "$work/server.log"'
export PLXFTP_PASSWORD=$password

# ---- connections and the log ----------------------------------------------------------------------------------------
closed_port=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1]); s.close()')
raw -v -P "$closed_port" -u "$user" --timeout 1 --retries 1 --retry-timeout 1 127.0.0.1 ls
check "no server: exit 3, FTP_ERR_CONNECT" '[ $rc -eq 3 ] && failure_line 0x3BB00001 FTP_ERR_CONNECT'
check "-v shows the library's error lines as [error 0x... file:function] text" \
    'grep -Eq "^\[error 0x3BB00001 ftpclientcom:Connect\] .+" <<<"$err"'
plx -v exists data.bin
check "-v shows plxftp's own steps and the library's info lines" \
    '[ $rc -eq 0 ] && grep -q "^\[plxftp\] login to 127.0.0.1:$port as $user$" <<<"$err" && grep -Eq "^\[info [a-zA-Z]+:[A-Za-z_]+\] " <<<"$err"'
plx exists data.bin
check "without -v the library logs nothing" '[ -z "$err" ]'
"$plxftp" -P "$port" -u "$user" "${fast[@]}" localhost exists data.bin >"$work/out" 2>"$work/err" </dev/null
rc=$? out=$(cat "$work/out") err=$(cat "$work/err")
check "a host name works (looked up to its address)" '[ $rc -eq 0 ] && [ "$out" = yes ]'

# ---- removal --------------------------------------------------------------------------------------------------------
plx rm d1/renamed.bin
check "rm" '[ $rc -eq 0 ] && [ "$out" = "rm: d1/renamed.bin" ] && [ ! -e "$home/d1/renamed.bin" ]'
plx rm d1/renamed.bin
check "rm of a missing file: exit 3 with the code" '[ $rc -eq 3 ] && failure_line 0x3BB0000E FTP_ERR_NO_SUCH_FILE'
plx rmdir d1
check "rmdir of a directory holding a subdirectory: exit 3, FTP_ERR_RMD_REPLY" \
    '[ $rc -eq 3 ] && failure_line 0x3BB0000B FTP_ERR_RMD_REPLY && [ -d "$home/d1/d2" ]'
plx rmdir d1/d2
check "rmdir deletes the files inside, then the directory" '[ $rc -eq 0 ] && [ "$out" = "rmdir: d1/d2" ] && [ ! -e "$home/d1/d2" ]'
plx rmdir d1
check "rmdir of the then empty parent" '[ $rc -eq 0 ] && [ ! -e "$home/d1" ]'
plx exists d1
check "exists after rmdir: no" '[ $rc -eq 1 ] && [ "$out" = no ]'

echo "# $((checks - failures)) of $checks checks passed"
[ "$failures" -eq 0 ]
