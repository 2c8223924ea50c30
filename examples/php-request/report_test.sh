#!/usr/bin/env bash
# The whole report on odd but readable records: links in circles, text that could steer a terminal,
# values of every type, two requests in one file, and an unknown type.
# usage: report_test.sh PROGRAM PROTOC SCHEMA_FOLDER
set -euo pipefail

program="$1" protoc="$2" schemas="$3"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Frames the record that standard input describes in text format.
record() {
  "$protoc" --proto_path="$schemas" --encode=google.protobuf.Any \
    google/protobuf/any.proto tarq.proto jobqueue.proto >"$scratch/any"
  local size escape
  size="$(stat -c %s "$scratch/any")"
  printf -v escape '\\x%02X\\x%02X' $((size & 127 | 128)) $((size >> 7))
  printf '%b' "$escape"
  cat "$scratch/any"
}

{
  record <<'TEXT'
[type.googleapis.com/quor.protobuf.Tarq.SqlTransactions] {
  queue_id: "first"
  transactions { ident: 1 parent_id: 2 duration { seconds: 1 nanos: 500000000 } }
  transactions { ident: 2 parent_id: 1 rows: -1 }
  transactions { ident: 3 parent_id: 3 }
  transactions { ident: 4 parent_id: 99 }
  transactions {}
  transactions { ident: 5 parent_id: 0 }
}
TEXT
  record <<'TEXT'
[type.googleapis.com/quor.protobuf.Tarq.SqlQueries] {
  queue_id: "first"
  queries { query: "SELECT\n\t 1" transaction_id: 1 duration { nanos: 999600 } }
  queries { query: "\033[2J" transaction_id: 5 duration { nanos: 83 } error {} status: -1
    stack_trace { frames { frame_id: 0 function_name: "f" function_args {
      values { value {} }
      values { int_key: 1 value { value_type: NUL } }
      values { value { value_type: DOUBLE double_value: 1 } }
      values { value { value_type: DOUBLE double_value: -0.0 } }
      values { value { value_type: INTEGER int_value: -9223372036854775808 } }
      values { value { value_type: TIMESTAMP tm_value { seconds: 1 } } }
      values { string_key: "on" value { value_type: BOOL bool_value: true } }
    } } frames { frame_id: 7 function_name: "g" file_name: "a.php" line_no: 4294967295 } } }
}
TEXT
  record <<'TEXT'
[type.googleapis.com/quor.protobuf.Tarq.Functions] {
  queue_id: "first"
  functions { function_name: "short" duration_exclusive { nanos: 83 } duration_inclusive { seconds: 2 } }
  functions { function_name: "/srv/long\033" duration_exclusive { nanos: 1500000 } }
  functions {} functions {} functions {} functions {}
}
TEXT
  record <<'TEXT'
[type.googleapis.com/quor.protobuf.JQ.QueueId] { queue_id: 7 }
TEXT
  record <<'TEXT'
[type.googleapis.com/quor.protobuf.QuorPHP.RShutdownData] {
  queue_id: "second" total_time { seconds: 2 } memory_usage: 1023 memory_peak_usage: 1047552
  memory_limit: 18446744073709551615
}
TEXT
} >"$scratch/records"

cat >"$scratch/expected" <<'TEXT'
Request first
  took        unknown: the record of its end is missing
  statements  2, 1 failed, 0 rows
  SQL time    1.00 ms

Slowest statements
        time    rows  transaction  statement
     1.00 ms       0  … > 2 > 1    SELECT 1
     0.08 µs       0  0 > 5        \x1B[2J

Functions that took longest themselves
        time   with calls  function
     1.50 ms      0.00 µs  long\x1B
     0.08 µs       2.00 s  short
     0.00 µs      0.00 µs  
     0.00 µs      0.00 µs  
     0.00 µs      0.00 µs  

Failed: statement 2 of 2
  \x1B[2J
  error -1: 
  after 0.08 µs, in transaction 0 > 5
      #0  f(undefined, null, 1.0, -0.0, -9223372036854775808, 1970-01-01T00:00:01Z, on: true)
            called by PHP itself
      #7  g()
            at a.php:4294967295

Transactions, with those inside them
        time    rows  statements  transaction
     0.00 µs       0           0  4 in 99
     0.00 µs       0           0  0
     0.00 µs       0           1    └ 5 in 0
      1.50 s       0           1  1 in 2
     0.00 µs      -1           0    └ 2 in 1
     0.00 µs       0           0  3 in 3

Request second
  status      0
  took        2.00 s
  memory      1023 B at the end, 1.00 MiB at most, 16.0 EiB limit
  statements  0, 0 failed, 0 rows
  SQL time    0.00 µs, 0 % of the request

TEXT
"$program" "$scratch/records" >"$scratch/report"
diff "$scratch/expected" <(sed '/^Read by reflection$/,$d' "$scratch/report")

# Fields of SqlTransactions: 1 tag, 6 elements, and in these 3 + 3 + 2 + 2 + 0 + 2, and 2 of a duration.
sed '1,/^Read by reflection$/d' "$scratch/report" | tr -s ' ' | cut -d ' ' -f 2,4- >"$scratch/read"
diff - "$scratch/read" <<'TEXT'
records messages fields type
1 1 1 quor.protobuf.JQ.QueueId
1 2 6 quor.protobuf.QuorPHP.RShutdownData
1 10 15 quor.protobuf.Tarq.Functions
1 25 50 quor.protobuf.Tarq.SqlQueries
1 8 21 quor.protobuf.Tarq.SqlTransactions
5 46 93 in all
TEXT
