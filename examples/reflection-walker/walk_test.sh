#!/usr/bin/env bash
# What reflection_walker lists, and what it refuses.
# usage: walk_test.sh PROGRAM
set -euo pipefail

here="$(realpath "$(dirname "$0")")"
program="$(realpath "$1")"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failures=0

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  failures=$((failures + 1))
}

# lists OUTPUT ARGUMENT..., for the standard input
lists() {
  local output="$1" status=0
  shift
  "$program" "$@" >stdout 2>stderr || status=$?
  if [[ $status -ne 0 || "$(cat stdout)" != "$output" || -s stderr ]]; then
    fail "$*: exit status $status, prints: $(cat stdout stderr)"
  fi
}

# reads TYPE BYTES OUTPUT, the bytes as printf has them
reads() {
  lists "$3" "quor.protobuf.$1" < <(printf '%b' "$2")
}

if grep -nE '#include <qmsg/|quor::' "$here"/*.cc "$here"/*.h; then
  fail "the program names a class"
fi

# What the page shows is what the page's command prints.
sed -n '/JSON.$/,/^JSON$/{/JSON.$/d;/^JSON$/d;p}' "$here/README.md" >shown.json
# shellcheck disable=SC2016  # The backquotes are Markdown's.
shown="$(sed -n '/^```text$/,/^```$/{/^```/d;p}' "$here/README.md")"
lists "$shown" --json quor.protobuf.Tarq.SqlQueries <shown.json

# A oneof: of two members the last one; 0 is a value.
reads JQ.QueueId '\x12\x00\x08\x00' 'queue_id = 0'
reads JQ.QueueId '\x08\x05\x12\x00' 'queue_name = ""'
reads JQ.QueueId '' ''
# A map with the keys 10, -1 and 9, the value of the last an empty message.
reads JQ.AttrList '\x0a\x08\x08\x0a\x12\x04\x08\x04\x20\x07'\
'\x0a\x11\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01\x12\x04\x08\x02\x10\x00\x0a\x04\x08\x09\x12\x00' \
  'attr_list[-1].value_type = BOOL
attr_list[-1].bool_value = false
attr_list[9] = {}
attr_list[10].value_type = INTEGER
attr_list[10].int_value = 7'
# Enums: declared, not declared, and negative.
reads Monitor.Event '\x08\x04' 'event_type = PhpError'
reads Monitor.Event '\x08\x09' 'event_type = 9'
reads Monitor.Event '\x08\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01' 'event_type = -1'
# Repeated text, an empty one included; numbers at the ends of their ranges.
reads Tarq.RequestHeaders '\x12\x01a\x12\x00' 'headers[0] = "a"
headers[1] = ""'
reads CT.Header '\x08\xff\xff\xff\xff\x0f\x38\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01' \
  'flags = 4294967295
orig_data_ptr = 18446744073709551615'
reads QuorPHP.QVal '\x29\x00\x00\x00\x00\x00\x00\x00\x80' 'double_value = -0'
reads QuorPHP.QVal '\x29\x9a\x99\x99\x99\x99\x99\xb9\x3f' 'double_value = 0.1'
# Text that would upset a terminal or the next reader of lines.
reads Login.Login '\x0a\x05\x1b"\n\\=' 'hostname = "\033\"\n\\="'
# Unknown fields: at the top, in an element, in an element that has nothing else, and in a map.
reads Tarq.SqlQueries '\x78\x01\x78\x01\x12\x05\x50\x01\x7a\x01a\x12\x02\x78\x00' 'queries[0].rows = 1
queries[0].<unknown> = 1 field
queries[1].<unknown> = 1 field
<unknown> = 2 fields'
reads JQ.AttrList '\x0a\x06\x08\x01\x12\x02\x78\x01' 'attr_list[1].<unknown> = 1 field'
# A known number with another wire type is an unknown field.
reads Login.Login '\x08\x01' '<unknown> = 1 field'

# ends_with STATUS LINE INPUT ARGUMENT...
ends_with() {
  local expected="$1" line="$2" input="$3" status=0
  shift 3
  printf '%b' "$input" | "$program" "$@" >stdout 2>stderr || status=$?
  if [[ $status -ne $expected || -s stdout ]] || ! grep -qxF "$line" stderr; then
    fail "$*: exit status $status: $(cat stdout stderr)"
  fi
}
complaint='reflection_walker: the input is not a valid quor.protobuf.Login.Login:'
ends_with 1 "$complaint its 2 bytes are damaged or of another type" '\x0a\x05' quor.protobuf.Login.Login
ends_with 1 "$complaint its 3 bytes are damaged or of another type" '\x0a\x01\xff' quor.protobuf.Login.Login
ends_with 1 "$complaint host: Cannot find field." '{"host": 1}' --json quor.protobuf.Login.Login
ends_with 2 "reflection_walker: there is no type 'Login'; names are full ones, such as"\
' quor.protobuf.Tarq.SqlQueries' '' Login
usage='usage: reflection_walker [--json] TYPE <MESSAGE'
ends_with 2 "$usage" ''
ends_with 2 "$usage" '' --json
ends_with 2 "$usage" '' quor.protobuf.Login.Login extra
status=0
printf '\x0a\x01a' | "$program" quor.protobuf.Login.Login 2>stderr >/dev/full || status=$?
[[ $status -eq 1 && "$(cat stderr)" == 'reflection_walker: the lines could not be written' ]] ||
  fail "a full disk: exit status $status: $(cat stderr)"

if ((failures > 0)); then
  echo "$failures cases failed" >&2
  exit 1
fi
