#!/usr/bin/env bash
# Builds the tool and runs "Tarnwick -p" on a copy of the bundled sample
# root, so the sample itself is never modified. Extra arguments replace -p,
# for example: bash scripts/run-sample.sh -e
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh --tool-only
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cp -R examples/root/. "$root"
[ $# -gt 0 ] || set -- -p
echo "\$ TARNWICK_ROOT=$root build/bin/Tarnwick $*"
TARNWICK_ROOT="$root" build/bin/Tarnwick "$@"
