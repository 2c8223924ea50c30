#!/usr/bin/env bash
# Usage: run.sh EXTENSION PHP_CONFIG QMSG [TEST...]
# Runs the .phpt files of this folder, or some, with PHP's own runner. QMSG is the tool. The tests find
# both in the environment, with the golden bytes and the stub.
# QMSG_PHP_UNDER, if set, is a program with options that PHP runs under, such as valgrind. Its reports go to
# the folder QMSG_REPORTS; each one is a failure.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
QMSG_EXTENSION=$(realpath "$1")
QMSG=$(realpath "$3")
QMSG_VECTORS=$(realpath "$here/../../tests/vectors")
QMSG_STUB=$(realpath "$here/../qmsg.stub.php")
export QMSG_EXTENSION QMSG QMSG_VECTORS QMSG_STUB
php=$("$2" --php-binary)
runner=$("$2" --extension-dir)/build/run-tests.php
shift 3
(($# > 0)) || set -- "$here"/*.phpt

# The runner writes its files beside the tests.
folder=$(mktemp --directory)
trap 'rm --recursive --force "$folder"' EXIT
mkdir "$folder/tests" "$folder/reports"
cp "$@" "$here"/*.inc "$folder/tests"
cd "$folder/tests"
export TEST_PHP_EXECUTABLE=$php
if [[ -n ${QMSG_PHP_UNDER-} ]]; then
  # The runner asks PHP for its extensions first, and loads each one for that.
  # The engine's allocator would hide which block a pointer belongs to.
  cat >"$folder/php" <<WRAPPER
#!/bin/sh
case "\$*" in *run-test-info.php*) exec $php "\$@" ;; esac
USE_ZEND_ALLOC=0 USE_TRACKED_ALLOC=1 ZEND_DONT_UNLOAD_MODULES=1 \\
  exec env ${QMSG_PHP_UNDER//QMSG_REPORTS/$folder/reports} $php -d pcre.jit=0 "\$@"
WRAPPER
  chmod +x "$folder/php"
  export TEST_PHP_EXECUTABLE=$folder/php TEST_TIMEOUT=900
fi
status=0
NO_INTERACTION=1 "$php" -n "$runner" -n -q --offline --show-diff -d extension="$QMSG_EXTENSION" . ||
  status=$?
find "$folder/reports" -type f -size +0 -exec cat {} + | tee "$folder/report"
[[ ! -s $folder/report ]] || status=1
exit "$status"
