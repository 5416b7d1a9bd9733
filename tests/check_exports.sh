#!/bin/sh
# The shared library exports the client API only: no command-layer, connection-layer, parser or ACE symbol,
# and it carries the SONAME libplxftpclient.so.1.
set -eu
lib="$1"
soname=$(objdump -p "$lib" | awk '/SONAME/ {print $2}')
[ "$soname" = "libplxftpclient.so.1" ] || { echo "SONAME is '$soname'"; exit 1; }
symbols=$(nm -D --defined-only "$lib" | c++filt | cut -d' ' -f3-)
echo "$symbols"
[ -n "$symbols" ] || { echo "no exported symbols"; exit 1; }
stray=$(echo "$symbols" | grep -v -E 'PLX_FTP_CLIENT::(CFtpClient|TkFileInfo|Ftp_File_Pair)\b' || true)
inner=$(echo "$symbols" | grep -E 'CFtpCommand|CFtpClientCom|CFtpClientImpl|ServerAddr|ACE|Interp|GetRetCode' || true)
if [ -n "$stray" ] || [ -n "$inner" ]; then
  echo "unexpected exports:"; echo "$stray"; echo "$inner"; exit 1
fi
echo "exports ok"
