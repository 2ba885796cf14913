#!/usr/bin/env bash
# Sets everything up, writes the demo dataset's HTML report (charts, contents,
# alerts) and prints the codebook of the demo dataset.
set -euo pipefail
cd "$(dirname "$0")/.."
CODEBOOK_DEPS=program scripts/install-deps.sh
# The program and its procedure module only: the tests, benchmarks and
# fuzzers are for scripts/test.sh, and would take most of the time.
CODEBOOK_BUILD_TARGETS=codebook scripts/build.sh >/dev/null
build/bin/codebook --demo -o build/demo-report.html 2>/dev/null
echo "The demo's HTML report: $(pwd)/build/demo-report.html" >&2
exec build/bin/codebook --demo "$@"
