#!/usr/bin/env bash
# Where route_by_queue puts jobs, and what it says about bytes that are none.
# usage: route_test.sh PROGRAM PROTOC PROTO_DIR
set -euo pipefail

readme="$(realpath "$(dirname "$0")")/README.md"
program="$(realpath "$1")" protoc="$(realpath "$2")" proto="$(realpath "$3")"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failures=0

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  failures=$((failures + 1))
}

# routes BYTES OUTPUT [FILE BYTES]..., the bytes as printf has them
routes() {
  local bytes="$1" output="$2" status=0
  shift 2
  rm -rf sorted
  printf '%b' "$bytes" >input
  "$program" input sorted >stdout 2>stderr || status=$?
  if [[ $status -ne 0 || "$(cat stdout)" != "$output" ]]; then
    fail "$bytes: exit status $status, prints: $(cat stdout stderr)"
  fi
  [[ $(find sorted -type f | wc -l) -eq $(($# / 2)) ]] ||
    fail "$bytes: the files are $(ls sorted)"
  while (($# > 0)); do
    cmp "sorted/$1.pb" <(printf '%b' "$2") >&2 || fail "$bytes: sorted/$1.pb has other bytes"
    shift 2
  done
}

# refuses BYTES COMPLAINT
refuses() {
  local status=0
  rm -rf sorted
  printf '%b' "$1" >input
  "$program" input sorted >stdout 2>stderr || status=$?
  [[ $status -eq 1 && "$(cat stderr)" == "route_by_queue: input: $2" && ! -s stdout ]] ||
    fail "$1: exit status $status, prints: $(cat stdout stderr)"
  [[ ! -e sorted ]] || fail "$1: refused, and yet something is written"
}

if readelf --dynamic "$program" | grep 'NEEDED.*\(qmsg\|protobuf\)' >&2; then
  fail "the program loads a library of which it needs only constants"
fi

# A job is field 1 of the list; of a job, job_id is field 1, queue_id 5, queue_name 6 and body 9.
first='\x0A\x04\x08\x01\x28\x07'              # job 1, queue 7
second='\x0A\x05\x08\x02\x28\xAC\x02'         # job 2, queue 300
third='\x0A\x08\x08\x03\x28\x07\x4A\x02hi'    # job 3, queue 7, with a body
routes "$first" 'queue 7: 1 job' 7 "$first"
# shellcheck disable=SC2016  # The backquotes are Markdown's.
from_readme="$(sed -n '/^```text$/,/^```$/{/^```/d;p}' "$readme")"
routes "$first$second$third" "$from_readme" 7 "$first$third" 300 "$second"

"$protoc" --proto_path="$proto" --decode=quor.protobuf.JQ.JobList jobqueue.proto \
  <sorted/7.pb >decoded
cmp decoded - >&2 <<'JOBS' || fail "what is written is not the list of the jobs 1 and 3"
jobs {
  job_id: 1
  queue_id: 7
}
jobs {
  job_id: 3
  queue_id: 7
  body: "hi"
}
JOBS

routes '' ''
routes '\x0A\x00' 'queue 0: 1 job' 0 '\x0A\x00'
# -2 is a number of ten bytes.
negative='\x0A\x0B\x28\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01'
routes "$negative" 'queue -2: 1 job' -2 "$negative"
# Two numbers: the last one holds. One in bytes is no number, but an unknown field.
twice='\x0A\x06\x28\x01\x28\x02\x2A\x00'
routes "$twice" 'queue 2: 1 job' 2 "$twice"
# A field 5 inside the attributes (field 3) or in a text is not the job's.
inside='\x0A\x0A\x1A\x02\x28\x09\x4A\x02\x28\x09\x28\x03'
routes "$inside" 'queue 3: 1 job' 3 "$inside"
# Field 1000 is unknown, and is passed on.
unknown='\x0A\x05\xC0\x3E\x2A\x28\x04'
routes "$unknown" 'queue 4: 1 job' 4 "$unknown"

damaged() { echo "job $1 is damaged or cut off ($2): copy the file again, whole"; }
short='end of buffer exception'
refuses '\x0A' "$(damaged 1 "$short")"
refuses '\x0A\x04\x08\x01\x28' "$(damaged 1 "$short")"
refuses "$first"'\x0A\x05\x08\x02' "$(damaged 2 "$short")"
refuses '\x0A\x01\x28' "$(damaged 1 "$short")"
refuses '\x0A\x02\x28\x80' "$(damaged 1 "$short")"
refuses '\x0A\x03\x4A\x02h' "$(damaged 1 "$short")"
refuses '\x0A\x0B\x28\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF' \
  "$(damaged 1 'varint too long exception')"
refuses "$first"'\x0A\x02\x00\x00' "$(damaged 2 'invalid tag exception')"
refuses '\x0A\x01\x2B' "$(damaged 1 'unknown pbf field type exception')"
refuses "$first"'\x10\x01' 'field 2 beside the jobs belongs to no queue:'\
' build this program with the schema files of its writer'

# Cut off after each byte: only a cut between two jobs can go unnoticed.
printf '%b' "$first$second$third" >whole
for ((size = 1; size < 23; ++size)); do
  status=0
  head -c "$size" whole >input
  "$program" input sorted >stdout 2>stderr || status=$?
  [[ $status -eq $((size == 6 || size == 13 ? 0 : 1)) ]] ||
    fail "cut off after $size bytes: exit status $status"
done

# complains STATUS LAST_LINE ARGUMENT...
complains() {
  local expected="$1" line="$2" status=0
  shift 2
  "$program" "$@" >stdout 2>stderr || status=$?
  [[ $status -eq $expected && "$(tail -n 1 stderr)" == "$line" ]] ||
    fail "$*: exit status $status: $(cat stderr)"
}
usage='FOLDER/QUEUE_ID.pb. FOLDER is created if it does not exist.'
complains 2 "$usage"
complains 2 "$usage" input
unreadable='cannot be opened: check the name and its permissions'
complains 1 "route_by_queue: none: $unreadable" none sorted
complains 1 "route_by_queue: .: $unreadable" . sorted
rm -rf sorted
mkdir -p sorted/7.pb
complains 1 'route_by_queue: sorted/7.pb: cannot be written' whole sorted

status=0
rm -rf sorted
"$program" whole sorted >/dev/full 2>stderr || status=$?
full='route_by_queue: the list of the queues could not be written'
[[ $status -eq 1 && "$(cat stderr)" == "$full" ]] ||
  fail "a full disk: exit status $status: $(cat stderr)"

if ((failures > 0)); then
  echo "$failures cases failed" >&2
  exit 1
fi
