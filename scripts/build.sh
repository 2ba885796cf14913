#!/usr/bin/env bash
# Configures and builds into build/ (or $BUILD_DIR), with extra CMake
# arguments passed through, after those in $CODEBOOK_CMAKE_ARGS (CI sets it).
# $CODEBOOK_BUILD_TARGETS, when set, names the only targets built (the demo
# builds the program and its module, not the tests).
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${BUILD_DIR:-build}
# shellcheck disable=SC2086 # a list of arguments
cmake -S . -B "$build_dir" -G Ninja ${CODEBOOK_CMAKE_ARGS:-} "$@" >/dev/null
# shellcheck disable=SC2086 # a list of targets
cmake --build "$build_dir" -j"$(nproc)" ${CODEBOOK_BUILD_TARGETS:+--target $CODEBOOK_BUILD_TARGETS}
