#!/usr/bin/env bash
# Runs the shell commands of README.md as they stand, those of ./dev aside, in a home of their own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

HOME=$(mktemp --directory)
export HOME
trap 'rm --recursive --force "$HOME"' EXIT

# shellcheck disable=SC2016  # The backquotes are Markdown's.
commands=$(sed --quiet '/^```sh$/,/^```$/p' README.md | grep --invert-match --regexp '^```' --regexp '^\./dev')
[[ -n $commands ]] || { echo "README.md shows no commands" >&2; exit 1; }
bash -euxo pipefail -c "$commands"
