#!/usr/bin/env bash
# Installs to one prefix and moves that to where the other tests look for it: they all find out
# whether the installed files can be moved.
set -euo pipefail
here=$(dirname "$0")
. "$here/stage.sh"

rm -rf "$QMSG_SCRATCH/first prefix" "$QMSG_PREFIX"
stage "$QMSG_SCRATCH/stage" "-DCMAKE_INSTALL_PREFIX=$QMSG_SCRATCH/first prefix"
cmake --install "$QMSG_SCRATCH/stage"
mv "$QMSG_SCRATCH/first prefix" "$QMSG_PREFIX"
