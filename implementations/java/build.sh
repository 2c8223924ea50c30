#!/usr/bin/env bash
# usage: build.sh driver OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
out=$2 proto=$3

libraries=(/usr/share/java/{protobuf,protobuf-util,gson,guava}.jar)
if ! command -v javac >/dev/null || ! ls "${libraries[@]}" >/dev/null 2>&1; then
  echo "java: the Java compiler or a library is missing: ${libraries[*]}"
  echo "On Debian: apt-get install default-jdk-headless libprotobuf-java libgoogle-gson-java" \
    libguava-java
  exit 3
fi
class_path="$out/classes:$(IFS=:; echo "${libraries[*]}")"

rm -rf "$out/sources" "$out/classes"
mkdir -p "$out/sources" "$out/classes"
protoc --proto_path="$proto" --java_out="$out/sources" "$proto"/*.proto
mapfile -t sources < <(find "$out/sources" -name '*.java')
javac -nowarn -d "$out/classes" -cp "$class_path" "$here/Driver.java" "${sources[@]}"

cat >"$out/driver" <<DRIVER
#!/bin/sh
exec java -cp '$class_path' Driver
DRIVER
chmod +x "$out/driver"
