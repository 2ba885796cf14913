"""What the package's tests share: the fixtures with their truths, and the
program whose output the package must agree with."""

import json
import os
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
SOURCE = Path(os.environ.get("CODEBOOK_SOURCE_DIR", HERE.parent.parent))
FIXTURES = Path(os.environ.get("CODEBOOK_FIXTURES_DIR", SOURCE.parent / "shared" / "fixtures"))
FORMAT_FIXTURES = Path(os.environ.get("CODEBOOK_FORMAT_FIXTURES_DIR", SOURCE.parent / "shared" / "fixtures-formats"))
PROGRAM = os.environ.get("CODEBOOK_PROGRAM", str(SOURCE / "build" / "bin" / "codebook"))
DATA_SUFFIXES = {".sav", ".zsav", ".dta", ".sas7bdat", ".xpt"}


def fixture_files():
    """Every shared fixture with a truth beside it; the other formats' only
    where the program reads them (once their readers have landed)."""
    files = []
    for folder in (FIXTURES, FORMAT_FIXTURES):
        if not folder.is_dir():
            continue
        for path in sorted(folder.iterdir()):
            if path.suffix in DATA_SUFFIXES and path.with_suffix(".json").exists():
                files.append(path)
    return files


def truth_of(path: Path) -> dict:
    with open(path.with_suffix(".json"), encoding="utf-8") as f:
        return json.load(f)


@pytest.fixture(scope="session")
def program():
    if not Path(PROGRAM).exists():
        pytest.skip(f"no program at {PROGRAM}")
    return PROGRAM
