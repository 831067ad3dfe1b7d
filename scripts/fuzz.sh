#!/usr/bin/env bash
# Builds the fuzz targets with clang's libFuzzer into build-fuzz/ and runs
# each for SECONDS (default 60), two at a time (one a core): the property-
# list readers, seeded from the real stores, then the registry-dump readers
# (the text of ioreg -l and IORegistryExplorer save files), seeded from
# fuzz/seeds. Extra arguments go to every run (for
# example -runs=5000000 instead of a time).
#   bash scripts/fuzz.sh [SECONDS] [libFuzzer options...]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift || true
targets=(fuzz_xml_plist fuzz_binary_plist fuzz_ioreg_text fuzz_ioreg_archive)
bash scripts/install-deps.sh
cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DTARNWICK_FUZZ=ON -DTARNWICK_TESTS=OFF >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target "${targets[@]}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
artifacts=build-fuzz/artifacts
mkdir -p "$artifacts"

# Starts one target in the background with its seeds and options.
start() {
  local target=$1
  shift
  mkdir -p "$work/$target"
  local options=(-max_len=65536)
  case "$target" in
    fuzz_xml_plist) cp tests/data/stores/*.plist "$work/$target/"; options+=(-dict=fuzz/xml_plist.dict) ;;
    fuzz_binary_plist) cp tests/data/stores/*.plist "$work/$target/" ;;
    # Short texts: the reader works a line at a time, and long inputs run
    # ten times slower without reaching more of it.
    fuzz_ioreg_text) cp fuzz/seeds/*.txt "$work/$target/"; options=(-max_len=8192 -dict=fuzz/ioreg_text.dict) ;;
    fuzz_ioreg_archive) cp fuzz/seeds/*.ioreg "$work/$target/" ;;
  esac
  build-fuzz/bin/$target "$work/$target" "${options[@]}" -max_total_time="$seconds" \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$artifacts/$target-" "$@" \
    >"$work/$target.log" 2>&1 &
}
for ((i = 0; i < ${#targets[@]}; i += 2)); do
  start "${targets[i]}" "$@"
  start "${targets[i + 1]}" "$@"
  wait
done

failed=0
for target in "${targets[@]}"; do
  echo "== $target, ${seconds}s"
  grep -E "^(stat::number_of_executed_units|stat::peak_rss_mb|Done|==[0-9]+==ERROR|SUMMARY)|Test unit written" \
    "$work/$target.log" || true
  # libFuzzer leaves a crash-*, leak-*, timeout-* or oom-* file on a failure
  # (a slow-unit-* file only notes a slow input).
  if compgen -G "$artifacts/$target-crash-*" >/dev/null || compgen -G "$artifacts/$target-leak-*" >/dev/null ||
    compgen -G "$artifacts/$target-timeout-*" >/dev/null || compgen -G "$artifacts/$target-oom-*" >/dev/null; then
    echo "fuzz.sh: $target failed; the input is in $artifacts" >&2
    failed=1
  fi
done
exit "$failed"
