# Sourced by the tests. What CMake looks at to learn the version of protobuf.
# shellcheck shell=bash

fake_protobuf_headers() { # INCLUDE_DIR VERSION
  local number
  # shellcheck disable=SC2086  # Version 3.20.3 has the number 3020003.
  number=$(printf '%d%03d%03d' ${2//./ })
  mkdir -p "$1/google/protobuf/stubs"
  echo "#define GOOGLE_PROTOBUF_VERSION $number" >"$1/google/protobuf/stubs/common.h"
  touch "$1/google/protobuf/service.h"
}

fake_protoc() { # PATH VERSION
  mkdir -p "$(dirname "$1")"
  printf '#!/bin/sh\necho libprotoc %s\n' "$2" >"$1"
  chmod +x "$1"
}
