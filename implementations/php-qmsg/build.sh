#!/usr/bin/env bash
# usage: build.sh benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=$1 out=$2 build=$4

missing() {
  echo "Debian's package $1 is missing"
  exit 3
}
command -v php >/dev/null || missing php-cli
command -v php-config >/dev/null || missing php-dev
cmake --build "$build" --target qmsg_php

cat >"$out/$program" <<PROGRAM
#!/bin/sh
exec php -n -d display_errors=stderr -d extension='$build/php/qmsg.so' '$here/$program.php' "\$@"
PROGRAM
chmod +x "$out/$program"
