#!/usr/bin/env bash
# Builds the web site into OUT_DIR: its pages by Python, its scripts by esbuild from npm.
# Usage: build.sh DESCRIPTOR_SET NPM_DIR OUT_DIR
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
# shellcheck source=../implementations/npm.sh
source "$here/../implementations/npm.sh"

(($# == 3)) || { sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}" >&2; exit 2; }
descriptor_set=$1
npm_dir=$(realpath -m "$2")
out=$3

# Installs the packages again only after a change of package-lock.json.
if ! cmp --silent "$here/package-lock.json" "$npm_dir/package-lock.json" ||
  [[ ! -x $npm_dir/node_modules/.bin/esbuild ]]; then
  install_npm_packages "$here" "$npm_dir"
fi

/usr/bin/python3 -B "$here/build_site.py" "$descriptor_set" "$out"
for script in search decoder; do
  NODE_PATH=$npm_dir/node_modules "$npm_dir/node_modules/.bin/esbuild" "$here/$script/main.js" \
    --bundle --minify --format=iife --target=es2020 --charset=utf8 --legal-comments=linked \
    --log-level=warning --outfile="$out/$script.js"
done
