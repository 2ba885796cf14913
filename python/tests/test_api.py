"""The package's surface: errors and warnings, the syntax runs, the output
formats, the tables, data frames in memory, progress and Ctrl-C."""

import io
import json
import math
import os
import signal
import threading
import warnings
import zipfile

import numpy as np
import pandas as pd
import pytest

import dscodebook
from conftest import FIXTURES, truth_of

WEIGHTED = FIXTURES / "fx06_weight_integer.sav"
LABELLED = FIXTURES / "fx03_labels_missing.zsav"
SETS = FIXTURES / "fx05_mrsets.sav"


def quiet_read(path, **options):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", dscodebook.CodebookWarning)
        return dscodebook.read(path, **options)


class TestErrorsAndWarnings:
    def test_a_missing_file_raises_the_programs_message_and_status(self, tmp_path):
        with pytest.raises(dscodebook.CodebookError) as raised:
            dscodebook.read(tmp_path / "absent.sav")
        assert "absent.sav" in str(raised.value) and "No such file" in str(raised.value)
        assert raised.value.status == 3

    def test_unknown_variables_and_weights_are_errors_of_the_command(self):
        with pytest.raises(dscodebook.CodebookError, match="nosuch"):
            dscodebook.read(LABELLED, variables=["nosuch"])
        with pytest.raises(dscodebook.CodebookError, match="nosuch"):
            dscodebook.read(LABELLED, weight="nosuch")

    def test_a_name_that_would_end_the_command_is_refused(self):
        with pytest.raises(dscodebook.CodebookError, match="not a variable"):
            dscodebook.read(LABELLED, variables=["id. GET FILE='x'"])

    def test_every_malformed_file_raises_or_warns_and_nothing_else(self):
        folder = FIXTURES / "malformed"
        files = sorted(path for path in folder.iterdir() if path.suffix in (".sav", ".zsav"))
        assert files
        for path in files:
            with warnings.catch_warnings(record=True) as caught:
                warnings.simplefilter("always")
                try:
                    book = dscodebook.read(path)
                except dscodebook.CodebookError as error:
                    assert str(error).strip(), path.name
                    continue
            # What is read at all is read with its damage said.
            assert any(issubclass(w.category, dscodebook.CodebookWarning) for w in caught), path.name
            assert book.file["name"] == path.name

    def test_the_procedures_warnings_become_python_warnings(self):
        with pytest.warns(dscodebook.CodebookWarning, match="not displayed for id"):
            dscodebook.read(FIXTURES / "fx12_large_20000.zsav")

    def test_a_file_without_cases_keeps_its_dictionary_with_a_warning(self):
        with pytest.warns(dscodebook.CodebookWarning, match="no cases"):
            book = dscodebook.read(FIXTURES / "fx09_zero_cases.sav")
        truth = truth_of(FIXTURES / "fx09_zero_cases.sav")
        assert list(book.variables["name"]) == [v["name"] for v in truth["variables"]]
        assert book.file["cases"] == 0


class TestOptions:
    def test_weights_from_the_file_off_and_chosen(self):
        truth = truth_of(WEIGHTED)
        own = quiet_read(WEIGHTED)
        off = quiet_read(WEIGHTED, weight=False)
        assert own.file["weight"] == "w" and off.file["weight"] is None
        assert own.variables.set_index("name").loc["id", "valid"] == truth["stats"]["id"]["valid"]
        assert off.variables.set_index("name").loc["id", "valid"] == truth["stats_unweighted"]["id"]["valid"]
        # Weighted counts carry the unweighted ones beside them.
        values = own.values[own.values["variable"] == "cat"].dropna(subset=["count"])
        unweighted = dict((v, c) for v, c in truth["stats_unweighted"]["cat"]["counts"])
        for row in values.itertuples():
            if row.value is not None and not row.system_missing:
                assert row.unweighted_count == unweighted.get(row.value, 0)
        assert off.values["unweighted_count"].isna().all()

    def test_variables_maxcats_and_hide(self):
        truth = truth_of(LABELLED)["stats"]
        plain = quiet_read(LABELLED, variables="nolabel q_d1")
        assert list(plain.variables["name"]) == ["nolabel", "q_d1"]
        counted = plain.values[plain.values["variable"] == "nolabel"]
        assert dict(zip(counted["value"], counted["count"])) == {v: c for v, c in truth["nolabel"]["counts"]}
        # Five values are past MAXCATS=3: the labels are listed, uncounted.
        capped = quiet_read(LABELLED, variables=["nolabel"], maxcats=3)
        listed = capped.values[capped.values["variable"] == "nolabel"]
        assert list(listed["label"]) == list(counted["label"]) and listed["count"].isna().all()
        hidden = quiet_read(LABELLED, variables="nolabel q_d1", hide=["q_d1"])
        row = hidden.variables.set_index("name").loc["q_d1"]
        assert row["values"].startswith("values hidden")
        assert hidden.values[hidden.values["variable"] == "q_d1"]["count"].isna().all()
        assert hidden.values[hidden.values["variable"] == "nolabel"]["count"].notna().all()
        with pytest.warns(dscodebook.CodebookWarning, match="no variable nosuch"):
            dscodebook.read(LABELLED, variables=["nolabel"], hide="nosuch")

    def test_an_encoding_read_instead_of_the_files_and_an_unknown_one_refused(self):
        path = FIXTURES / "fx08_cp1252.sav"
        truth = truth_of(path)
        assert quiet_read(path).file["label"] == truth["file_label"]
        latin1 = quiet_read(path, encoding="ISO-8859-1")
        assert latin1.file["encoding"] == "ISO-8859-1"
        assert latin1.file["label"] != truth["file_label"] and latin1.file["label"].startswith("Übersicht")
        with pytest.raises(dscodebook.CodebookError, match="unknown encoding 'NO-SUCH'") as raised:
            dscodebook.read(path, encoding="NO-SUCH")
        assert raised.value.status == 2

    def test_statistics_subcommand(self):
        book = quiet_read(LABELLED, variables=["longlabel"], statistics="MEAN")
        row = book.variables.iloc[0]
        assert not math.isnan(row["mean"]) and math.isnan(row["median"])


class TestSyntax:
    def test_one_codebook_per_command_each_with_its_weighting(self):
        books = dscodebook.run("CODEBOOK id.\nWEIGHT OFF.\nCODEBOOK id.\n", dataset=WEIGHTED)
        truth = truth_of(WEIGHTED)
        assert [b.file["weight"] for b in books] == ["w", None]
        assert books[0].variables["valid"][0] == truth["stats"]["id"]["valid"]
        assert books[1].variables["valid"][0] == truth["stats_unweighted"]["id"]["valid"]

    def test_a_failing_command_raises_with_the_codebooks_that_ran(self):
        with pytest.raises(dscodebook.CodebookError) as raised:
            dscodebook.run("CODEBOOK id.\nCODEBOOK nosuch.\n", dataset=WEIGHTED)
        assert len(raised.value.results) == 1
        assert raised.value.results[0].variables["name"].tolist() == ["id"]

    def test_relative_paths_are_taken_from_the_folder(self):
        books = dscodebook.run(f"GET FILE='{WEIGHTED.name}'.\nCODEBOOK id.\n", folder=WEIGHTED.parent)
        assert books[0].file["name"] == WEIGHTED.name


class TestOutputs:
    def test_every_format_to_a_string_or_bytes_and_to_a_path(self, tmp_path, monkeypatch):
        # The time of making, fixed: two renderings are then the same bytes,
        # the PDF's and the workbook's too.
        monkeypatch.setenv("SOURCE_DATE_EPOCH", "1700000000")
        book = quiet_read(SETS)
        for name in dscodebook.FORMATS:
            made = book.render(name)
            assert made, name
            path = tmp_path / f"out.{name}"
            assert book.render(name, path) is None
            written = path.read_bytes()
            if name in ("pdf", "xlsx"):
                assert isinstance(made, bytes) and written == made
                assert written[:4] in (b"%PDF", b"PK\x03\x04")
            else:
                # The date of production is the same; the bytes then are.
                assert written.decode("utf-8") == made, name
        with pytest.raises(ValueError, match="unknown format"):
            book.render("docx")

    def test_json_html_and_ddi_say_the_same_file(self):
        book = quiet_read(SETS)
        document = json.loads(book.to_json())
        assert SETS.name in json.dumps(document)
        assert book._repr_html_() == book.to_html() and "<html" in book.to_html().lower()
        assert "codeBook" in book.to_ddi()
        with zipfile.ZipFile(io.BytesIO(book.to_xlsx())) as workbook:
            assert any(name.startswith("xl/worksheets/") for name in workbook.namelist())

    def test_tables_are_indexed_by_their_row_groups(self):
        book = quiet_read(SETS)
        tables = book.tables
        assert tables and all(isinstance(t.index, pd.MultiIndex) for t in tables)
        info = tables[0]
        assert info.attrs["subtype"] and ("Standard Attributes", "Position") in info.index
        overview = book.overview
        assert list(overview.index) == list(book.variables["name"]) + list(book.sets["name"]) \
            or set(book.variables["name"]) <= set(overview.index)
        assert overview["Valid"].dtype == "float64"
        assert quiet_read(SETS, overview=False).overview is None

    def test_sets_frame(self):
        truth = truth_of(SETS)
        sets = quiet_read(SETS).sets
        assert list(sets["name"]) == [s["name"] for s in truth["mr_sets"]]
        for got, want in zip(sets.itertuples(), truth["mr_sets"]):
            assert got.members.split() == want["variables"]
            assert got.type == ("multiple dichotomy" if want["type"] == "dichotomies" else "multiple category")


class TestFromFrame:
    def test_a_frame_with_its_dictionary(self):
        df = pd.DataFrame({
            "age": [31, 45, np.nan, 99, 27],
            "colour": pd.Categorical(["red", "blue", None, "red", "red"], categories=["red", "blue"]),
            "size": pd.Categorical(["S", "M", "L", "M", "S"], categories=["S", "M", "L"], ordered=True),
            "note": ["a", "", None, "b", "a"],
            "when": pd.to_datetime(["2024-01-01", "2024-02-29", None, "1970-01-01", "1900-01-01"]),
            "ok": [True, False, True, True, False],
        })
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", dscodebook.CodebookWarning)
            book = dscodebook.from_frame(df, missing={"age": [99]}, labels={"age": "Age in years"},
                                         value_labels={"age": {99: "Refused"}}, file_label="A frame")
        v = book.variables.set_index("name")
        assert list(v.index) == list(df.columns)
        assert v.loc["age", "label"] == "Age in years"
        assert v.loc["age", "valid"] == 3 and v.loc["age", "missing"] == 2
        assert v.loc["age", "missing_values"] == "99"
        assert v.loc["colour", "value_labels"] == "1=red; 2=blue" and v.loc["colour", "measure"] == "nominal"
        assert v.loc["size", "measure"] == "ordinal"
        assert v.loc["note", "type"] == "string"
        assert v.loc["when", "format"].startswith("DATE")
        colour = book.values[(book.values["variable"] == "colour") & ~book.values["system_missing"]]
        assert dict(zip(colour["label"], colour["count"])) == {"red": 3, "blue": 1}
        assert book.file["label"] == "A frame" and book.file["cases"] == 5

    def test_bad_frames_are_refused_with_the_column_named(self):
        with pytest.raises(ValueError, match="no column"):
            dscodebook.from_frame(pd.DataFrame({"a": [1]}), labels={"b": "x"})
        with pytest.raises(dscodebook.CodebookError, match="a b"):
            dscodebook.from_frame(pd.DataFrame({"a b": [1]}))
        with pytest.raises(dscodebook.CodebookError):
            dscodebook.from_frame(pd.DataFrame([[1, 2]], columns=["a", "a"]))


def big_frame(rows=2_000_000):
    rng = np.random.default_rng(7)
    return pd.DataFrame({"x": rng.normal(size=rows), "g": rng.integers(1, 5, size=rows)})


class TestProgressAndInterrupt:
    def test_progress_counts_up_to_the_total_and_false_stops(self):
        df = big_frame(50_000)
        seen = []
        dscodebook.from_frame(df, progress=lambda read, total: seen.append((read, total)), overview=False)
        assert seen and all(total == 50_000 for _, total in seen)
        assert [read for read, _ in seen] == sorted(read for read, _ in seen)
        with pytest.raises(dscodebook.CodebookError, match="interrupted"):
            dscodebook.from_frame(df, progress=lambda read, total: read < 10_000)

    def test_an_exception_of_the_progress_function_stops_the_pass_and_is_raised(self):
        def progress(read, total):
            raise LookupError("from the callback")

        with pytest.raises(LookupError, match="from the callback"):
            dscodebook.from_frame(big_frame(50_000), progress=progress)
        assert dscodebook.from_frame(big_frame(10), overview=False).file["cases"] == 10

    def test_ctrl_c_stops_a_long_pass_and_the_process_stays_usable(self):
        if threading.current_thread() is not threading.main_thread():
            pytest.skip("signals reach only the main thread")
        df = big_frame()
        started = threading.Event()
        sent = threading.Event()
        calls = []

        # The pass waits, at its first report, for the signal to have been
        # sent: however slow the machine, the interrupt comes mid-pass.
        def progress(read, total):
            calls.append(read)
            if not started.is_set():
                started.set()
                sent.wait(30)

        def interrupt():
            started.wait(30)
            os.kill(os.getpid(), signal.SIGINT)
            sent.set()

        previous = signal.signal(signal.SIGINT, signal.default_int_handler)
        sender = threading.Thread(target=interrupt)
        try:
            sender.start()
            with pytest.raises(KeyboardInterrupt):
                dscodebook.from_frame(df, progress=progress)
        finally:
            sender.join()
            signal.signal(signal.SIGINT, previous)
        # Stopped promptly: within a report or two of the signal.
        assert 1 <= len(calls) <= 3
        # Usable after: the same frame reads whole, with the right counts.
        book = dscodebook.from_frame(df, overview=False)
        assert book.variables.set_index("name").loc["x", "valid"] == len(df)
