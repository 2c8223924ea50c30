# Sourced by the tests: each check that fails says what was expected, what was found and what to do.
# shellcheck shell=bash

fail() { # WHAT EXPECTED FOUND ADVICE
  printf 'FAILED: %s\n  expected: %s\n  found: %s\n  what to do: %s\n' "$@" >&2
  exit 1
}

expect_equal() { # WHAT EXPECTED FOUND ADVICE
  [[ $2 == "$3" ]] || fail "$@"
}

# Line breaks do not count: CMake wraps what it prints.
expect_text() { # WHAT EXPECTED OUTPUT ADVICE
  local text
  text=$(tr -s '[:space:]' ' ' <<<"$3")
  [[ $text == *"$2"* ]] || fail "$@"
}

# Runs a command that has to fail, and leaves what it printed in `refusal`.
expect_refusal() { # WHAT COMMAND...
  local what=$1
  shift
  if refusal=$("$@" 2>&1); then
    fail "$what" 'a refusal' "success of: $* $refusal" 'Find out which check no longer runs.'
  fi
}

# Runs a command for which file permissions count, even if root runs the tests.
with_permissions() { # COMMAND...
  if ((EUID == 0)); then
    setpriv --bounding-set=-dac_override "$@"
  else
    "$@"
  fi
}

skip_unless_permissions_count() {
  with_permissions true || {
    echo 'SKIPPED: root cannot give up its right to write everywhere. Run the tests as a user.' >&2
    exit 77
  }
}
