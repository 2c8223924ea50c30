#!/usr/bin/env bash
# Runs the PHP script and compares the report with what the script counted.
# usage: pipeline_test.sh BUILD
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
failures=0

"$here/run.sh" "$1" "$scratch/records" | tee "$scratch/output"

# The first argument is a claim, the rest a command that succeeds if it holds.
check() {
  local claim="$1"
  shift
  if ! "$@" >/dev/null; then
    echo "FAILED: $claim" >&2
    failures=$((failures + 1))
  fi
}
says() { grep -qE -- "$1" "$scratch/output"; }
says_exactly() { grep -qF -- "$1" "$scratch/output"; }
is_between() { [[ $1 -ge $2 && $1 -le $3 ]]; }

# Without PHP, run.sh prints advice.
mkdir "$scratch/bin"
printf '#!/bin/sh\nexit 1\n' >"$scratch/bin/php"
chmod +x "$scratch/bin/php"
status=0
PATH="$scratch/bin:$PATH" "$here/run.sh" "$1" "$scratch/none" >"$scratch/stdout" 2>"$scratch/stderr" || status=$?
check "without PHP run.sh fails" test "$status" -eq 1
check "and says what to install" \
  grep -q '^On Debian: apt-get install php-cli php-sqlite3 php-dev' "$scratch/stderr"

# The script's own counts.
own='^([0-9]+) statements, ([0-9]+) refused, pid ([0-9]+), PHP ([0-9.]+)[^,]*, best customer: (.+)$'
own_line="$(grep -E "$own" "$scratch/output")"
[[ $own_line =~ $own ]]
statements="${BASH_REMATCH[1]}" refused="${BASH_REMATCH[2]}" pid="${BASH_REMATCH[3]}"
version="${BASH_REMATCH[4]}"

check "the script ran more than 30 statements" test "$statements" -gt 25
check "one statement was refused" test "$refused" -eq 1
check "the report counts the same statements" says "^  statements  $statements, $refused failed, [0-9]+ rows$"
check "the report has the script's process" says "^  begun .* pid $pid$"
check "the report has the script's PHP" says "^  PHP +$version$"
check "the report has the script's status" says '^  status +201$'
check "the report has the database" says '^  database +1: sqlite:/'

share="$(sed -nE 's/^  SQL time .*, ([0-9]+) % of the request$/\1/p' "$scratch/output")"
check "the statements took at most the request's time" is_between "${share:-0}" 1 100
check "five statements are listed as the slowest" \
  test "$(sed -n '/^Slowest/,/^$/p' "$scratch/output" | grep -cE ' (ms|µs|s) ')" -eq 5
check "the bytes add up to the file" \
  says "^ +6 +$(stat -c %s "$scratch/records") +[0-9]+ +[0-9]+  in all$"

check "the failed statement is there in full" says_exactly \
  'INSERT INTO customer (email, name, password, discount, newsletter, phone) VALUES (?, ?, ?, ?, ?, ?)'
check "so is SQLite's message" says_exactly 'UNIQUE constraint failed: customer.email'
check "it failed inside the inner of two transactions" says '^  after .*, in transaction 4 > 5$'

# PHP 8.4 names a closure by the function that it is in, and its line.
sed --in-place --regexp-extended 's/::\{closure:Shop\\Shop::[a-z]+\(\):[0-9]+\}/::Shop\\{closure}/' \
  "$scratch/output"
# Strings, escaped Latin-1, a hidden password, a float, a bool, null, an int and arrays as JSON. Values
# that a statement binds are not recorded.
frames=(
  '#0  PDOStatement::execute()'
  "#1  Shop\Database::run(sql: 'INSERT INTO customer "
  '#2  Shop\Shop::Shop\{closure}()'
  '#3  Shop\Database::transaction(work: {"class":"Closure"})'
  "#4  Shop\Shop::register(email: 'ada@example.org', name: 'Zo\xEB', password: '[redacted]', discount: 0.15, newsletter: false, phone: null)"
  "#5  Shop\Shop::customer(email: 'ada@example.org', name: 'Zo\xEB', discount: 0.15, newsletter: false, phone: null)"
  '#6  Shop\Shop::Shop\{closure}()'
  '#7  Shop\Database::transaction(work: {"class":"Closure"})'
  '#8  Shop\Shop::order(number: 5002, buyer: {"email":"ada@example.org",'
  '#9  '"$here"'/workload.php()'
)
for frame in "${frames[@]}"; do
  check "the stack has the frame $frame" says_exactly "$frame"
done
check "the stack has no other frame" test "$(grep -cE '^ +#[0-9]+  ' "$scratch/output")" -eq "${#frames[@]}"
check "each frame has its line" \
  test "$(grep -cE '^ +at .*/workload\.php:[1-9][0-9]*$' "$scratch/output")" -eq "${#frames[@]}"
check "the outermost call has the rest of its arguments" \
  says_exactly ", quantities: {\"3\":2,\"14\":1}, note: 'Grüße aus Zürich')"

check "there are three outer transactions" test "$(grep -cE '^ +[0-9.]+ (ms|µs|s) +[0-9]+ +[0-9]+  [124]$' "$scratch/output")" -eq 3
check "transaction 3 is inside transaction 2" says '  └ 3 in 2$'
check "transactions 5 and 6 are inside transaction 4" \
  test "$(grep -cE '  └ [56] in 4$' "$scratch/output")" -eq 2

if [[ $failures -gt 0 ]]; then
  echo "$failures of the claims do not hold" >&2
  exit 1
fi
