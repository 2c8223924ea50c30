#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
out=$1 proto=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

missing() {
  echo "missing: $1" >&2
  exit 3
}
command -v protoc >/dev/null || missing protobuf-compiler
/usr/bin/python3 -c 'import google.protobuf' 2>/dev/null || missing python3-protobuf

rm -rf "$out/modules"
mkdir -p "$out/modules"
protoc --proto_path="$proto" --python_out="$out/modules" "$proto"/*.proto
cat >"$out/driver" <<WRAPPER
#!/bin/sh
PYTHONDONTWRITEBYTECODE=1 exec /usr/bin/python3 "$here/driver.py" "\$1" "$out/modules"
WRAPPER
chmod +x "$out/driver"
