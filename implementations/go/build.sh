#!/usr/bin/env bash
# usage: build.sh driver|benchmark OUT_DIR PROTO_DIR BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=$1 out=$2 schemas=$3 build=$4

missing() {
  echo "Debian's package $1 is missing"
  exit 3
}
[[ -x /usr/bin/go ]] || missing golang-go
[[ -d /usr/share/gocode/src/google.golang.org/protobuf ]] || missing golang-google-protobuf-dev

# Debian installs Go's libraries as a GOPATH: build in one, and fetch nothing.
export GO111MODULE=off GOPROXY=off GOFLAGS='' "GOPATH=$out/gopath:/usr/share/gocode" \
  "GOCACHE=$out/cache"
folder=$out/gopath/src/$program
mkdir -p "$folder"
cp "$here/$program.go" "$folder"
if [[ $program == driver ]]; then
  cp "$build/src/generated/qmsg.desc" "$folder"
else
  /usr/bin/go build -o "$out/protoc-gen-go" google.golang.org/protobuf/cmd/protoc-gen-go
  options=()
  for name in jobqueue quorphp tarq; do
    options+=("--go_opt=M$name.proto=qmsg/$name")
  done
  protoc "--plugin=$out/protoc-gen-go" "--go_out=$out/gopath/src" "${options[@]}" \
    "--proto_path=$schemas" jobqueue.proto quorphp.proto tarq.proto
fi
/usr/bin/go build -o "$out/$program" "$program"
