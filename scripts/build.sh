#!/usr/bin/env bash
# Configures and builds into build/ (or build-sanitize/ with --sanitize).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
dir=build
options=()
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-sanitize
  options+=(-DTARNWICK_SANITIZE=ON)
fi
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNWICK_BENCH=ON "${options[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
