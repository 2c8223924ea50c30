#!/usr/bin/env bash
# Usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(realpath -m "$1") schemas=$(realpath "$2")

missing() {
  echo "The C driver needs Debian's package $1" >&2
  exit 3
}
[[ -x /usr/bin/protoc-gen-c ]] || missing protobuf-c-compiler
[[ -e /usr/include/protobuf-c/protobuf-c.h ]] || missing libprotobuf-c-dev
[[ -e /usr/include/google/protobuf/timestamp.proto ]] || missing libprotobuf-dev

mkdir -p "$out/generated"
cd "$out/generated"
protoc --plugin=/usr/bin/protoc-gen-c --c_out=. "--proto_path=$schemas" --proto_path=/usr/include \
  "$schemas"/*.proto google/protobuf/{timestamp,duration}.proto

# Nothing in protobuf-c finds a message by its name, but the headers declare every descriptor.
for header in *.pb-c.h; do
  echo "#include \"$header\""
done >types.h
{
  echo 'static const ProtobufCMessageDescriptor* const types[] = {'
  sed -n 's/^extern const ProtobufCMessageDescriptor \(.*\);/    \&\1,/p' ./*.pb-c.h
  echo '};'
} >>types.h

"${CC:-cc}" -std=gnu11 -O2 -Wall -Wextra -I. -o "$out/driver" \
  "$here/driver.c" ./*.pb-c.c google/protobuf/*.pb-c.c -lprotobuf-c
