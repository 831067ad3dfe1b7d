#!/usr/bin/env bash
# Times "Tarnwick -e" on generated stores of 1,000 and 10,000 services (each
# run on a fresh copy), to show how the tool grows with the store.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for count in 1000 10000; do
  build/bin/make_large_store "$work/template-$count" "$count"
  best=""
  for run in 1 2 3; do
    rm -rf "$work/root" && cp -R "$work/template-$count" "$work/root"
    start=$(date +%s%N)
    TARNWICK_ROOT="$work/root" build/bin/Tarnwick -e >/dev/null
    elapsed=$(( ($(date +%s%N) - start) / 1000000 ))
    if [ -z "$best" ] || [ "$elapsed" -lt "$best" ]; then best=$elapsed; fi
  done
  echo "Tarnwick -e on $count services: ${best} ms (best of 3)"
done
