#!/usr/bin/env bash
# Builds everything and runs the whole test suite. Options as for build.sh:
# --sanitize (AddressSanitizer and UBSan), --release (a Release build).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh "$@"
dir=build
for arg in "$@"; do
  case "$arg" in
    --sanitize) dir=build-sanitize ;;
    --release) dir=build-release ;;
  esac
done
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
