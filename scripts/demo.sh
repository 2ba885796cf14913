#!/usr/bin/env bash
# Sets everything up and prints the codebook of the bundled demo dataset.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh >/dev/null
exec build/bin/codebook --demo "$@"
