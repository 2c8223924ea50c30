#!/usr/bin/env bash
# A packager's installation: below DESTDIR, with a library folder given as an absolute path.
# Uninstalling takes it away again, unless DESTDIR was forgotten.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"
. "$here/stage.sh"

advice='See cmake/Install.cmake, cmake/UninstallTarget.cmake and cmake/uninstall.cmake.'
build=$QMSG_SCRATCH/destdir/build
root="$QMSG_SCRATCH/destdir/package root"
rm -rf "$root"

# Nobody can write there, were DESTDIR not honoured. The tool would have to be linked anew: the build
# leaves room in it for the way to the library folder, and this one is longer.
stage "$build" -DCMAKE_INSTALL_PREFIX=/proc/usr -DCMAKE_INSTALL_LIBDIR=/proc/usr/lib/machine \
  -DQMSG_BUILD_TOOLS=OFF
DESTDIR=$root cmake --install "$build"
PKG_CONFIG_PATH=$root/proc/usr/lib/machine/pkgconfig
export PKG_CONFIG_PATH
expect_folder() { # VARIABLE EXPECTED
  eval "local folder=$(pkg-config --variable="$1" qmsg)" # pkg-config quotes for the shell
  # shellcheck disable=SC2154  # assigned by eval
  expect_equal "$1 of the staged qmsg.pc" "$root/proc/usr/$2" \
    "$(realpath --canonicalize-missing "$folder")" "$advice"
}
expect_folder libdir lib/machine
expect_folder includedir include

expect_refusal 'uninstalling without DESTDIR' cmake --build "$build" --target uninstall
expect_text 'the refusal' 'Set DESTDIR as it was for the installation' "$refusal" "$advice"

DESTDIR=$root cmake --build "$build" --target uninstall
left=$(find "$root" 2>/dev/null) || true
expect_equal 'what uninstalling leaves' '' "$left" "$advice"
