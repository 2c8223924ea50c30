#!/usr/bin/env bash
# Usage: headers.sh STANDARD
# All headers compile without a warning in that C++ standard, with nothing but the include path.
set -euo pipefail
here=$(dirname "$0")
. "$here/check.sh"

PKG_CONFIG_PATH=$QMSG_PREFIX/$QMSG_LIBDIR/pkgconfig
export PKG_CONFIG_PATH
eval "flags=($(pkg-config --cflags qmsg))" # pkg-config quotes for the shell

# shellcheck disable=SC2154  # assigned by eval
(cd "$QMSG_PREFIX/include" && printf '#include <%s>\n' qmsg/*.pb.h) |
  "$CXX" "-std=c++$1" -Wall -Wextra -Wpedantic -Werror -fsyntax-only "${flags[@]}" -x c++ - ||
  fail "all headers together in C++$1" 'no message' 'the lines above' \
    'The headers are generated: look at what protoc and the runtime they were made with.'
