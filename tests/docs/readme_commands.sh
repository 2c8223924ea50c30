#!/usr/bin/env bash
# Runs the commands of docs/getting-started.md under "Install from source" in a home of their own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

HOME=$(mktemp --directory)
export HOME
trap 'rm --recursive --force "$HOME"' EXIT

commands=$(tests/docs/commands.sh docs/getting-started.md 'Install from source')
bash -euxo pipefail -c "$commands"
