#!/usr/bin/env bash
# Installs the Python package (pip, no network) and the R package (R CMD
# INSTALL) against the build tree's libraries, as a user would, and runs
# their tests on the installed packages. A package whose Debian packages
# are absent is skipped with a note; CI installs them, so there both run.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build_dir=$(cd "${BUILD_DIR:-build}" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export CODEBOOK_BUILD_DIR=$build_dir
export CODEBOOK_PROGRAM=$build_dir/bin/codebook
export CODEBOOK_SOURCE_DIR=$root

python=/usr/bin/python3
if [[ -x $python ]] && $python -c "import pybind11, pandas, numpy, pytest, setuptools, pip" 2>/dev/null; then
  echo "== the Python package, installed with pip =="
  $python -m pip install -q --root-user-action=ignore --no-build-isolation --no-deps --no-cache-dir --target "$scratch/python" ./python
  rm -rf python/build python/*.egg-info
  # From another folder, so that the package imported is the installed one.
  (cd "$scratch" && PYTHONPATH="$scratch/python" $python -m pytest -q -p no:cacheprovider "$root/python/tests")
else
  echo "skipped: the Python package (needs python3-pybind11 python3-pandas python3-numpy python3-pytest)"
fi

if command -v Rscript >/dev/null && Rscript -e 'for (p in c("Rcpp", "testthat", "jsonlite")) stopifnot(requireNamespace(p, quietly = TRUE))' >/dev/null 2>&1; then
  echo "== the R package, installed with R CMD INSTALL =="
  mkdir -p "$scratch/r"
  R CMD INSTALL --clean --no-test-load -l "$scratch/r" r >"$scratch/r-install.log" 2>&1 || { cat "$scratch/r-install.log"; exit 1; }
  (cd r/tests && R_LIBS="$scratch/r" Rscript testthat.R)
else
  echo "skipped: the R package (needs r-base-dev r-cran-rcpp r-cran-testthat r-cran-jsonlite)"
fi
