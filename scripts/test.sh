#!/usr/bin/env bash
# Builds and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
# The Python module on, also in a build folder the demo configured before
# the packages' dependencies were installed.
scripts/build.sh -DCODEBOOK_PYTHON=ON
ctest --test-dir "${BUILD_DIR:-build}" --output-on-failure -j"$(nproc)"
# The Python and R packages, installed as their users install them.
scripts/test-packages.sh
