#!/usr/bin/env bash
# usage: build.sh driver|benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=$1 out=$2 proto=$3 build=$4

missing() {
  echo "Debian's package $1 is missing"
  exit 3
}
command -v protoc >/dev/null || missing protobuf-compiler
/usr/bin/python3 -c 'import google.protobuf' 2>/dev/null || missing python3-protobuf

rm -rf "$out/modules"
mkdir -p "$out/modules"
protoc --proto_path="$proto" --python_out="$out/modules" "$proto"/*.proto

cat >"$out/$program" <<PROGRAM
#!/bin/sh
QMSG_LIBRARY='$build/src/libqmsg.so.1' exec /usr/bin/python3 -B '$here/$program.py' \\
  '$out/modules' "\$@"
PROGRAM
chmod +x "$out/$program"
