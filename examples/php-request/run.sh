#!/usr/bin/env bash
# Records the shop with the PHP extension and prints the report.
# usage: run.sh BUILD [RECORDS]   BUILD is a build folder of qmsg, RECORDS the file to write
set -euo pipefail

if [[ $# -lt 1 || $# -gt 2 ]]; then
  echo "usage: run.sh BUILD [RECORDS]" >&2
  exit 2
fi
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
build="$(realpath "$1")"
records="$(realpath "${2:-$build/examples/php-request/request.records}")"

# Without php.ini, which may load the extension of a package.
php=(php -n -d extension=pdo -d extension=pdo_sqlite)
if [[ $("${php[@]}" -m 2>&1) != *pdo_sqlite* ]] || ! command -v php-config >/dev/null; then
  echo "run.sh: PHP with PDO for SQLite and PHP's headers are needed." >&2
  echo "On Debian: apt-get install php-cli php-sqlite3 php-dev, and configure $1 again" >&2
  exit 1
fi

echo "Building the extension and the report program in $1"
if ! log="$(cmake --build "$build" --target qmsg_php php_request_report 2>&1)"; then
  printf '%s\n' "$log" >&2
  exit 1
fi

echo "Recording workload.php to $records"
rm -f "$records"
"${php[@]}" -d extension="$build/php/qmsg.so" -d qmsg.output="file:$records" "$here/workload.php"

echo "Reading the records with php_request_report"
echo
"$build/examples/php-request/php_request_report" "$records"
