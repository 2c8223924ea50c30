#!/usr/bin/env bash
# Records the workload and prints the report.
# usage: run.sh BUILD [RECORDS]   BUILD is a build folder of qmsg, RECORDS the file to write
set -euo pipefail

if [[ $# -lt 1 || $# -gt 2 ]]; then
  echo "usage: run.sh BUILD [RECORDS]" >&2
  exit 2
fi
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
built="$1/examples/php-request"
records="${2:-$built/request.records}"

if ! php -r 'exit(extension_loaded("pdo_sqlite")
    && stream_resolve_include_path("Google/Protobuf/Internal/Message.php") ? 0 : 1);' 2>/dev/null; then
  echo "run.sh: PHP with PDO for SQLite and with the protobuf classes is needed." >&2
  echo "On Debian: apt-get install php-cli php-sqlite3 php-google-protobuf" >&2
  exit 1
fi

echo "Generating the PHP classes and building the report program in $1"
if ! log="$(cmake --build "$1" --target php_request 2>&1)"; then
  printf '%s\n' "$log" >&2
  exit 1
fi

echo "Running workload.php under the recorder, records go to $records"
include_path="$built/php:$(php -r 'echo get_include_path();')"
php -d include_path="$include_path" "$here/workload.php" "$records"

echo "Reading them with php_request_report"
echo
"$built/php_request_report" "$records"
