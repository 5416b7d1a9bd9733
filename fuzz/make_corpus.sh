#!/usr/bin/env bash
# Regenerates the seed corpora under fuzz/corpus/ from the project's real data: the LIST replies captured from four
# servers (tests/data/listings), reply texts, passive replies, paths and roots used by the test suites.
# The generated files are kept in the repository; run this only to rebuild them.
# Escapes in the texts below are printf %b escapes: \r, \n, \\ and \xHH (\x00 is a NUL byte).
set -euo pipefail
fuzz=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$fuzz/.." && pwd)
corpus=$fuzz/corpus

put() {  # put <target> <file name> <text with %b escapes>
  mkdir -p "$corpus/$1"
  printf '%b' "$3" >"$corpus/$1/$2"
}

rm -rf "$corpus"

# ---- fuzz_listing: raw LIST bytes ---------------------------------------------------------------------------------
mkdir -p "$corpus/fuzz_listing"
for server in vsftpd proftpd pureftpd pyftpdlib; do
  cp "$root/tests/data/listings/$server.txt" "$corpus/fuzz_listing/$server.txt"
done
put fuzz_listing unix_lines.txt 'total 24\r\n-rw-r--r-- 1 user group 1234 Nov 20 10:15 report.txt\r\ndrwxr-xr-x 2 user group 4096 Jan 15  2024 archive\r\nlrwxrwxrwx 1 user group 11 Nov 21 08:00 current -> release-1.2\r\ndrwxr-xr-x 5 user group 4096 Nov 21 09:00 .\r\ndrwxr-xr-x 5 user group 4096 Nov 21 09:00 ..\r\ncrw-rw-rw- 1 root root 1, 3 Jan  1  2020 null\r\n---------- 1 a b 0 Jan  1  2020 x\r\nd-wx------ 1 a b 0 Jan  1  2020 dropbox\r\nlrwxrwxrwx 1 a b 4 Jan  1  2020 a -> b -> c\r\n-rw-r--r-- 1 a b 10 Jan  2 10:30:15 secs\r\n'
put fuzz_listing dates.txt '-rw-r--r-- 1 a b 10 JAN  1  2020 upper\n-rw-r--r-- 1 a b 10 January 1 2020 long\n-rw-r--r-- 1 a b 10 Foo 1 2020 nomonth\n-rw-r--r-- 1 a b 10 2021 03 04 numeric\n-rw-r--r-- 1 a b 10 03 04 05:06 numtime\n-rw-r--r-- 1 a b 10 Jan  2 9:5 short\n-rw-r--r-- 1 a b 1 Jan 123  2020 wide\n-rw-r--r-- 1 a b 99999999999999 Jan  1  2020 huge\n'
put fuzz_listing odd_bytes.txt '-rw-r--r--\t1\ta\tb\t10\tJan\t1\t2020\ttabbed name\r\n-rw-r--r-- 1 a b 1 Nov 21 09:04 we\xffird\x01name\r\n-rw-r--r-- 1 a b 1 Jan  1  2020 cr\rname\r\ndrwxr-xr-x 2 a b 4096 Jan  1  2020 trail  \r\n-rw-r--r-- 1 owner 10 Jan  1  2020 eight\r\n-rw-r--r-- 1 a b 1 Nov 21 09:04 \xc3\xbcmlaut.txt\r\n-rw-r--r-- 1 a b 1 Jan  1  2020 after nul\x00 hidden\r\nno line feed at the end'
put fuzz_listing msdos.txt '03-15-21  09:41AM       <DIR>          sub dir\r\n03-15-21  09:41AM              1234 report.txt\r\n11-21-26  10:00PM                 0 empty file.bin\r\n01-01-20  12:00AM       <DIR>          .\r\n'

# ---- fuzz_reply: byte 0 = k (low four bits), k chunk lengths (byte b = b + 1 bytes), then the server's bytes ------
put fuzz_reply greeting_multiline '\x00220-Welcome\r\n220 Ready\r\n'
put fuzz_reply three_lines '\x00220-Welcome\r\n220-second\r\n220 Ready\r\n'
put fuzz_reply three_receives '\x02\x0c\x0b220-Welcome\r\n220-second\r\n220 Ready\r\n'
put fuzz_reply final_line_split '\x01\x01220 Ready\r\n'
put fuzz_reply line_feed_alone '\x01\x0a550 Failed\r\n'
put fuzz_reply lone_line_feed_first '\x01\x00\n200 ok\r\n'
put fuzz_reply not_found '\x00550 /x: No such file or directory\r\n'
put fuzz_reply permission '\x00550 Permission denied\r\n'
put fuzz_reply exists '\x00550 Directory exists\r\n'
put fuzz_reply login_refused '\x00220-hello\r\n530 Not logged in.\r\n'
put fuzz_reply two_replies '\x00150 Opening\r\n226 Done\r\n'
put fuzz_reply passive '\x00227 Entering Passive Mode (127,0,0,1,195,80).\r\n'
put fuzz_reply shutdown '\x00220-FTP\r\n220 server is going to shutdown\r\n'
put fuzz_reply shutdown_421 '\x00421 FTP server shutdown\r\n'
put fuzz_reply unknown_code '\x00999 x\r\n'
put fuzz_reply low_code '\x00099 x\r\n'
put fuzz_reply no_final_line '\x00220-Welcome\r\n220-to\r\n'
put fuzz_reply no_line_feed '\x00550 Failed\r'
put fuzz_reply nul_first '\x01\x02\x00\x00\x00200 later\r\n'
put fuzz_reply pwd '\x00257 "/home/u" is the current directory\r\n'

# ---- fuzz_pasv: host, NUL, reply ----------------------------------------------------------------------------------
put fuzz_pasv loopback '127.0.0.1\x00227 Entering Passive Mode (127,0,0,1,195,80).\r\n'
put fuzz_pasv private '192.168.0.10\x00227 Entering Passive Mode (192,168,0,10,195,80).\r\n'
put fuzz_pasv bare '192.168.0.10\x00227 (192,168,0,10,300,1)\r\n'
put fuzz_pasv letters '192.168.0.10\x00227 (192,168,0,10,x,y)\r\n'
put fuzz_pasv no_parenthesis '192.168.0.10\x00227 =192,168,0,10,4,1\r\n'
put fuzz_pasv one_port_field '192.168.0.10\x00227 Entering Passive Mode (192,168,0,10,195).\r\n'
put fuzz_pasv no_port '192.168.0.10\x00227 (192,168,0,10)\r\n'
put fuzz_pasv host_name 'localhost\x00227 Entering Passive Mode (127,0,0,1,195,80).\r\n'
put fuzz_pasv other_host '127.0.0.1\x00227 Entering Passive Mode (10,0,0,12,4,1).\r\n'

# ---- fuzz_wildcard: text, NUL, pattern ----------------------------------------------------------------------------
put fuzz_wildcard shutdown '421 FTP server shutdown\r\n\x00*FTP*server*shutdown*'
put fuzz_wildcard permission '550 Permission denied\r\n\x00*Permission denied*'
put fuzz_wildcard no_such_file '550 /x: No such file or directory\r\n\x00*No such file or directory*'
put fuzz_wildcard cant_open '501 Can'"'"'t open file\x00*Can'"'"'t open file*'
put fuzz_wildcard exists '550 Directory exists\r\n\x00*exists*'
put fuzz_wildcard question 'report.txt\x00rep?rt.*'
put fuzz_wildcard star_question 'ac\x00a*?c'
put fuzz_wildcard backtrack 'aaaaaaaaaaaaaaaaaaaab\x00*a*a*a*a*b'

# ---- fuzz_rootjoin: root, NUL, path -------------------------------------------------------------------------------
put fuzz_rootjoin home 'https://fal.aimuse.tech/hf/home/u\x00a/b'
put fuzz_rootjoin home_slash 'https://fal.aimuse.tech/hf/home/u/\x00/a'
put fuzz_rootjoin top '/\x00x'
put fuzz_rootjoin double_slash '//\x00x'
put fuzz_rootjoin home_double_slash 'https://fal.aimuse.tech/hf/home/u//\x00x'
put fuzz_rootjoin backslashes '\\srv\\ftp\x00f'
put fuzz_rootjoin drive 'E:\\ftp\x00f'
put fuzz_rootjoin drive_top 'E:\\\x00f'
put fuzz_rootjoin backslash_path 'https://fal.aimuse.tech/hf/home/u\x00\\d\\f'
put fuzz_rootjoin dot_dot 'https://fal.aimuse.tech/hf/home/u\x00../x'
put fuzz_rootjoin empty_root '\x00a'
put fuzz_rootjoin empty_path 'https://fal.aimuse.tech/hf/home/u\x00'

# ---- fuzz_pathsplit: the path -------------------------------------------------------------------------------------
put fuzz_pathsplit deep 'https://fal.aimuse.tech/hf/a/b/c.txt'
put fuzz_pathsplit top_file '/c.txt'
put fuzz_pathsplit bare 'c.txt'
put fuzz_pathsplit backslashes 'a\\b\\c'
put fuzz_pathsplit trailing_slash 'dir/'
put fuzz_pathsplit slash '/'
put fuzz_pathsplit double_slash '//x'
put fuzz_pathsplit blanks 'a b/c d'
put fuzz_pathsplit embedded_nul 'https://fal.aimuse.tech/hf/a/b\x00/c/d'

echo "seed corpora written to $corpus"
