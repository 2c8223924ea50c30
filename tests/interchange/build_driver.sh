#!/usr/bin/env bash
# Builds the driver in a folder of drivers/.
# usage: build_driver.sh DRIVER OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
# A driver whose runtime is missing is left out (exit status 3), but not in CI.
set -euo pipefail
driver=$1 out=$2
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

mkdir -p "$out"
rm -f "$out/missing" "$out/driver"
status=0
"$here/drivers/$driver/build.sh" "$@" 2>&1 | tee "$out/build.log" || status=$?
if ((status == 3)); then
  mv "$out/build.log" "$out/missing"
  if [[ ${CI-} ]]; then
    status=1
  fi
elif ((status == 0)) && [[ ! -x $out/driver ]]; then
  echo "drivers/$driver/build.sh has made no $out/driver" >&2
  status=1
fi
exit "$status"
