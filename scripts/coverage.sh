#!/usr/bin/env bash
# Line coverage of the product (platform/, backend/, cli/) by the whole test
# suite: builds into build-cov/ with --coverage, runs every test, and prints
# gcovr's summary per folder. Needs gcovr (Debian's gcovr).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=build-cov scripts/build.sh -DCODEBOOK_COVERAGE=ON -DCODEBOOK_BUILD_BENCH=OFF
find build-cov -name '*.gcda' -delete
ctest --test-dir build-cov -j"$(nproc)" --output-on-failure >/dev/null
for part in platform backend cli; do
  printf '%s: ' "$part"
  # The host headers are the platform's interface, counted with neither half.
  # gcovr replaces the file it writes, so that file is never a device; the
  # threaded pass's branch counts can come out negative, which gcov prints
  # and gcovr would stop on.
  gcovr --root . --object-directory build-cov --filter "$part/" --exclude '.*/host/.*' --gcov-ignore-parse-errors \
    --print-summary -o "build-cov/coverage-$part.txt" 2>/dev/null | grep '^lines:' || echo 'no coverage data'
done
