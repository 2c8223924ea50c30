#!/usr/bin/env bash
# Installing twice leaves the same files as installing once, and uninstalling leaves none. Folders
# that were there before stay, and so do those with somebody else's file in them.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"

advice='See cmake/UninstallTarget.cmake and cmake/uninstall.cmake.'
build=$QMSG_SCRATCH/uninstall/build
prefix=$QMSG_SCRATCH/uninstall/prefix
uninstall() { cmake --build "$build" --target uninstall; }

stage "$build" "-DCMAKE_INSTALL_PREFIX=$QMSG_SCRATCH/uninstall/another prefix"
rm -rf "$prefix"
mkdir -p "$prefix/include" # as empty as /usr/local/include is at first

cmake --install "$build" --prefix "$prefix"
once=$(installed_files "$prefix")
cmake --install "$build" --prefix "$prefix"
expect_equal 'files after a second installation' "$once" "$(installed_files "$prefix")" "$advice"

touch "$prefix/share/qmsg/note"
uninstall
left=$(cd "$prefix" && find . -mindepth 1 | LC_ALL=C sort | xargs)
expect_equal 'what uninstalling leaves' './include ./share ./share/qmsg ./share/qmsg/note' \
  "$left" "$advice"

expect_refusal 'uninstalling what is not there' uninstall
expect_text 'the refusal' 'install_manifest.txt does not exist' "$refusal" "$advice"
