#!/usr/bin/env bash
# Usage: profile.sh FOLDER
# Holds the library that ./dev profile left in build/optimised to what each library must export, and
# to the one that the same command makes of a copy of the sources in FOLDER: the same to the byte.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
. tests/install/check.sh

folder=$1
library=build/optimised/src/libqmsg.so
/usr/bin/python3 -B tests/exports/surface.py "$library" build/optimised/src/generated/qmsg
/usr/bin/python3 -B tests/exports/accessors.py "$library" build/optimised/src/generated/qmsg.desc

rm -rf "$folder"
mkdir -p "$folder"
cp -a CMakeLists.txt CMakePresets.json dev cmake proto src "$folder"
"$folder/dev" profile
expect_equal 'the optimised library, made in another folder' \
  "$(sha256sum <"$library")" "$(sha256sum <"$folder/$library")" \
  'Compare both folders of build/optimised/counts with gcov-dump -l; see src/profile.cmake.'
