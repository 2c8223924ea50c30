#!/usr/bin/env bash
# Builds a program of an implementation that CMake does not build.
# usage: build.sh IMPLEMENTATION driver|benchmark BUILD_DIR
# The program is BUILD_DIR/implementations/IMPLEMENTATION/driver or benchmark. If its toolchain is
# missing, the file `missing` in that folder says what to install, and the exit status is 3. In CI that is
# an error, unless this release of Debian does not have the package.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if (($# != 3)); then
  echo "usage: $0 IMPLEMENTATION driver|benchmark BUILD_DIR" >&2
  exit 2
fi
implementation=$1 program=$2 build=$(realpath "$3")
out=$build/implementations/$implementation

mkdir -p "$out"
rm -f "$out/missing" "$out/$program"
status=0
"$here/$implementation/build.sh" "$program" "$out" "$(realpath "$here/../proto")" "$build" 2>&1 |
  tee "$out/build.log" || status=$?
if ((status == 3)); then
  mv "$out/build.log" "$out/missing"
  package=$(sed --quiet "s/^Debian's package \(.*\) is missing$/\1/p" "$out/missing")
  if [[ $program == driver && ${CI-} ]] &&
    { [[ -z $package ]] || apt-cache show "$package" &>/dev/null; }; then
    status=1
  fi
elif ((status == 0)) && [[ ! -x $out/$program ]]; then
  echo "implementations/$implementation/build.sh has not written $out/$program" >&2
  status=1
fi
exit "$status"
