"""The codebook (data dictionary) of statistical dataset files, as data.

    import dscodebook
    book = dscodebook.read("survey.sav")
    book.variables          # one row per variable: the dictionary CSV's columns
    book.values             # one row per variable and value
    book.to_html("survey.html")

The work is done by the codebook program's own libraries; this package turns
their results into pandas objects. Its data model is documented in the
program's docs/data-model.md (version ``MODEL_VERSION``).
"""

from __future__ import annotations

import os
import warnings
from typing import Callable, Iterable, Mapping, Optional, Sequence, Union

import numpy as np
import pandas as pd

from . import _native
from ._frame import frame_columns

__all__ = [
    "Codebook",
    "CodebookError",
    "CodebookWarning",
    "FORMATS",
    "MODEL_VERSION",
    "from_frame",
    "read",
    "run",
]

MODEL_VERSION: str = _native.MODEL_VERSION
FORMATS: tuple = tuple(_native.FORMATS)
# The formats that are text (returned as str); the others are bytes.
_BINARY = {"pdf", "xlsx"}

Progress = Callable[[int, int], Optional[bool]]


class CodebookError(Exception):
    """An error of the codebook program; ``str()`` is the message it prints.

    ``status`` is the program's exit status for the run; ``results`` holds
    the codebooks of the commands that ran whole before or after the error
    (a syntax text goes on after a failing command)."""

    def __init__(self, message: str, status: int = 1, results: Sequence["Codebook"] = ()):
        super().__init__(message)
        self.status = status
        self.results = list(results)


class CodebookWarning(UserWarning):
    """A warning (or note) of the codebook program."""


class Codebook:
    """The codebook made by one CODEBOOK command: its facts as data frames
    and its report in every output format of the program."""

    def __init__(self, result, index: int):
        self._result = result
        self._index = index
        self._model = result.model(index)
        self._frames = None

    # The facts.

    @property
    def variables(self) -> pd.DataFrame:
        """One row per variable, in the command's order: the dictionary
        CSV's columns (``position`` ... ``values``, then ``attribute:NAME``)."""
        columns = self._model["variables"]
        frame = pd.DataFrame(columns, columns=list(columns))
        for name in ("position", "width"):
            frame[name] = frame[name].astype("int64")
        for name in ("valid", "missing", "mean", "std_dev", "percentile_25", "median", "percentile_75"):
            frame[name] = frame[name].astype("float64")
        return frame

    @property
    def values(self) -> pd.DataFrame:
        """One row per item and value its table shows or its labels name:
        ``variable``, ``value`` (a number, a string, or None for the
        system-missing row and a set's members), ``label``, ``missing``,
        ``system_missing``, ``count``, ``percent`` and, when the counts are
        weighted, ``unweighted_count``."""
        columns = self._model["values"]
        frame = pd.DataFrame(
            {
                "variable": pd.Series(columns["variable"], dtype="object"),
                "value": pd.Series(columns["value"], dtype="object"),
                "label": pd.Series(columns["label"], dtype="object"),
                "missing": pd.Series(columns["missing"], dtype="bool"),
                "system_missing": pd.Series(columns["system_missing"], dtype="bool"),
                "count": pd.Series(columns["count"], dtype="float64"),
                "percent": pd.Series(columns["percent"], dtype="float64"),
                "unweighted_count": pd.array(columns["unweighted_count"], dtype="Int64"),
            }
        )
        return frame

    @property
    def sets(self) -> pd.DataFrame:
        """One row per multiple-response set of the command: ``name``,
        ``label``, ``type``, ``counted_value``, ``members`` (space-separated)."""
        columns = self._model["sets"]
        return pd.DataFrame(columns, columns=list(columns), dtype="object")

    @property
    def file(self) -> dict:
        """What the file says of itself and of the run: name, label, cases,
        variables, weight, weighted_cases, layout, encoding, created,
        written_by, documents, attributes, made_by, made_on, model_version."""
        return dict(self._model["file"])

    @property
    def alerts(self) -> pd.DataFrame:
        """The data-quality alerts: ``item`` (empty: the file), ``kind``, ``text``."""
        columns = self._model["alerts"]
        return pd.DataFrame(columns, columns=list(columns), dtype="object")

    @property
    def overview(self) -> Optional[pd.DataFrame]:
        """The overview (one row per item, indexed by its name), or None
        when the run made none."""
        for raw in self._raw_frames():
            if raw["subtype"] == "Overview":
                frame = _to_frame(raw)
                frame.index = frame.index.get_level_values(0)
                frame.index.name = "item"
                return frame
        return None

    @property
    def tables(self) -> list:
        """The procedure's pivot tables, each a DataFrame whose index is the
        path of its row groups (a MultiIndex) and whose ``attrs`` give its
        ``title`` and ``subtype``."""
        return [_to_frame(raw) for raw in self._raw_frames() if raw["subtype"] != "Overview"]

    def _raw_frames(self):
        if self._frames is None:
            self._frames = self._result.tables(self._index)
        return self._frames

    # The report.

    def render(self, format: str, path: Union[str, os.PathLike, None] = None, *, width: int = 0):
        """The codebook in one of ``FORMATS``: a str (bytes for pdf and
        xlsx), or written to ``path`` (then None). ``width`` fits text
        output into that many columns."""
        if format not in FORMATS:
            raise ValueError(f"unknown format {format!r}; the formats: {', '.join(FORMATS)}")
        try:
            data = self._result.render(self._index, format, int(width))
        except ValueError as error:
            raise CodebookError(f"codebook: {error}", 2) from None
        if path is not None:
            with open(path, "wb") as out:
                out.write(data)
            return None
        return data if format in _BINARY else data.decode("utf-8")

    def to_text(self, path=None, *, width: int = 0):
        return self.render("text", path, width=width)

    def to_html(self, path=None):
        return self.render("html", path)

    def to_json(self, path=None):
        return self.render("json", path)

    def to_markdown(self, path=None):
        return self.render("markdown", path)

    def to_csv(self, path=None):
        return self.render("csv", path)

    def to_pdf(self, path=None):
        return self.render("pdf", path)

    def to_ddi(self, path=None):
        return self.render("ddi", path)

    def to_dictionary(self, path=None):
        return self.render("dictionary", path)

    def to_xlsx(self, path=None):
        return self.render("xlsx", path)

    def _repr_html_(self) -> str:
        return self.to_html()

    def __repr__(self) -> str:
        file = self._model["file"]
        return (
            f"<Codebook of {file['name']}: {len(self._model['variables']['name'])} variables,"
            f" {file['cases'] if file['cases'] is not None else 'unknown'} cases>"
        )


def _to_frame(raw) -> pd.DataFrame:
    index = pd.MultiIndex.from_tuples(raw["index"]) if raw["index"] else pd.MultiIndex.from_tuples([], names=[None])
    frame = pd.DataFrame({i: column for i, column in enumerate(raw["data"])}, index=index)
    frame.columns = list(raw["columns"])
    frame.attrs["title"] = raw["title"]
    frame.attrs["subtype"] = raw["subtype"]
    return frame


def _finish(result, quiet_errors: bool = False) -> list:
    """The codebooks of a run; its warnings as Python warnings, its errors
    as one CodebookError."""
    books = [Codebook(result, i) for i in range(result.commands)]
    for severity, _text, printed in result.messages():
        if severity in ("warning", "note"):
            warnings.warn(printed, CodebookWarning, stacklevel=3)
    if result.status != 0 or result.interrupted:
        raise CodebookError(result.error_text, result.status, books)
    return books


def _names(value: Union[str, Iterable[str], None]) -> list:
    if value is None:
        return []
    if isinstance(value, str):
        return value.split()
    return [str(name) for name in value]


def _weight(weight):
    # None: the file's own weight; False or "": unweighted; a name: that variable.
    if weight is None:
        return None
    if weight is False or weight == "":
        return False
    if weight is True:
        raise ValueError("weight: give a variable name, False (unweighted) or None (the file's weight)")
    return str(weight)


def read(
    path: Union[str, os.PathLike],
    *,
    variables: Union[str, Sequence[str], None] = None,
    weight: Union[str, bool, None] = None,
    maxcats: int = 200,
    hide: Union[str, Sequence[str], None] = None,
    encoding: Optional[str] = None,
    catalog: Union[str, os.PathLike, None] = None,
    statistics: Optional[str] = None,
    overview: bool = True,
    alerts: bool = True,
    progress: Optional[Progress] = None,
) -> Codebook:
    """The codebook of a dataset file (every format the program reads).

    variables: the CODEBOOK variable list (names, ``$sets``, ``a TO b``);
    None: every variable and set. weight: None for the file's own weight,
    False for none, or a variable's name. maxcats: values past which a
    variable lists none. hide: variables whose values are not shown (or
    "auto"). encoding: read the file's text in this encoding. catalog: a
    .sas7bdat file's format catalog (default: the .sas7bcat beside it). statistics:
    the STATISTICS subcommand's keywords ("MEAN STDDEV QUARTILES").
    progress: called with (cases read, total or -1) every few thousand
    cases; returning False stops the pass."""
    subcommands = f"/STATISTICS {statistics}" if statistics else ""
    result = _native.read_file(
        os.fspath(path), _names(variables), _weight(weight), int(maxcats), " ".join(_names(hide)),
        encoding or "", os.fspath(catalog) if catalog is not None else "", subcommands, bool(overview), bool(alerts),
        progress,
    )
    return _finish(result)[0]


def run(
    syntax: str,
    dataset: Union[str, os.PathLike, None] = None,
    *,
    hide: Union[str, Sequence[str], None] = None,
    encoding: Optional[str] = None,
    folder: Union[str, os.PathLike, None] = None,
    overview: bool = True,
    alerts: bool = True,
    progress: Optional[Progress] = None,
) -> list:
    """Runs a command-language job (GET FILE, WEIGHT, FILTER, N OF CASES,
    CODEBOOK) and returns one Codebook per CODEBOOK command. ``dataset``,
    when given, is opened first (as GET FILE); relative paths in the text
    are taken from ``folder`` (default: the working folder)."""
    text = syntax
    if dataset is not None:
        quoted = os.fspath(dataset).replace("'", "''")
        text = f"GET FILE='{quoted}'.\n" + syntax
    result = _native.run_syntax(
        text, os.fspath(folder) if folder is not None else "", " ".join(_names(hide)), encoding or "",
        bool(overview), bool(alerts), progress,
    )
    return _finish(result)


def from_frame(
    df: pd.DataFrame,
    *,
    value_labels: Optional[Mapping[str, Mapping]] = None,
    missing: Optional[Mapping[str, Sequence]] = None,
    labels: Optional[Mapping[str, str]] = None,
    levels: Optional[Mapping[str, str]] = None,
    weight: Optional[str] = None,
    file_label: Optional[str] = None,
    name: str = "data frame",
    variables: Union[str, Sequence[str], None] = None,
    maxcats: int = 200,
    hide: Union[str, Sequence[str], None] = None,
    statistics: Optional[str] = None,
    overview: bool = True,
    alerts: bool = True,
    progress: Optional[Progress] = None,
) -> Codebook:
    """The codebook of a DataFrame, without writing a file.

    Each column becomes a variable (the index is left out): numbers and
    booleans numeric, datetimes dates or date-times, timedeltas durations,
    anything else strings (None and NaN blank). A categorical column's
    categories become value labels of the codes 1, 2, ... (missing: system-
    missing), nominal or, when ordered, ordinal. value_labels: {column:
    {value: label}}; missing: {column: [values]}, a pair (low, high) in the
    list being a range (use -inf and inf for LO and HI); labels: {column:
    variable label}; levels: {column: "nominal" | "ordinal" | "scale"};
    weight: a column that weights the cases."""
    columns = frame_columns(df, value_labels or {}, missing or {}, labels or {}, levels or {})
    subcommands = f"/STATISTICS {statistics}" if statistics else ""
    try:
        result = _native.read_frame(
            columns, file_label, name, _names(variables), weight, int(maxcats), " ".join(_names(hide)),
            subcommands, bool(overview), bool(alerts), progress,
        )
    except ValueError as error:
        raise CodebookError(f"codebook: {error}", 2) from None
    return _finish(result)[0]
