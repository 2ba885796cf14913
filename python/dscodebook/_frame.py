"""A DataFrame's columns as the library's in-memory dataset takes them."""

from __future__ import annotations

import math

import numpy as np
import pandas as pd

# The dataset files count time in seconds from 14 October 1582, before
# what pandas' nanosecond timestamps reach: the seconds are counted from
# 1970 and moved back by the days between.
_ORIGIN_TO_EPOCH = 12219379200.0
_LEVELS = {"unknown": 0, "nominal": 1, "ordinal": 2, "scale": 3}


def _seconds_since_origin(series: pd.Series) -> list:
    values = series
    if getattr(values.dt, "tz", None) is not None:
        values = values.dt.tz_convert("UTC").dt.tz_localize(None)
    seconds = (values - pd.Timestamp("1970-01-01")).dt.total_seconds() + _ORIGIN_TO_EPOCH
    return seconds.astype("float64").tolist()


def _numbers(series: pd.Series) -> list:
    return pd.to_numeric(series, errors="raise").astype("float64").tolist()


def _one(name, wanted, values, what):
    if not isinstance(wanted, (list, tuple, set)):
        raise ValueError(f"column {name!r}: {what} takes a list of values")
    return list(wanted)


def frame_columns(df: pd.DataFrame, value_labels, missing, labels, levels) -> list:
    if not isinstance(df, pd.DataFrame):
        raise TypeError("from_frame takes a pandas DataFrame")
    known = {str(column) for column in df.columns}
    for option, given in (("value_labels", value_labels), ("missing", missing), ("labels", labels), ("levels", levels)):
        unknown = [str(key) for key in given if str(key) not in known]
        if unknown:
            raise ValueError(f"{option}: the frame has no column {', '.join(map(repr, unknown))}")
    described = []
    # By position: a frame may hold two columns of one name, which the
    # library then refuses by name.
    for position, column in enumerate(df.columns):
        series = df.iloc[:, position]
        name = str(column)
        wanted = {
            "name": name,
            "numeric": True,
            "kind": "number",
            "label": labels.get(name, labels.get(column)),
            "value_labels": [],
            "missing": [],
            "missing_range": None,
            "level": 0,
        }
        dtype = series.dtype
        if isinstance(dtype, pd.CategoricalDtype):
            codes = series.cat.codes.to_numpy()
            wanted["data"] = [math.nan if code < 0 else float(code + 1) for code in codes]
            wanted["value_labels"] = [(float(i + 1), str(category)) for i, category in enumerate(dtype.categories)]
            wanted["level"] = 2 if dtype.ordered else 1
        elif pd.api.types.is_bool_dtype(dtype):
            wanted["data"] = [math.nan if pd.isna(v) else float(bool(v)) for v in series.astype("object")]
            wanted["level"] = 1
        elif pd.api.types.is_datetime64_any_dtype(dtype):
            wanted["data"] = _seconds_since_origin(series)
            whole_days = all(math.isnan(v) or v % 86400 == 0 for v in wanted["data"])
            wanted["kind"] = "date" if whole_days else "datetime"
            wanted["level"] = 3
        elif pd.api.types.is_timedelta64_dtype(dtype):
            wanted["data"] = [math.nan if pd.isna(v) else v.total_seconds() for v in series.astype("object")]
            wanted["kind"] = "duration"
            wanted["level"] = 3
        elif pd.api.types.is_numeric_dtype(dtype):
            wanted["data"] = _numbers(series)
            wanted["level"] = 3
        else:
            wanted["numeric"] = False
            wanted["data"] = ["" if v is None or (isinstance(v, float) and math.isnan(v)) or v is pd.NA else str(v)
                            for v in series.astype("object")]
            wanted["level"] = 1
        if name in value_labels:
            given = value_labels[name]
            if not isinstance(given, dict):
                raise ValueError(f"value_labels: column {name!r} takes a dict of value: label")
            pairs = []
            for value, label in given.items():
                pairs.append((float(value) if wanted["numeric"] else str(value), str(label)))
            wanted["value_labels"] = pairs
            if wanted["numeric"] and wanted["level"] == 3 and wanted["kind"] == "number":
                wanted["level"] = 1
        if name in missing:
            for item in _one(name, missing[name], series, "missing"):
                if isinstance(item, tuple):
                    if len(item) != 2 or wanted["missing_range"] is not None or not wanted["numeric"]:
                        raise ValueError(f"missing: column {name!r}: a range is one pair (low, high) of a numeric column")
                    wanted["missing_range"] = (float(item[0]), float(item[1]))
                else:
                    wanted["missing"].append(float(item) if wanted["numeric"] else str(item))
        if name in levels:
            level = str(levels[name]).lower()
            if level not in _LEVELS:
                raise ValueError(f"levels: column {name!r}: {levels[name]!r} is not nominal, ordinal or scale")
            wanted["level"] = _LEVELS[level]
        described.append(wanted)
    return described
