#!/usr/bin/env bash
# Builds the fuzzers (clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz and runs each for $1 seconds
# (default 60): the dataset reader, seeded with tests/fuzz/corpus/sav and the
# shared fixtures, and the command language, seeded with
# tests/fuzz/corpus/syntax; then the readers of .dta, .sas7bdat and transport
# files, seeded with tests/fuzz/corpus/{dta,sas7bdat,xpt} and the shared
# fixtures of those formats, for at most 45 seconds each
# ($CODEBOOK_FORMATS_FUZZ_SECONDS). Exits non-zero on a crash. New
# interesting inputs are kept in build-fuzz/corpus-NAME.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=build-fuzz
fixtures=${CODEBOOK_FIXTURES_DIR:-../shared/fixtures}
formats_fixtures=${CODEBOOK_FORMATS_FIXTURES_DIR:-$fixtures/../fixtures-formats}
formats_seconds=${CODEBOOK_FORMATS_FUZZ_SECONDS:-$((seconds < 45 ? seconds : 45))}

CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCODEBOOK_FUZZ=ON -DCODEBOOK_SANITIZE=ON \
  -DCODEBOOK_BUILD_TESTS=OFF -DCODEBOOK_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target sav_reader_fuzzer syntax_fuzzer dta_reader_fuzzer sas7bdat_reader_fuzzer \
  xpt_reader_fuzzer -j"$(nproc)" >/dev/null

sav_seeds="$build/seeds-sav"
mkdir -p "$sav_seeds"
cp -f tests/fuzz/corpus/sav/* "$sav_seeds/"
for f in "$fixtures"/*.sav "$fixtures"/*.zsav "$fixtures"/malformed/*.sav "$fixtures"/malformed/*.zsav; do
  [[ -e "$f" ]] && cp -f "$f" "$sav_seeds/"
done

# Runs one fuzzer; libFuzzer reports every new input, so its log is shown
# whole only when something was found.
run() {
  local name=$1 seeds=$2 max_len=$3 seconds=${4:-$seconds}
  local log="$build/fuzz-$name.log" status=0
  mkdir -p "$build/corpus-$name"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$build/bin/$name" "$build/corpus-$name" "$seeds" \
    -max_total_time="$seconds" -max_len="$max_len" -timeout=20 -rss_limit_mb=2048 \
    -artifact_prefix="$build/$name-" -print_final_stats=1 >"$log" 2>&1 || status=$?
  if ((status != 0)); then
    tail -n 200 "$log"
    echo "fuzzing with $name found a problem (exit $status); see $log and $build/$name-crash-*" >&2
    exit "$status"
  fi
  grep -E '^(Done|stat::number_of_executed_units|stat::peak_rss_mb)' "$log"
  echo "fuzzing with $name: no problem found in $seconds s"
}

run sav_reader_fuzzer "$sav_seeds" 262144
run syntax_fuzzer tests/fuzz/corpus/syntax 4096

for format in dta sas7bdat xpt; do
  seeds="$build/seeds-$format"
  mkdir -p "$seeds"
  cp -f tests/fuzz/corpus/"$format"/* "$seeds/"
  for f in "$formats_fixtures"/*."$format"; do
    [[ -e "$f" ]] && cp -f "$f" "$seeds/"
  done
  run "${format}_reader_fuzzer" "$seeds" 262144 "$formats_seconds"
done
