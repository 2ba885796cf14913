#!/usr/bin/env bash
# Configures and builds into build/ (or $BUILD_DIR), with extra CMake
# arguments passed through, after those in $CODEBOOK_CMAKE_ARGS (CI sets it).
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${BUILD_DIR:-build}
# shellcheck disable=SC2086 # a list of arguments
cmake -S . -B "$build_dir" -G Ninja ${CODEBOOK_CMAKE_ARGS:-} "$@" >/dev/null
cmake --build "$build_dir" -j"$(nproc)"
