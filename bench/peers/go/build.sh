#!/usr/bin/env bash
# usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
out=$1 schemas=$2

missing() {
  echo "Debian's package $1 is missing" >&2
  exit 3
}
[[ -x /usr/bin/go ]] || missing golang-go
[[ -d /usr/share/gocode/src/google.golang.org/protobuf ]] || missing golang-google-protobuf-dev

# Debian keeps Go's libraries as a GOPATH, so everything is built in one and nothing is fetched.
mkdir -p "$out/gopath/src/peer"
export GO111MODULE=off GOPROXY=off GOFLAGS='' "GOPATH=$out/gopath:/usr/share/gocode" \
  "GOCACHE=$out/cache"
/usr/bin/go build -o "$out/protoc-gen-go" google.golang.org/protobuf/cmd/protoc-gen-go

options=()
for name in jobqueue quorphp tarq; do
  options+=("--go_opt=M$name.proto=qmsg/$name")
done
protoc "--plugin=$out/protoc-gen-go" "--go_out=$out/gopath/src" "${options[@]}" \
  "--proto_path=$schemas" jobqueue.proto quorphp.proto tarq.proto
cp "$here/main.go" "$out/gopath/src/peer/"
/usr/bin/go build -o "$out/run" peer
