#!/usr/bin/env bash
# Usage: buf.sh COMMAND WORK_DIR PROTO_DIR
#
#   install          install buf in WORK_DIR; the other commands need no network
#   lint, format     check the schema files
#   breaking         compare them with the released ones, released.binpb
#   accept           make them the released ones, unless they break what was released
#   accept-breaking  make them the released ones
#
# Exit status 77 says that a check was skipped; in CI that is a failure.
set -euo pipefail

command=$1
work=$2
proto=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
machine=$(uname -m)
buf=$work/node_modules/@bufbuild/buf-linux-${machine/x86_64/x64}/bin/buf
export BUF_CACHE_DIR=$work/cache

cannot() {
  if [[ ${CI:-} ]]; then
    echo "Failed: $1"
    exit 1
  fi
  echo "Skipped: $1"
  exit 77
}

install_buf() {
  command -v npm >/dev/null || cannot "there is no npm, which Debian has in the package npm."
  if cmp --silent "$here/package-lock.json" "$work/package-lock.json" && [[ -x $buf ]]; then
    return
  fi
  mkdir -p "$work"
  cp "$here/package.json" "$here/package-lock.json" "$here/.npmrc" "$work"
  (cd "$work" && npm ci --no-audit --no-fund --prefer-offline) ||
    cannot "npm could not install buf."
  [[ -x $buf ]] || cannot "there is no buf for this machine ($machine)."
}

# The order of imports is part of the descriptors, and buf has another one.
without_imports() {
  grep -v '^import ' "$1"
}

check_format() {
  local formatted=$work/formatted wrong=0 file
  rm -rf "$formatted"
  "$buf" format "$proto" --config "$here/buf.yaml" --output "$formatted"
  for file in "$proto"/*.proto; do
    diff --unified --label "$file" --label "as buf formats it" \
      <(without_imports "$file") <(without_imports "$formatted/${file##*/}") || wrong=1
  done
  return "$wrong"
}

if [[ $command == install ]]; then
  install_buf
  exit
fi
[[ -x $buf ]] || cannot "buf is not installed."
config=$here/buf.yaml
released=$here/released.binpb
breaking() { "$buf" breaking "$proto" --config "$config" --against "$released"; }
accept() {
  "$buf" build "$proto" --config "$config" --exclude-source-info --output "$released"
  echo "$released now holds the schema files. Bring declarations.txt up to date, too."
}
case $command in
  lint) "$buf" lint "$proto" --config "$config" ;;
  format) check_format ;;
  breaking) breaking ;;
  accept)
    breaking || {
      echo "Not accepted: these changes break programs that use the released messages." >&2
      echo "If they are wanted: ./dev lock --breaking. docs/compatibility.md says what follows." >&2
      exit 1
    }
    accept
    ;;
  accept-breaking) accept ;;
esac
