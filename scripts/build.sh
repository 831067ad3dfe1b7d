#!/usr/bin/env bash
# Configures and builds into build/ with warnings treated as errors.
#   --sanitize   build into build-sanitize/ with AddressSanitizer and UBSan
#   --release    build into build-release/ as a Release build
#   --tool-only  build only the Tarnwick executable (no tests, no benchmarks)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
dir=build
type=RelWithDebInfo
options=(-DTARNWICK_WARNINGS_AS_ERRORS=ON -DTARNWICK_BENCH=ON)
targets=()
for arg in "$@"; do
  case "$arg" in
    --sanitize) dir=build-sanitize; options+=(-DTARNWICK_SANITIZE=ON -DTARNWICK_BENCH=OFF) ;;
    --release) dir=build-release; type=Release ;;
    --tool-only) targets=(--target Tarnwick) ;;
    *) echo "build.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE="$type" "${options[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)" "${targets[@]}"
