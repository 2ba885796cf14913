"""The notebook-style example in docs/ runs on the demo and reports the
variables that the program's own dictionary says miss many values."""

import io
import os
import subprocess
import sys

import pandas as pd

from conftest import SOURCE


def test_the_example_reports_the_variables_missing_many_values(tmp_path, program):
    demo = SOURCE / "data" / "demo.sav"
    report = tmp_path / "missing.html"
    done = subprocess.run([sys.executable, str(SOURCE / "docs" / "example_missing.py"), str(demo), str(report), "0.2"],
                          capture_output=True, text=True, env=dict(os.environ), cwd=tmp_path, check=False)
    assert done.returncode == 0, done.stderr
    csv = subprocess.run([program, "-q", "-f", "dictionary", str(demo)], capture_output=True, check=True).stdout
    dictionary = pd.read_csv(io.BytesIO(csv))
    share = dictionary["missing"] / (dictionary["valid"] + dictionary["missing"])
    expected = set(dictionary.loc[share > 0.2, "name"])
    assert expected, "the demo has variables missing over a fifth of their cases"
    html = report.read_text(encoding="utf-8")
    # Each item of the report has its anchor.
    shown = {name for name in dictionary["name"] if f'id="var-{name}"' in html}
    assert shown == expected
