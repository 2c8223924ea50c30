#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The driver of the interchange test wants the same modules.
"$here/../../../tests/interchange/drivers/python/build.sh" "$1" "$2" "$3" "$4"
cat >"$1/run" <<RUN
#!/bin/sh
mode=\$1
shift
PYTHONDONTWRITEBYTECODE=1 exec /usr/bin/python3 '$here/peer.py' "\$mode" '$1/modules' \\
  '$4/libqmsg.so.1' "\$@"
RUN
chmod +x "$1/run"
