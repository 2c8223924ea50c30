#!/usr/bin/env bash
# Runs consumer on the output of producer, and on damaged and hostile streams.
# usage: pipe_test.sh PRODUCER CONSUMER
set -euo pipefail

readme="$(realpath "$(dirname "$0")")/README.md"
producer="$(realpath "$1")" consumer="$(realpath "$2")"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failures=0

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  failures=$((failures + 1))
}

# consumes FILE STATUS OUTPUT [ERRORS]
consumes() {
  local status=0
  "$consumer" <"$1" >stdout 2>stderr || status=$?
  if [[ $status -ne $2 || "$(cat stdout)" != "$3" || "$(cat stderr)" != "${4-}" ]]; then
    fail "$1: exit status $status, prints: $(cat stdout stderr)"
  fi
}

# shellcheck disable=SC2016  # The backquotes are Markdown's.
report="$(sed -n '/^```text$/,/^```$/{/^```/d;p}' "$readme")"
"$producer" 3 | "$consumer" >piped
[[ "$(cat piped)" == "$report" ]] || fail "through a pipe: $(cat piped)"
"$producer" 3 >whole
consumes whole 0 "$report"

# Request i has i statements, statement j of which takes j times 2 ms and has j rows.
"$producer" 200 | "$consumer" >many
grep -qxF 'r200: 5 messages, 200 statements, 0 failed, 20100 rows, 40.200 s of SQL, 400 calls, '\
'1 errors, status 200 after 2.000 s' many || fail "200 requests: $(grep r200 many)"
[[ $(wc -l <many) -eq 200 ]] || fail "not 200 requests"

# Cut off at, before, after and between the ends of the messages: complete messages are summed, and
# only a cut between two messages goes unnoticed.
mapfile -t bytes < <(od -An -v -tu1 -w1 whole)
ends=(0)
for ((at = 0; at < ${#bytes[@]};)); do
  length=${bytes[at]} head=1
  if ((length > 127)); then
    length=$((length - 128 + 128 * bytes[at + 1])) head=2
  fi
  at=$((at + head + length))
  ends+=("$at")
done
[[ ${#ends[@]} -eq 14 ]] || fail "$((${#ends[@]} - 1)) messages instead of 13"
for ((number = 0; number < 13; ++number)); do
  from=${ends[number]} to=${ends[number + 1]}
  for size in "$from" $((from + 1)) $((from + 2)) $(((from + to) / 2)) $((to - 1)); do
    status=0 summed=0
    head -c "$size" whole | "$consumer" >stdout 2>stderr || status=$?
    while read -r _ messages _; do
      summed=$((summed + messages))
    done <stdout
    if [[ $summed -ne $number || $status -ne $((size == from ? 0 : 1)) ]]; then
      fail "cut off after $size bytes: exit status $status, $summed messages instead of $number"
    elif ((status == 1)) && ! grep -q \
      "^consumer: message $number at byte $from .*: what follows is lost$" stderr; then
      fail "cut off after $size bytes: $(cat stderr)"
    fi
  done
done

# From here on bytes are written as printf reads them, each as \xNN.
# any TYPE BYTES prints a message in an Any, after its length; together below 128 bytes.
any() {
  local url="x/quor.protobuf.$1" size=$((${#2} / 4))
  printf '%b%s%b' "$(printf '\\x%02x\\x0a\\x%02x' $((${#url} + size + 4)) ${#url})" "$url" \
    "$(printf '\\x12\\x%02x' "$size")$2"
}
begin_line='a: %d messages, 0 statements, 0 failed, 0 rows, 0.000 s of SQL, 0 calls, 0 errors, not ended'
any QuorPHP.RInitData '\x3a\x01\x61' >begin
[[ $(wc -c <begin) -eq 41 ]] || fail "the first message is not one of 41 bytes"

# shellcheck disable=SC2059  # The line is a format.
times() { printf "$begin_line" "$1"; }

# (From a process substitution: a pipe would count failures in a subshell.)
# stops REASON, for the bytes on standard input with a good message before and after them
stops() {
  cat begin - begin >input
  consumes input 1 "$(times 1)" "consumer: message 1 at byte 41 $1: what follows is lost"
}
no_length='has no valid length: the stream is cut off here, or has other framing'
stops "$no_length" < <(printf '\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff')
stops "$no_length" < <(printf '\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80')
stops 'should have 127 bytes, but the stream ends after 42' < <(printf '\x7f\x0a')
over() { echo "says that it has $1 bytes, more than the 1048576 allowed"; }
stops "$(over 1048577)" < <(printf '\x81\x80\x40')
stops "$(over 4294967295)" < <(printf '\xff\xff\xff\xff\x0f')

# leaves_out REASON, for the same input; the runtime may add a line about UTF-8 to the errors
leaves_out() {
  cat begin - begin >input
  local status=0
  "$consumer" <input >stdout 2>stderr || status=$?
  if [[ $status -ne 1 || "$(cat stdout)" != "$(times 2)" ||
    "$(grep '^consumer: ' stderr)" != "consumer: message 1 at byte 41 $1: left out" ]]; then
    fail "$1: exit status $status, prints: $(cat stdout stderr)"
  fi
}
# nested N: field 15 as a group, N levels deep
nested() {
  local i open='' close=''
  for ((i = 0; i < $1; ++i)); do
    open+='\x7b' close+='\x7c'
  done
  printf '%s' "$open$close"
}
not_any='is not a google.protobuf.Any that names a type'
leaves_out "$not_any" < <(printf '\x00')
leaves_out "$not_any" < <(printf '\x02\xff\xff')
leaves_out "$not_any" < <(printf '\x02\x12\x00')
leaves_out "$not_any" < <(printf '%b' "\\x1a$(nested 13)")
leaves_out 'is not a valid quor.protobuf.QuorPHP.RInitData' < <(any QuorPHP.RInitData '\x30\xff')
leaves_out 'is not a valid quor.protobuf.QuorPHP.RShutdownData' < <(any QuorPHP.RShutdownData '\x32\x01\xff')
leaves_out 'is not a valid quor.protobuf.Tarq.Error' < <(any Tarq.Error "\\x0a\\x01\\x61$(nested 13)")

# Unusual and valid.
any QuorPHP.RInitData "\\x3a\\x01\\x61$(nested 12)" >deep
consumes deep 0 "$(times 1)"
{ any Tarq.RawPostData '\x0a\x01\x61' && any Unheard.Of '\xff'; } >others
consumes others 0 '2 messages of other types'
any QuorPHP.RInitData '\x3a\x02\x1b\x5b' >escape
consumes escape 0 '\033[: 1 messages, 0 statements, 0 failed, 0 rows, 0.000 s of SQL, 0 calls, 0 errors, not ended'
any QuorPHP.RShutdownData '\x32\x01\x61' >end_only
consumes end_only 0 'a: 1 messages, 0 statements, 0 failed, 0 rows, 0.000 s of SQL, 0 calls, 0 errors, '\
'begin not seen, status 0 after 0.000 s'
# Two statements that failed: a negative number of rows, and the longest duration twice.
longest='\x08\xff\xff\xff\xff\xff\xff\xff\xff\x7f'
query='\x12\x19\x42\x00\x4a\x0a'"$longest"'\x50\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01'
any Tarq.SqlQueries "\\x0a\\x01\\x61$query$query" >extreme
consumes extreme 0 'a: 1 messages, 2 statements, 2 failed, -2 rows, 18446744073709551616.000 s of SQL, '\
'0 calls, 0 errors, begin not seen, not ended'
consumes /dev/null 0 ''

# A message of the largest size that is allowed.
{
  printf '\x80\x80\x40\x0a\x01x\x12\xf9\xff\x3f'
  head -c 1048569 /dev/zero
  cat begin
} >largest
consumes largest 0 "$(times 1)"$'\n1 messages of other types'

# One request more than allowed.
for ((i = 0; i < 10001; ++i)); do
  printf '\x2c\x0a\x21x/quor.protobuf.QuorPHP.RInitData\x12\x07\x3a\x05%05d' "$i"
done >crowd
status=0
"$consumer" <crowd >stdout 2>stderr || status=$?
[[ $status -eq 1 && $(wc -l <stdout) -eq 10000 && "$(cat stderr)" == 'consumer: message 10000 at byte '\
'450000 is of one request more than the 10000 allowed: left out' ]] ||
  fail "10001 requests: exit status $status, $(wc -l <stdout) lines, $(tail -n 1 stderr)"

# ends_with STATUS LAST_LINE COMMAND...
ends_with() {
  local expected="$1" line="$2" status=0
  shift 2
  "$@" 2>stderr || status=$?
  [[ $status -eq $expected && "$(tail -n 1 stderr)" == "$line" ]] ||
    fail "$*: exit status $status: $(cat stderr)"
}
usage='Writes the records of that many requests, each in a google.protobuf.Any after its length.'
for argument in 0 -1 many 3x ''; do
  ends_with 2 "$usage" "$producer" "$argument"
done
ends_with 2 "$usage" "$producer"
ends_with 2 'length.' "$consumer" whole
ends_with 1 'producer: the stream could not be written' "$producer" 3 >/dev/full
ends_with 1 'consumer: the report could not be written' "$consumer" <whole >/dev/full
ends_with 1 'consumer: message 0 at byte 0 Is a directory: what follows is lost' "$consumer" <.

if ((failures > 0)); then
  echo "$failures cases failed" >&2
  exit 1
fi
