"""Every shared fixture read through the package: its frames hold the
fixture's truth, and say what the program's dictionary CSV of the same
file says."""

import datetime
import io
import math
import re
import subprocess
import warnings

import pandas as pd
import pytest

import dscodebook
from conftest import fixture_files, truth_of

FILES = fixture_files()
NUMBER_COLUMNS = ["valid", "missing", "mean", "std_dev", "percentile_25", "median", "percentile_75"]


def read(path, **options):
    """The codebook of a fixture, or a skip when its format's reader has not
    landed in this build (the program refuses the extension)."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", dscodebook.CodebookWarning)
        try:
            return dscodebook.read(path, **options)
        except dscodebook.CodebookError as error:
            if path.suffix not in (".sav", ".zsav") and "not a dataset file this program reads" in str(error):
                pytest.skip(f"this build reads no {path.suffix} files: {error}")
            raise


def close(got, want, relative=1e-9):
    if want is None:
        return got is None or (isinstance(got, float) and math.isnan(got))
    return got is not None and not math.isnan(got) and math.isclose(got, want, rel_tol=relative, abs_tol=1e-9)


# Where the other formats count their dates and times from; the library
# holds them as seconds since 14 October 1582, as the dataset files do.
FROM_1960 = (datetime.datetime(1960, 1, 1) - datetime.datetime(1582, 10, 14)).total_seconds()
SAS_DATES = ("DATE", "MMDDYY", "DDMMYY", "YYMMDD", "MONYY", "WEEKDATE", "WORDDATE", "YYQ", "JULIAN")


def time_scale(variable):
    """(factor, offset) that turn the truth's stored number of a variable
    into the library's: days and milliseconds since 1960 become seconds
    since 1582; anything else stays."""
    stata = variable.get("stata_format") or ""
    sas = (variable.get("sas_format") or "").upper()
    if stata.startswith(("%td", "%d")) or (sas.startswith(SAS_DATES) and not sas.startswith("DATETIME")):
        return 86400.0, FROM_1960
    if stata.startswith(("%tc", "%tC")):
        return 0.001, FROM_1960
    if sas.startswith("DATETIME"):
        return 1.0, FROM_1960
    return 1.0, 0.0


def scales_of(truth):
    return {variable["name"]: time_scale(variable) for variable in truth["variables"]}


def stats_of(truth, weighted):
    stats = truth.get("stats") or {}
    if not weighted and truth.get("stats_unweighted"):
        stats = truth["stats_unweighted"]
    return stats


@pytest.fixture(scope="module", params=FILES, ids=[path.name for path in FILES])
def fixture(request):
    path = request.param
    return path, truth_of(path), read(path)


def test_dictionary_matches_truth(fixture):
    path, truth, book = fixture
    variables = book.variables.set_index("name")
    assert list(variables.index) == [v["name"] for v in truth["variables"]]
    for want in truth["variables"]:
        got = variables.loc[want["name"]]
        assert got["position"] == want["position"]
        assert got["type"] == want["type"]
        assert got["label"] == want["label"], want["name"]
        # The other formats store no level ("unknown" in their truth): the
        # reader gives one from the variable's type.
        if "measure" in want and path.suffix in (".sav", ".zsav"):
            assert got["measure"] == want["measure"], want["name"]
        if "role" in want:
            assert got["role"] == want["role"], want["name"]
        if path.suffix in (".sav", ".zsav"):
            assert got["width"] == want["width"]
            # The procedure shows the write format.
            assert got["format"] == want["write_format"], want["name"]
        labelled = [label for _, label in want.get("value_labels", [])]
        for label in labelled:
            assert label in got["value_labels"], (want["name"], label)
    assert book.file["cases"] == truth["case_count"]
    assert book.file["label"] == truth["file_label"]
    assert book.file["variables"] == len(truth["variables"])
    assert book.file["weight"] == truth.get("weight")
    assert book.file["model_version"] == dscodebook.MODEL_VERSION


def test_statistics_match_truth(fixture):
    path, truth, book = fixture
    weighted = book.file["weight"] is not None
    stats = stats_of(truth, weighted)
    variables = book.variables.set_index("name")
    scales = scales_of(truth)
    checked = 0
    for name, want in stats.items():
        if name not in variables.index:
            continue
        got = variables.loc[name]
        factor, offset = scales.get(name, (1.0, 0.0))
        want = dict(want)
        for key in ("mean", "p25", "p50", "p75"):
            if isinstance(want.get(key), (int, float)):
                want[key] = want[key] * factor + offset
        if isinstance(want.get("sd"), (int, float)):
            want["sd"] = want["sd"] * factor
        if truth["case_count"] == 0:
            continue
        assert close(got["valid"], want["valid"]), (name, "valid")
        assert close(got["missing"], want["missing"]), (name, "missing")
        checked += 1
        for column, key in (("mean", "mean"), ("std_dev", "sd")):
            if not math.isnan(got[column]):
                assert close(got[column], want[key]), (name, column)
                checked += 1
        for column, key in (("percentile_25", "p25"), ("median", "p50"), ("percentile_75", "p75")):
            if not math.isnan(got[column]) and want.get(key) is not None:
                assert close(got[column], want[key], 1e-6), (name, column)
                checked += 1
    if truth["case_count"] > 0:
        assert checked > 0, "no statistic of any variable was compared"


def test_value_counts_match_truth(fixture):
    path, truth, book = fixture
    weighted = book.file["weight"] is not None
    stats = stats_of(truth, weighted)
    values = book.values
    assert list(values.columns) == ["variable", "value", "label", "missing", "system_missing", "count", "percent",
                                    "unweighted_count"]
    assert values["count"].dtype == "float64" and values["missing"].dtype == "bool"
    scales = scales_of(truth)
    numeric = {variable["name"] for variable in truth["variables"] if variable["type"] == "numeric"}
    compared = 0
    for row in values.itertuples(index=False):
        if row.variable not in stats or row.system_missing or row.value is None or math.isnan(row.count):
            continue
        if row.variable in numeric and isinstance(row.value, str):
            # An extended missing code (".a", ".A", "._") of the other formats.
            tagged = stats[row.variable].get("tagged_missing", {})
            assert close(row.count, tagged.get(row.value[1:], 0)), (row.variable, row.value)
            compared += 1
            continue
        factor, offset = scales.get(row.variable, (1.0, 0.0))
        counts = {(value.rstrip() if isinstance(value, str) else round(value * factor + offset, 3)): count
                  for value, count in stats[row.variable]["counts"]}
        key = row.value.rstrip() if isinstance(row.value, str) else round(row.value, 3)
        assert close(row.count, counts.get(key, 0)), (row.variable, row.value)
        compared += 1
    if truth["case_count"] > 0 and stats:
        assert compared > 0, "no value's count was compared"


ORIGIN = datetime.datetime(1582, 10, 14)


def same_number(got, want):
    """A number of the frame and the CSV's text of it: dates and times are
    written as such in the CSV, and held as seconds since 1582 in the frame."""
    if want == "":
        return math.isnan(got)
    try:
        return close(got, float(want), 1e-12)
    except ValueError:
        pass
    if math.isnan(got):
        return False
    if len(want) >= 10 and want[4] == "-" and want[7] == "-":
        return want.startswith((ORIGIN + datetime.timedelta(seconds=got)).strftime("%Y-%m-%d"))
    match = re.fullmatch(r"(-?)P(?:(\d+)D)?(?:T(?:(\d+)H)?(?:(\d+)M)?(?:([\d.]+)S)?)?", want)
    if match:
        sign, days, hours, minutes, seconds = match.groups()
        total = float(days or 0) * 86400 + float(hours or 0) * 3600 + float(minutes or 0) * 60 + float(seconds or 0)
        return math.isclose(got, -total if sign else total, abs_tol=1.0)
    # A time of day, "hh:mm[:ss]", to the second or the minute.
    parts = [float(part) for part in want.lstrip("-").split(":")]
    seconds = sum(part * 60 ** (2 - i) for i, part in enumerate(parts))
    return math.isclose(abs(got), seconds, abs_tol=60.0 if len(parts) == 2 else 1.0)


def program_dictionary(program, path):
    done = subprocess.run([program, "-q", "-f", "dictionary", str(path)], capture_output=True, check=False)
    assert done.returncode == 0, done.stderr.decode()
    return pd.read_csv(io.BytesIO(done.stdout), dtype=str, keep_default_na=False)


def test_variables_equal_the_programs_dictionary_csv(fixture, program):
    path, truth, book = fixture
    csv = program_dictionary(program, path)
    frame = book.variables
    assert list(frame.columns) == list(csv.columns)
    assert len(frame) == len(csv)
    for column in csv.columns:
        for got, want in zip(frame[column], csv[column]):
            if column in NUMBER_COLUMNS:
                assert same_number(got, want), (column, got, want)
            else:
                assert ("" if got is None else str(got)) == want, (column, got, want)


def test_package_dictionary_is_the_programs(fixture, program):
    path, truth, book = fixture
    done = subprocess.run([program, "-q", "-f", "dictionary", str(path)], capture_output=True, check=True)
    assert book.to_dictionary() == done.stdout.decode("utf-8")
