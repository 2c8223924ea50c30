#!/usr/bin/env bash
# Usage: run.sh EXTENSION PHP_CONFIG QMSG [TEST...]
# Runs the .phpt files of this folder, or some, with PHP's own runner. QMSG is the tool. The tests find
# both in the environment, with the golden bytes and the stub.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
QMSG_EXTENSION=$(realpath "$1")
QMSG=$(realpath "$3")
export QMSG_EXTENSION QMSG
QMSG_VECTORS=$(realpath "$here/../../tests/vectors")
QMSG_STUB=$(realpath "$here/../qmsg.stub.php")
export QMSG_VECTORS QMSG_STUB
php=$("$2" --php-binary)
runner=$("$2" --extension-dir)/build/run-tests.php
shift 3
(($# > 0)) || set -- "$here"/*.phpt

# The runner writes its files beside the tests.
folder=$(mktemp --directory)
trap 'rm --recursive --force "$folder"' EXIT
cp "$@" "$here"/*.inc "$folder"
cd "$folder"
NO_INTERACTION=1 TEST_PHP_EXECUTABLE=$php "$php" -n "$runner" \
  -n -q --offline --show-diff -d extension="$QMSG_EXTENSION" .
