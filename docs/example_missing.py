"""A notebook's worth of codebook: read the demo dataset, find the variables
that miss many values, and write the report of those as HTML.

    python3 docs/example_missing.py [DATASET] [REPORT.html] [THRESHOLD]

Each block below is a notebook cell; run one at a time and look at the
frames in between.
"""

import sys
import warnings
from pathlib import Path

import dscodebook

here = Path(__file__).resolve().parent
dataset = Path(sys.argv[1]) if len(sys.argv) > 1 else here.parent / "data" / "demo.sav"
report = Path(sys.argv[2]) if len(sys.argv) > 2 else Path("missing.html")
threshold = float(sys.argv[3]) if len(sys.argv) > 3 else 0.10

# The codebook of the whole file; the procedure's notes become warnings.
with warnings.catch_warnings():
    warnings.simplefilter("ignore", dscodebook.CodebookWarning)
    book = dscodebook.read(dataset)
print(book)

# One row per variable, the dictionary CSV's columns: the share of its
# cases that are missing, user- or system-missing alike.
variables = book.variables
variables["missing_share"] = variables["missing"] / (variables["valid"] + variables["missing"])
many = variables[variables["missing_share"] > threshold].sort_values("missing_share", ascending=False)
print(many[["name", "label", "valid", "missing", "missing_share"]].to_string(index=False))

# Their missing values, counted: which codes make up the gap.
values = book.values
print(values[values["variable"].isin(many["name"]) & values["missing"]][["variable", "value", "label", "count"]]
      .to_string(index=False))

# The report of just those variables, as HTML (a notebook shows `subset` inline).
if many.empty:
    print(f"no variable misses more than {threshold:.0%} of its cases")
else:
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", dscodebook.CodebookWarning)
        subset = dscodebook.read(dataset, variables=list(many["name"]))
    subset.to_html(report)
    print(f"wrote {report}: {len(many)} variables missing more than {threshold:.0%} of their cases")
