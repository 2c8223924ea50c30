#!/usr/bin/env bash
# Runs the shell commands of the package's README.md as they stand, then its program, in a home of
# their own with a space in its path.
set -euo pipefail

HOME="$QMSG_SCRATCH/a home"
export HOME PATH=/usr/bin:$PATH
rm --recursive --force "$HOME"
mkdir --parents "$HOME/qmsg"
ln --symbolic "$(dirname "$QMSG_LIBRARY")" "$HOME/qmsg/lib"
# No network, no settings of this machine, none of the other tests.
export PIP_NO_INDEX=1 PIP_CONFIG_FILE=/dev/null
unset PYTHONPATH PYTHONDONTWRITEBYTECODE PYTHONWARNINGS
cd "$QMSG_SOURCE"

block() { # LANGUAGE
  sed --quiet "/^\`\`\`$1\$/,/^\`\`\`\$/p" python/README.md | grep --invert-match '^```'
}

fail() { # WHAT EXPECTED FOUND
  printf 'FAILED: %s\n  expected: %s\n  found: %s\n' "$@" >&2
  exit 1
}

sources() {
  find python -name __pycache__ -prune -o -print | sort
}

before=$(sources)
output=$(bash -euxo pipefail -c "$(block sh)")
printf '%s\n' "$output"
grep --quiet --line-regexp 'compiled classes' <<<"$output" ||
  fail "what is active with the library" "compiled classes" "$output"
grep --quiet --extended-regexp '^100 SQL queries +encode ' <<<"$output" ||
  fail "the benchmark" "a line for each message and action" "$output"
after=$(sources)
[[ $before == "$after" ]] || fail "the source tree after installing" "$before" "$after"

found=$("$HOME/venv/bin/python" -c "$(block python)")
[[ $found == "$(block text)" ]] || fail "the program's output" "$(block text)" "$found"

version=$("$HOME/venv/bin/pip" show qmsg | sed --quiet 's/^Version: //p')
[[ $version == "$QMSG_VERSION" ]] || fail "the installed version" "$QMSG_VERSION" "$version"

"$HOME/venv/bin/pip" uninstall --yes qmsg
left=$(cd "$HOME/venv" && find . -path '*qmsg*')
[[ -z $left ]] || fail "what is left after uninstalling" "nothing" "$left"
