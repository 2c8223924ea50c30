#!/usr/bin/env bash
# Runs the commands under "From source" in README.md as they stand, in a home of their own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

HOME=$(mktemp --directory)
export HOME
trap 'rm --recursive --force "$HOME"' EXIT

commands=$(tests/docs/commands.sh README.md 'From source')
bash -euxo pipefail -c "$commands"
