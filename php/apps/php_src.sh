#!/usr/bin/env bash
# Usage: php/apps/php_src.sh [--jit] few|all|FOLDER...
# Runs PHP's own tests, from Debian's source package, with Debian's PHP: first without the extension, then
# with it and everything recorded. Both must have the same results. QMSG_MODULE is the extension, QMSG
# the tool. `few` are some 300 tests, the same each time; a FOLDER is one of PHP's source, such as
# Zend/tests. With --jit, the tests run with opcache and its compiler.
# apt checks the source's signatures; its own settings and lists are not touched.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

usage() {
  sed --quiet 's/^# Usage: /Usage: /p' php/apps/php_src.sh >&2
  exit 2
}

settings=()
if [[ ${1-} == --jit ]]; then
  settings=(-d zend_extension=opcache -d opcache.enable=1 -d opcache.enable_cli=1
    -d opcache.jit=tracing -d opcache.jit_buffer_size=64M)
  shift
fi
(($# > 0)) || usage
selection=("$@")
: "${QMSG_MODULE:?is the path of the extension}" "${QMSG:?is the path of the tool}"

php=$(readlink --canonicalize "$(command -v php)")
# shellcheck disable=SC2016  # The variables are dpkg-query's.
read -r source version < <(dpkg-query --show --showformat='${source:Package} ${source:Version}\n' \
  "$(basename "$php")-cli")
cache=${XDG_CACHE_HOME:-$HOME/.cache}/qmsg/$source-$version

work=$(mktemp --directory)
trap 'rm --recursive --force "$work"' EXIT

fetch() {
  echo "Fetching the source of $source $version"
  local keys=/usr/share/keyrings/debian-archive-keyring.gpg
  # shellcheck disable=SC2016  # The variables are apt-get's.
  apt-get indextargets --format "deb-src [signed-by=$keys] \$(REPO_URI) \$(RELEASE) \$(COMPONENT)" \
    'Created-By: Packages' 'Origin: Debian' | sort --unique >"$work/sources.list"
  [[ -s $work/sources.list ]] || {
    echo "$0: apt knows of no Debian mirror. First, as root: apt-get update." >&2
    exit 1
  }
  mkdir --parents "$work/lists/partial" "$work/source" "${cache%/*}"
  local here=(-o APT::Sandbox::User=root -o Dir::Etc::SourceList="$work/sources.list"
    -o Dir::Etc::SourceParts=/dev/null -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work")
  apt-get --quiet --quiet "${here[@]}" update
  cd "$work/source"
  # A mirror may lack the source of the latest fixes. The tests of another release of the same series do,
  # as both runs have them.
  local other
  for other in "$version" $(apt-cache "${here[@]}" showsrc "$source" | sed --quiet 's/^Version: //p'); do
    if apt-get --quiet --quiet "${here[@]}" source "$source=$other" >"$work/fetch.log" 2>&1; then
      [[ $other == "$version" ]] || echo "There is only that of $other"
      rm --recursive --force "$cache"
      mv "$work/source/$source"-*/ "$cache"
      return
    fi
  done
  cat "$work/fetch.log" >&2
  exit 1
}
[[ -d $cache ]] || (fetch)

# The tests write beside themselves.
mkdir "$work/php"
(cd "$cache" && cp --recursive --parents run-tests.php Zend/tests tests ext/*/tests "$work/php")
cd "$work/php"

# Tests of the language, the engine and the extensions that every PHP has. The slow ones, those that need
# a network and those for which Debian has no module skip themselves.
folders=(Zend/tests tests ext/{standard,spl,reflection,json,pcre,date,hash,random,session,tokenizer}/tests
  ext/{pdo_sqlite,sqlite3,mbstring,ctype,fileinfo,dom,simplexml}/tests)
case ${selection[*]} in
  few)
    find "${folders[@]}" -name '*.phpt' | LC_ALL=C sort >"$work/every"
    # Each n-th, so that all folders have some.
    awk -v step="$(($(wc --lines <"$work/every") / 300))" 'NR % step == 0' "$work/every" >"$work/list"
    ;;
  all) find "${folders[@]}" -name '*.phpt' | LC_ALL=C sort >"$work/list" ;;
  *) find "${selection[@]}" -name '*.phpt' | LC_ALL=C sort >"$work/list" ;;
esac

# The results of the tests in LIST, a line with result and name each, sorted.
run() { # NAME LIST JOBS [PHP-OPTION...]
  local name=$1 list=$2 jobs=$3 status=0
  shift 3
  SKIP_SLOW_TESTS=1 SKIP_ONLINE_TESTS=1 NO_INTERACTION=1 TEST_PHP_EXECUTABLE=$php TERM=dumb \
    "$php" -n run-tests.php -n -q -j"$jobs" --offline --no-color --no-progress --set-timeout 120 \
    -W "$work/$name.results" -r "$list" "${settings[@]}" "$@" >"$work/$name.log" 2>&1 || status=$?
  if [[ ! -s $work/$name.results ]]; then
    tail --lines=50 "$work/$name.log" >&2
    echo "$0: PHP's tests did not run" >&2
    exit 1
  fi
  sed 's/^PASSED/passes/; s/^FAILED/fails/; s/^SKIPPED/is skipped/' "$work/$name.results" |
    LC_ALL=C sort --key=2 --field-separator=$'\t' >"$work/$name"
  return "$((status > 1))"
}

with_extension=(-d extension="$QMSG_MODULE" -d qmsg.output="file:$work/records.any" -d qmsg.record=all
  -d qmsg.functions=exact)

# What differs between two results: the name, the result without, the result with.
differences() { # WITHOUT WITH
  LC_ALL=C join -t $'\t' -1 2 -2 2 -a 1 -a 2 -e 'has no result' -o 0,1.1,2.1 "$1" "$2" |
    awk -F '\t' '$2 != $3'
}

jobs=$(nproc)
echo "Running $(wc --lines <"$work/list") tests without the extension"
run without "$work/list" "$jobs"
echo "Running them with it after $SECONDS s"
run with "$work/list" "$jobs" "${with_extension[@]}"
differences "$work/without" "$work/with" >"$work/different"

# Some tests fail at times, mostly if others run beside them.
if [[ -s $work/different ]]; then
  cut --fields=1 "$work/different" >"$work/again"
  echo "Running $(wc --lines <"$work/again") again, one at a time"
  run without-again "$work/again" 1
  run with-again "$work/again" 1 "${with_extension[@]}"
  differences "$work/without-again" "$work/with-again" >"$work/different"
fi

failed=0
while IFS=$'\t' read -r test without with; do
  failed=1
  echo "$test: $without without the extension, $with with it"
  if [[ -s ${test%.phpt}.diff ]]; then
    awk 'NR <= 30 { print "    " $0 }' "${test%.phpt}.diff"
  fi
done <"$work/different"
cut --fields=1 "$work/with" | sort | uniq --count | sed 's/^ */With the extension: /'

"$QMSG" check --framing any "$work/records.any" >"$work/check" 2>&1 || {
  failed=1
  grep --max-count=20 'error: ' "$work/check" || true
}
tail --lines=1 "$work/check"
exit "$failed"
