#!/usr/bin/env bash
# Installs the Debian packages that building and testing need. Safe to run
# again: it only calls apt-get when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  zlib1g-dev libdeflate-dev libutf8proc-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libxml2-dev libxml2-utils
  libcairo2-dev libpango1.0-dev fonts-dejavu-core fonts-ipafont-gothic poppler-utils
  libxlsxwriter-dev python3-openpyxl
  python3
)
# The Python and R packages (python/, r/) and their tests; the demo
# (CODEBOOK_DEPS=program) does without them, R alone being a large download.
if [[ "${CODEBOOK_DEPS:-all}" != program ]]; then
  packages+=(python3-dev python3-pybind11 python3-numpy python3-pandas python3-pytest python3-setuptools python3-pip
             r-base-dev r-cran-rcpp r-cran-testthat r-cran-jsonlite)
fi
# The browser test of the HTML output and the fuzzer are optional locally and
# installed when asked (CI asks).
if [[ "${CODEBOOK_FULL_DEPS:-0}" == 1 ]]; then
  packages+=(clang libclang-rt-14-dev chromium)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}" >&2
  sudo_cmd=()
  [[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
