#!/usr/bin/env bash
# Builds and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
ctest --test-dir "${BUILD_DIR:-build}" --output-on-failure -j"$(nproc)"
# The Python and R packages, installed as their users install them.
scripts/test-packages.sh
