#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The driver of the interchange test wants the same classes.
"$here/../../../tests/interchange/drivers/php/build.sh" "$1" "$2" "$3" "$4"
cat >"$1/run" <<RUN
#!/bin/sh
exec php -d display_errors=stderr '$here/peer.php' '$1/classes' "\$@"
RUN
chmod +x "$1/run"
