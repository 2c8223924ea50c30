#!/usr/bin/env bash
# Who may not remove the files is told so, and can uninstall later with the permission.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"
skip_unless_permissions_count

advice='See cmake/uninstall.cmake.'
build=$QMSG_SCRATCH/permission/build
prefix=$QMSG_SCRATCH/permission/prefix
stage "$build" "-DCMAKE_INSTALL_PREFIX=$prefix"
[[ ! -d $prefix ]] || chmod -R u+w "$prefix"
rm -rf "$prefix"
cmake --install "$build"

chmod -R a-w "$prefix"
expect_refusal 'uninstalling from a folder that is write-protected' \
  with_permissions cmake --build "$build" --target uninstall
chmod -R u+w "$prefix"
expect_text 'the refusal' "Cannot remove $prefix/" "$refusal" "$advice"

cmake --build "$build" --target uninstall
[[ ! -e $prefix ]] ||
  fail 'uninstalling with the permission' 'no prefix' "$(installed_files "$prefix")" "$advice"
