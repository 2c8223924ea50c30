#!/usr/bin/env bash
# Usage: cmake/windows/wine.sh FOLDER:... PROGRAM ARGUMENT...
# Runs a Windows program under Wine, with a Wine folder of its own in the user's cache. DLLs are
# looked for beside the program, then in the FOLDERs, then in those of the compiler.
set -euo pipefail

folders=$1
shift
for dll in libgcc_s_seh-1.dll libwinpthread-1.dll; do
  folders+=:$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=$dll)")
done
WINEPATH=$(sed 's,:,;Z:,g; s,^,Z:,' <<<"$folders")
export WINEPATH

export WINEPREFIX=${WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/qmsg/windows/wine}
export WINEDEBUG=${WINEDEBUG--all}
# No menus, no offer to fetch what Wine does not bring along, and no debugger that would keep a program
# that crashed.
export WINEDLLOVERRIDES="winemenubuilder.exe,winedbg.exe,mscoree,mshtml="
unset DISPLAY
mkdir --parents "$WINEPREFIX"

# One server for all programs that run within a minute of each other; it ends by itself. A program
# that starts while a server ends would fail.
/usr/lib/wine/wineserver --persistent=60 </dev/null >/dev/null 2>&1 || true # there is one

# Wine's services outlive the program that they were started for, and would keep its output open.
output=$(mktemp --directory)
trap 'rm --recursive --force "$output"' EXIT
status=0
/usr/lib/wine/wine64 "$@" >"$output/stdout" 2>"$output/stderr" || status=$?
cat "$output/stderr" >&2
if [[ " $* " == *" --gtest_list_tests "* ]]; then
  tr --delete '\r' <"$output/stdout" # CMake takes lines as they come
else
  cat "$output/stdout"
fi
exit "$status"
