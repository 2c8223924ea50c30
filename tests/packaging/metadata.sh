#!/usr/bin/env bash
# What the installation says of itself: the version of qmsg.pc and the name that programs load.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

library_dir=$QMSG_PREFIX/$QMSG_LIBDIR
export PKG_CONFIG_PATH=$library_dir/pkgconfig

problems=$(pkg-config --validate qmsg 2>&1) || true
expect_equal 'pkg-config --validate qmsg' '' "$problems" 'Correct cmake/qmsg.pc.in.'

expect_equal 'pkg-config --modversion qmsg' "$QMSG_VERSION" "$(pkg-config --modversion qmsg)" \
  'Take the version in cmake/qmsg.pc.in from the project.'

eval "datadir=$(pkg-config --variable=datadir qmsg)" # pkg-config quotes for the shell
# shellcheck disable=SC2154  # assigned by eval
expect_equal 'the folder of the schema files, from qmsg.pc' "$QMSG_PREFIX/share/qmsg" \
  "$(realpath --canonicalize-missing "$datadir")" \
  'Correct datadir in cmake/qmsg.pc.in.'

soname=$(readelf --dynamic --wide "$library_dir/libqmsg.so" | sed -n 's/.*soname: \[\(.*\)\]/\1/p')
expect_equal 'the SONAME' libqmsg.so.1 "$soname" \
  'Programs linked before load this name: keep SOVERSION, or release a new major version.'
