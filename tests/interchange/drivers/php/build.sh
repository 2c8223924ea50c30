#!/usr/bin/env bash
# Generates the PHP classes and the command that starts the driver.
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
out="$(realpath -m "$1")" proto="$(realpath "$2")"

if ! php -r 'exit(function_exists("bccomp")
    && stream_resolve_include_path("Google/Protobuf/Internal/Message.php") ? 0 : 1);' \
  2>/dev/null; then
  echo "php: PHP with bcmath and with the protobuf classes is missing." >&2
  echo "On Debian: apt-get install php-cli php-bcmath php-google-protobuf" >&2
  exit 3
fi

rm -rf "$out/classes"
mkdir -p "$out/classes"
protoc --proto_path="$proto" --php_out="$out/classes" "$proto"/*.proto

cat >"$out/driver" <<DRIVER
#!/bin/sh
exec php -d display_errors=stderr '$here/driver.php' '$out/classes'
DRIVER
chmod +x "$out/driver"
