#!/usr/bin/env bash
# usage: build.sh driver|benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=$1 out=$2 proto=$3

if ! php -r 'exit(function_exists("bccomp")
    && stream_resolve_include_path("Google/Protobuf/Internal/Message.php") ? 0 : 1);' \
  2>/dev/null; then
  echo "php: PHP with bcmath and with the protobuf classes is missing."
  echo "On Debian: apt-get install php-cli php-bcmath php-google-protobuf"
  exit 3
fi

rm -rf "$out/classes"
mkdir -p "$out/classes"
protoc --proto_path="$proto" --php_out="$out/classes" "$proto"/*.proto

cat >"$out/$program" <<PROGRAM
#!/bin/sh
exec php -d display_errors=stderr '$here/$program.php' '$out/classes' "\$@"
PROGRAM
chmod +x "$out/$program"
