#!/usr/bin/env bash
# Usage: build.sh OUT_DIR PROTO_DIR DESCRIPTOR_SET LIBQMSG_BUILD
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
out=$(realpath -m "$1") descriptor_set=$(realpath "$3")

missing() {
  echo "The Go driver needs Debian's package $1" >&2
  exit 3
}
[[ -x /usr/bin/go ]] || missing golang-go
[[ -d /usr/share/gocode/src/google.golang.org/protobuf ]] || missing golang-google-protobuf-dev

# Debian keeps Go's libraries as a GOPATH, so the driver is built in one and nothing is fetched.
mkdir -p "$out/gopath/src/driver"
cp "$here/driver.go" "$out/gopath/src/driver/"
cp "$descriptor_set" "$out/gopath/src/driver/qmsg.desc"
env GO111MODULE=off GOPROXY=off GOFLAGS= "GOPATH=$out/gopath:/usr/share/gocode" \
  "GOCACHE=$out/cache" /usr/bin/go build -o "$out/driver" driver
