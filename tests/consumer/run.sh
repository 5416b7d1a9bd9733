#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds and runs the consumer program against it twice:
# through the CMake package and through pkg-config.
# Usage: run.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d /tmp/plx_consumer_XXXXXX)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
# A port with nothing behind it.
port=$(/usr/bin/python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')

echo "-- CMake package"
cmake -S "$source/tests/consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer" "$port"

echo "-- pkg-config"
pcdir=$(dirname "$(find "$work/prefix" -name plxftpclient.pc)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs plxftpclient)
libdir=$(PKG_CONFIG_PATH="$pcdir" pkg-config --variable=libdir plxftpclient)
g++ -std=c++17 "$source/tests/consumer/main.cpp" $flags -Wl,-rpath,"$libdir" -o "$work/consumer-pc"
"$work/consumer-pc" "$port"

echo "-- the installed command-line tool runs from the prefix"
"$work/prefix/bin/plxftp" --help >/dev/null

echo "-- installed files"
(cd "$work/prefix" && find . -type f -o -type l | sort)
