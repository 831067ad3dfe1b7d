#!/usr/bin/env bash
# Builds everything and runs the whole test suite (with --sanitize: under
# AddressSanitizer and UndefinedBehaviorSanitizer).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh "$@"
dir=build
[ "${1:-}" = "--sanitize" ] && dir=build-sanitize
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
