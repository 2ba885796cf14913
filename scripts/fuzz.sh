#!/usr/bin/env bash
# Builds the dataset reader's fuzzer (clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz and runs it for $1 seconds
# (default 60), seeded with the shared fixtures. Exits non-zero on a crash.
# New interesting inputs are kept in build-fuzz/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build-fuzz
fixtures=${CODEBOOK_FIXTURES_DIR:-../shared/fixtures}

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCODEBOOK_FUZZ=ON -DCODEBOOK_SANITIZE=ON \
  -DCODEBOOK_BUILD_TESTS=OFF -DCODEBOOK_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target sav_reader_fuzzer -j"$(nproc)" >/dev/null

seeds="$build/seeds"
mkdir -p "$build/corpus" "$seeds"
for f in "$fixtures"/*.sav "$fixtures"/*.zsav "$fixtures"/malformed/*.sav "$fixtures"/malformed/*.zsav; do
  [[ -e "$f" ]] && cp -f "$f" "$seeds/"
done

# libFuzzer reports every new input; keep that in a log and show it all only
# when something was found.
log="$build/fuzz.log"
status=0
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  "$build/bin/sav_reader_fuzzer" "$build/corpus" "$seeds" \
  -max_total_time="$seconds" -max_len=262144 -timeout=20 -rss_limit_mb=2048 \
  -artifact_prefix="$build/" -print_final_stats=1 >"$log" 2>&1 || status=$?
if ((status != 0)); then
  tail -n 200 "$log"
  echo "fuzzing the dataset reader found a problem (exit $status); see $log and $build/crash-*" >&2
  exit "$status"
fi
grep -E '^(Done|stat::)' "$log"
echo "fuzzing the dataset reader: no problem found in $seconds s"
