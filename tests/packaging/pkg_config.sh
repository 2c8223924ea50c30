#!/usr/bin/env bash
# Usage: pkg_config.sh COMPILER_OPTION...
# Builds the stranger's program with nothing but the compiler and pkg-config, and runs it.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

library_dir=$QMSG_PREFIX/$QMSG_LIBDIR
program=$QMSG_SCRATCH/pkg_config$(printf %s "$@")
PKG_CONFIG_PATH=$library_dir/pkgconfig
export PKG_CONFIG_PATH
eval "flags=($(pkg-config --cflags --libs qmsg))" # pkg-config quotes for the shell

# shellcheck disable=SC2086,SC2154  # a list of options; assigned by eval
"$CXX" $CXXFLAGS "$@" "$here"/consumer/{main,quoted_include}.cc "${flags[@]}" -o "$program"
LD_LIBRARY_PATH=$library_dir "$program" ||
  fail "a program built with '$*' and pkg-config" 'exit status 0' "$?, after the lines above" \
    'Data has to be shared with the executable: see the link options in src/CMakeLists.txt.'
