#!/usr/bin/env bash
# The messages of php_request_report for bad input.
# usage: bad_input_test.sh PROGRAM
set -euo pipefail

program="$(realpath "$1")"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failures=0

# ends_with STATUS LAST_LINE_OF_STDERR ARGUMENT...
ends_with() {
  local status="$1" message="$2" actual=0
  shift 2
  "$program" "$@" >stdout 2>stderr || actual=$?
  if [[ $actual -ne $status || "$(tail -n 1 stderr)" != "$message" ]]; then
    printf 'FAILED: %s\n  expected %s: %s\n  actual   %s: %s\n' \
      "$*" "$status" "$message" "$actual" "$(cat stderr)" >&2
    failures=$((failures + 1))
  elif [[ $status -ne 0 && -s stdout ]]; then
    echo "FAILED: $*: bad input, and yet there is a report" >&2
    failures=$((failures + 1))
  fi
}

# refuses BYTES COMPLAINT, with the bytes as printf reads them
refuses() {
  printf '%b' "$1" >input
  ends_with 1 "php_request_report: input: $2" input
}

# A request of process 7: 39 bytes after the length, the type's name in 33, the message in 2.
record='\x27\x0A\x21x/quor.protobuf.QuorPHP.RInitData\x12\x02\x30\x07'
printf '%b' "$record" >good
ends_with 0 '' good
ends_with 0 '' - <good
ends_with 0 '' --help
if ! "$program" good | grep -q ', pid 7$'; then
  echo "FAILED: the good record is not reported" >&2
  failures=$((failures + 1))
fi

usage='Prints a report of the PHP requests whose records FILE holds; - is the standard input.'
ends_with 2 "$usage"
ends_with 2 "$usage" ''
ends_with 2 "$usage" good good

ends_with 1 'php_request_report: none: cannot be opened: check the name and its permissions' none
ends_with 1 'php_request_report: .: record 1 (at byte 0) cannot be read: check that the input is a file, and readable' .
ends_with 1 'php_request_report: -: no records in it: did the script run, and to its end?' - </dev/null

refuses '' 'no records in it: did the script run, and to its end?'
no_length='has no valid length: the file is cut off here, or it is not a file of records'
refuses '\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF' "record 1 (at byte 0) $no_length"
refuses "$record"'\x80' "record 2 (at byte 40) $no_length"
refuses '\xFF\xFF\xFF\xFF\x0F' \
  'record 1 (at byte 0) starts with a length beyond 2 GiB: is this a file of records?'
refuses "$record"'\x27\x0A\x21' \
  'record 2 (at byte 40) should have 39 bytes after its length, but the input has 2: copy the file again, whole'
refuses 'not records' \
  'record 1 (at byte 0) should have 110 bytes after its length, but the input has 10: copy the file again, whole'
unnamed='does not name its type: is this a file of records?'
refuses '\x00' "record 1 (at byte 0) $unnamed"
refuses "$record"'\x02\xFF\xFF' "record 2 (at byte 40) $unnamed"
refuses '\x07\x0A\x05x/y.Z' \
  "record 1 (at byte 0) is of the unknown type 'y.Z': build this program with the schema files that the recorder used"
damaged='is not a valid quor.protobuf.QuorPHP.RInitData: its'
or_text='bytes are damaged, or a text in them is not UTF-8; record the request again'
refuses '\x27\x0A\x21x/quor.protobuf.QuorPHP.RInitData\x12\x02\x30\xFF' \
  "record 1 (at byte 0) $damaged 2 $or_text"
refuses "$record"'\x28\x0A\x21x/quor.protobuf.QuorPHP.RInitData\x12\x03\x1A\x01\xFF' \
  "record 2 (at byte 40) $damaged 3 $or_text"

# Two records, cut off after each byte: only a cut between them goes unnoticed.
cat good good >two
for ((size = 1; size < 80; ++size)); do
  status=0
  head -c "$size" two | "$program" - >stdout 2>stderr || status=$?
  if [[ $status -ne $((size == 40 ? 0 : 1)) ]]; then
    echo "FAILED: cut off after $size bytes: exit status $status" >&2
    failures=$((failures + 1))
  fi
done

status=0
"$program" good >/dev/full 2>stderr || status=$?
if [[ $status -ne 1 || "$(cat stderr)" != 'php_request_report: good: the report could not be written' ]]; then
  echo "FAILED: a full disk: exit status $status: $(cat stderr)" >&2
  failures=$((failures + 1))
fi

if [[ $failures -gt 0 ]]; then
  echo "$failures cases failed" >&2
  exit 1
fi
