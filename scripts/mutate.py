#!/usr/bin/env python3
"""A small mutation run over the product's sources.

Puts one simple fault at a time into a source file (a comparison moved by
one, `+ 1` made `- 1`, a negation added or dropped, an `if` whose condition
is gone, a constant off by one, an early return), rebuilds incrementally in
a build folder of its own, runs the tests until the first one fails, and
puts the file back. A mutant some test catches is killed; one no test
catches survived. The score is the killed share of the mutants that
compiled and are not listed as equivalent (scripts/mutate-equivalent.txt).

The tree is never left changed: before a file is changed its text is kept
beside it (FILE.mutate-backup), and it is put back on every way out,
including Ctrl-C and SIGTERM. A backup found at start (a run that was
killed outright) is put back first.

    scripts/mutate.py                             # 200 mutants of backend platform cli
    scripts/mutate.py platform/export -n 20 --seed 3 --budget 30
    scripts/mutate.py --list -n 50                # which mutants, without running them
    scripts/mutate.py --only 3fa2c1d0,77be01aa    # these mutants again

docs/testing.md says what the score means and how to list an equivalent
mutant.
"""

import argparse
import hashlib
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BACKUP = ".mutate-backup"
DEFAULT_EQUIVALENTS = "scripts/mutate-equivalent.txt"

# Lines that are not worth mutating: the preprocessor, invariant checks
# (they cannot change what a user sees when they hold), messages to the
# developer, and hints that only change speed.
SKIPPED_LINE = re.compile(
    r"^\s*#|\b(static_assert|assert|\w*_ASSERT\w*)\s*\(|std::cerr|\bstderr\b|"
    r"__builtin_prefetch|__builtin_expect|\.reserve\(|\[\[(un)?likely\]\]")


class Interrupted(Exception):
    pass


@dataclass
class Mutant:
    path: str        # relative to the root
    line: int        # 0-based
    operator: str
    original: str    # the whole line as it is
    mutated: str     # the whole line as the mutant has it
    ident: str = ""

    def where(self):
        return f"{self.path}:{self.line + 1}"

    def change(self):
        return f"`{self.original.strip()}` -> `{self.mutated.strip()}`"


# --- finding the code in a line ---------------------------------------------

def code_masks(lines):
    """For each line, the line with comments and the insides of string and
    character literals replaced by blanks, so that operators are found in
    code only. Block comments and raw strings may span lines."""
    masked = []
    in_block = False
    raw_end = None
    for text in lines:
        out = []
        i = 0
        n = len(text)
        while i < n:
            if raw_end is not None:
                end = text.find(raw_end, i)
                if end < 0:
                    out.append(" " * (n - i))
                    i = n
                    break
                out.append(" " * (end - i + len(raw_end)))
                i = end + len(raw_end)
                raw_end = None
                continue
            if in_block:
                end = text.find("*/", i)
                if end < 0:
                    out.append(" " * (n - i))
                    i = n
                    break
                out.append(" " * (end + 2 - i))
                i = end + 2
                in_block = False
                continue
            c = text[i]
            if text.startswith("//", i):
                out.append(" " * (n - i))
                break
            if text.startswith("/*", i):
                in_block = True
                out.append("  ")
                i += 2
                continue
            raw = re.match(r'(?:u8|[uUL])?R"([^(\s]*)\(', text[i:])
            if raw and (i == 0 or not (text[i - 1].isalnum() or text[i - 1] == "_")):
                raw_end = ")" + raw.group(1) + '"'
                out.append(" " * raw.end())
                i += raw.end()
                continue
            if c in "\"'":
                # A digit separator (1'000) is not a literal.
                if c == "'" and i > 0 and text[i - 1].isalnum() and i + 1 < n and text[i + 1].isalnum() \
                        and text[i - 1].isdigit():
                    out.append(c)
                    i += 1
                    continue
                j = i + 1
                while j < n and text[j] != c:
                    j += 2 if text[j] == "\\" else 1
                out.append(c + " " * (min(j, n) - i - 1) + (c if j < n else ""))
                i = j + 1
                continue
            out.append(c)
            i += 1
        masked.append("".join(out)[:n].ljust(n))
    return masked


def closing_paren(code, open_at):
    depth = 0
    for k in range(open_at, len(code)):
        if code[k] == "(":
            depth += 1
        elif code[k] == ")":
            depth -= 1
            if depth == 0:
                return k
    return -1


# --- the rules ---------------------------------------------------------------

# The size in the declaration of a fixed array: `char text[32]`.
ARRAY_SIZE = re.compile(r"^\s*(?:(?:static|constexpr|const)\s+)*[\w:]+\s+\w+\[\d+[uUlL]*\]$")
# A condition that declares its variable: `const T* x = f()`, `auto [a, b] = g()`.
DECLARATION = re.compile(r"^\s*(?:const\s+)?(?:auto\s*[&*]?\s*\[|[\w:<>]+(?:\s*[*&]+\s*|\s+)\w+\s*=[^=])")
RELATIONAL = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
FUNCTION_START = re.compile(
    r"^\s*(?:(?:static|inline|constexpr|virtual|\[\[nodiscard\]\])\s+)*(void|bool)\s+[\w:~]+\s*\(.*\)\s*"
    r"(?:const\s*)?(?:noexcept\s*)?(?:override\s*)?(?:final\s*)?\{\s*$")


def mutations_of_line(text, code):
    """(operator, mutated line) for every rule that applies to the line."""
    found = []

    def at(start, end, replacement, operator):
        found.append((operator, text[:start] + replacement + text[end:]))

    for m in re.finditer(r"(?<=\s)(<=|>=|==|!=|<|>)(?=\s)", code):
        at(m.start(), m.end(), RELATIONAL[m.group(1)], "relational")
    for m in re.finditer(r"(?<=\s)([+-]) 1(?![\w.'])", code):
        at(m.start(), m.end(), ("-" if m.group(1) == "+" else "+") + " 1", "plus-minus-one")
    for m in re.finditer(r"(?<=\s)(&&|\|\|)(?=\s)", code):
        at(m.start(), m.end(), "||" if m.group(1) == "&&" else "&&", "logical")
    for m in re.finditer(r"(?<![\w)\]!=<>&|])!(?=[\w(*])", code):
        at(m.start(), m.end(), "", "negation")
    for m in re.finditer(r"\b(true|false)\b", code):
        at(m.start(), m.end(), "false" if m.group(1) == "true" else "true", "boolean")
    for m in re.finditer(r"(?<![\w.'])(\d+)([uUlL]*)(?![\w.'])", code):
        if ARRAY_SIZE.search(code[:m.end() + 1]):
            continue  # a buffer one larger or smaller changes nothing a test sees
        value = int(m.group(1))
        at(m.start(1), m.end(1), str(value + 1), "constant")
        if value > 0:
            at(m.start(1), m.end(1), str(value - 1), "constant")
    for m in re.finditer(r"\b(if|while)\s*\(", code):
        if re.match(r"\s*constexpr", code[m.end():]):
            continue
        close = closing_paren(code, m.end() - 1)
        if close < 0:
            continue  # the condition goes on past this line
        condition = text[m.end():close]
        if not condition.strip() or DECLARATION.match(code[m.end():close]):
            continue  # `if (T* x = f())`: neither rule would compile
        if m.group(1) == "if":
            at(m.end(), close, "true", "if-removed")
        if not condition.lstrip().startswith("!"):  # the negation rule drops that one
            at(m.end(), close, "!(" + condition + ")", "negation")
    start = FUNCTION_START.match(code)
    if start:
        brace = code.rstrip().rfind("{")
        early = " return;" if start.group(1) == "void" else " return false;"
        at(brace + 1, brace + 1, early, "early-return")
    return found


def mutants_of_file(path):
    with open(os.path.join(ROOT, path), encoding="utf-8", errors="surrogateescape") as f:
        lines = f.read().split("\n")
    codes = code_masks(lines)
    seen = {}
    mutants = []
    for number, (text, code) in enumerate(zip(lines, codes)):
        key = text.strip()
        occurrence = seen.get(key, 0)
        seen[key] = occurrence + 1
        if not code.strip() or SKIPPED_LINE.search(text):
            continue
        made = set()
        for operator, mutated in mutations_of_line(text, code):
            if mutated in made:
                continue
            made.add(mutated)
            mutant = Mutant(path, number, operator, text, mutated)
            # The id survives lines moving: the file, the line's text and
            # which of its equal lines, and the change.
            digest = hashlib.sha1("\0".join([path, key, str(occurrence), mutated.strip()]).encode())
            mutant.ident = digest.hexdigest()[:8]
            mutants.append(mutant)
    return mutants


def source_files(folders, headers):
    suffixes = (".cpp", ".h") if headers else (".cpp",)
    files = []
    for folder in folders:
        base = os.path.join(ROOT, folder)
        if os.path.isfile(base):
            files.append(os.path.relpath(base, ROOT))
            continue
        if not os.path.isdir(base):
            sys.exit(f"mutate: no folder or file {folder}")
        for directory, _, names in os.walk(base):
            for name in names:
                if name.endswith(suffixes):
                    files.append(os.path.relpath(os.path.join(directory, name), ROOT))
    return sorted(set(files))


def file_pool(path, seed):
    """A file's mutants in the order they are taken: the rules in turn (so
    that the many constants do not crowd out the rest), each rule's sites
    shuffled."""
    rng = random.Random(f"{seed}:{path}")
    by_rule = {}
    for mutant in mutants_of_file(path):
        by_rule.setdefault(mutant.operator, []).append(mutant)
    rules = sorted(by_rule)
    rng.shuffle(rules)
    for rule in rules:
        rng.shuffle(by_rule[rule])
    pool = []
    depth = 0
    while len(pool) < sum(len(v) for v in by_rule.values()):
        for rule in rules:
            if depth < len(by_rule[rule]):
                pool.append(by_rule[rule][depth])
        depth += 1
    return pool


def sample(files, count, seed):
    """Mutants spread evenly over the files: in a shuffled order of files,
    one mutant of each in turn. Each file's mutants are shuffled by a seed of
    its own, so a change in one file changes the picks of no other."""
    order = list(files)
    random.Random(seed).shuffle(order)
    pools = [file_pool(path, seed) for path in order]
    chosen = []
    depth = 0
    while len(chosen) < count and any(depth < len(pool) for pool in pools):
        for pool in pools:
            if depth < len(pool) and len(chosen) < count:
                chosen.append(pool[depth])
        depth += 1
    return chosen


def read_equivalents(path):
    """Ids of mutants listed as equivalent. A line: the id, where and what
    (for people), then " -- " and why it changes nothing a test could see."""
    listed = {}
    full = os.path.join(ROOT, path)
    if not os.path.exists(full):
        return listed
    with open(full, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            line = line.strip()
            if not line or line.startswith("#"):
                continue
            ident = line.split()[0]
            reason = line.split(" -- ", 1)[1].strip() if " -- " in line else ""
            if not reason:
                print(f"mutate: {path}:{number}: {ident} has no reason after ' -- '; not skipped", file=sys.stderr)
                continue
            listed[ident] = reason
    return listed


# --- keeping the tree as it was ----------------------------------------------

def write_text(path, text):
    with open(path, "w", encoding="utf-8", errors="surrogateescape", newline="") as f:
        f.write(text)
        f.flush()
        os.fsync(f.fileno())


def restore_left_backups():
    """Puts back the files of a run that was killed outright. The text is
    written, not the backup moved, so the file is newer than any object made
    from the mutant and gets rebuilt."""
    for directory, dirs, names in os.walk(ROOT):
        dirs[:] = [d for d in dirs if d != ".git" and not d.startswith("build")]
        for name in names:
            if not name.endswith(BACKUP):
                continue
            backup = os.path.join(directory, name)
            original = backup[:-len(BACKUP)]
            with open(backup, encoding="utf-8", errors="surrogateescape", newline="") as f:
                write_text(original, f.read())
            os.remove(backup)
            print(f"mutate: put back {os.path.relpath(original, ROOT)} from a run that was stopped")


SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


class Applied:
    """One mutant in its file, for the length of a `with`. The signals that
    stop a run wait while the file is being changed or put back, so that
    either the mutant is in and will be taken out, or it is not in at all."""

    def __init__(self, mutant):
        self.mutant = mutant
        self.path = os.path.join(ROOT, mutant.path)
        self.text = None

    def __enter__(self):
        signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
        try:
            self.put_in()
        except BaseException:
            if self.text is not None and os.path.exists(self.path + BACKUP):
                self.__exit__()
            raise
        finally:
            signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)
        return self

    def put_in(self):
        with open(self.path, encoding="utf-8", errors="surrogateescape", newline="") as f:
            self.text = f.read()
        lines = self.text.split("\n")
        if lines[self.mutant.line] != self.mutant.original:
            raise RuntimeError(f"{self.mutant.where()} changed under the run")
        backup = self.path + BACKUP
        write_text(backup + ".tmp", self.text)
        os.replace(backup + ".tmp", backup)
        lines[self.mutant.line] = self.mutant.mutated
        write_text(self.path, "\n".join(lines))

    def __exit__(self, *_):
        signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
        try:
            write_text(self.path, self.text)
            os.remove(self.path + BACKUP)
        finally:
            signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)


# --- building and testing ----------------------------------------------------

class Runner:
    def __init__(self, args):
        self.args = args
        self.build = os.path.join(ROOT, args.build_dir)
        self.child = None
        self.timeout = None
        self.tests_by_folder = self.test_folders()

    def run(self, command, timeout=None):
        """Runs a command in a process group of its own (so that all of it
        can be stopped); returns (status or None on timeout, output)."""
        self.child = subprocess.Popen(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                      text=True, errors="replace", start_new_session=True)
        try:
            out, _ = self.child.communicate(timeout=timeout)
            return self.child.returncode, out
        except subprocess.TimeoutExpired:
            self.stop_child()
            return None, ""
        finally:
            self.child = None

    def stop_child(self):
        if self.child is not None and self.child.poll() is None:
            try:
                os.killpg(self.child.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.child.wait()

    def configure(self):
        command = ["cmake", "-S", ".", "-B", self.build, "-G", "Ninja", "-DCODEBOOK_BUILD_BENCH=OFF",
                   # A mutant changes no library's interface: a test need
                   # not be linked again when a library it uses is.
                   "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
                   # An index past the end of a standard container stops
                   # the test, as the sanitizers' run in CI would.
                   "-DCMAKE_CXX_FLAGS=-D_GLIBCXX_ASSERTIONS"]
        if shutil.which("ccache"):
            command += ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]
        status, out = self.run(command)
        if status != 0:
            sys.exit("mutate: configuring failed:\n" + out)

    def compile(self):
        status, out = self.run(["cmake", "--build", self.build, "-j", str(self.args.jobs)])
        return status == 0, out

    def test_folders(self):
        """Each test's folder under tests/, from the CMake files there, so
        that the tests of a mutant's own folder run first."""
        folders = {}
        tests = os.path.join(ROOT, "tests")
        for directory, _, names in os.walk(tests):
            for name in names:
                if name != "CMakeLists.txt" and not name.endswith(".cmake"):
                    continue
                with open(os.path.join(directory, name), encoding="utf-8") as f:
                    text = f.read()
                for m in re.finditer(r"\b(?:codebook_add_test|add_test)\s*\(\s*(?:NAME\s+)?([\w-]+)", text):
                    folders[m.group(1)] = os.path.relpath(directory, tests)
        return folders

    def near_tests(self, path):
        # tests/ mirrors the tree, but the procedure's tests are in tests/codebook.
        mirror = re.sub(r"^backend/", "", os.path.dirname(path))
        near = []
        for test, folder in self.tests_by_folder.items():
            if folder == ".":
                continue
            if mirror == folder or mirror.startswith(folder + "/") or folder.startswith(mirror + "/"):
                near.append(test)
        return sorted(near)

    def ctest(self, selection, timeout):
        command = ["ctest", "--test-dir", self.build, "-j", str(self.args.jobs), "--stop-on-failure",
                   "--timeout", str(int(self.per_test_timeout))] + selection
        status, out = self.run(command, timeout)
        if status is None:
            return "timeout"
        if status == 0:
            return None
        failed = re.findall(r"Test\s+#\d+:\s+(\S+)\s+\.*\**\s*(?:\*\*\*)?(Failed|Timeout|Exception|Subprocess|Not Run)", out)
        if failed:
            return failed[0][0]
        return "ctest status %d" % status

    def baseline(self):
        """Builds the tree as it is and runs every test once: they must
        pass, and their times set the limits of a mutant's run."""
        self.configure()
        ok, out = self.compile()
        if not ok:
            sys.exit("mutate: the tree does not build as it is:\n" + out[-4000:])
        started = time.monotonic()
        status, out = self.run(["ctest", "--test-dir", self.build, "-j", str(self.args.jobs)])
        elapsed = time.monotonic() - started
        if status != 0:
            sys.exit("mutate: the tests fail without any mutant; fix that first:\n" + out[-4000:])
        times = [float(t) for t in re.findall(r"Passed\s+([\d.]+) sec", out)]
        self.per_test_timeout = max(30.0, self.args.timeout_factor * max(times, default=10.0))
        self.timeout = max(60.0, self.args.timeout_factor * elapsed)
        print(f"mutate: baseline: every test passes in {elapsed:.0f} s; a mutant's tests get "
              f"{self.timeout:.0f} s (one test {self.per_test_timeout:.0f} s)")

    def killer(self, mutant):
        """The first test that fails with the mutant in, 'timeout' when the
        tests hang, or None when every test passes."""
        near = self.near_tests(mutant.path)
        started = time.monotonic()
        if near:
            names = "^(" + "|".join(re.escape(t) for t in near) + ")$"
            found = self.ctest(["-R", names], self.timeout)
            if found:
                return found
            rest = ["-E", names]
        else:
            rest = []
        left = max(30.0, self.timeout - (time.monotonic() - started))
        return self.ctest(rest, left)


# --- the run -----------------------------------------------------------------

def parse_arguments():
    parser = argparse.ArgumentParser(description="Mutation run over the product's sources (docs/testing.md).")
    parser.add_argument("folders", nargs="*", default=["backend", "platform", "cli"],
                        help="folders or files to mutate (default: backend platform cli)")
    parser.add_argument("-n", "--mutants", type=int, default=200, help="how many mutants (default 200)")
    parser.add_argument("--seed", type=int, default=1, help="seed of the sample (default 1)")
    parser.add_argument("--budget", type=float, default=0,
                        help="minutes after which no new mutant is started (default: no limit)")
    parser.add_argument("--equivalent", default=DEFAULT_EQUIVALENTS,
                        help=f"list of equivalent mutants to skip (default {DEFAULT_EQUIVALENTS})")
    parser.add_argument("--build-dir", default="build-mutate", help="build folder (default build-mutate)")
    parser.add_argument("-j", "--jobs", type=int, default=2, help="parallel build and test jobs (default 2)")
    parser.add_argument("--headers", action="store_true", help="mutate headers too (slow: many files rebuild)")
    parser.add_argument("--only", default="", help="comma-separated mutant ids: run just these")
    parser.add_argument("--list", action="store_true", help="print the sampled mutants and stop")
    parser.add_argument("--timeout-factor", type=float, default=3.0,
                        help="a mutant's tests may take this many times the baseline's (default 3)")
    return parser.parse_args()


def on_signal(number, _frame):
    raise Interrupted(signal.Signals(number).name)


def main():
    args = parse_arguments()
    os.chdir(ROOT)
    restore_left_backups()
    files = source_files(args.folders, args.headers)
    if args.only:
        wanted = set(args.only.split(","))
        chosen = [m for path in files for m in mutants_of_file(path) if m.ident in wanted]
        missing = wanted - {m.ident for m in chosen}
        if missing:
            print("mutate: no such mutant in these folders: " + ", ".join(sorted(missing)), file=sys.stderr)
    else:
        chosen = sample(files, args.mutants, args.seed)
    equivalents = read_equivalents(args.equivalent)
    print(f"mutate: {len(chosen)} mutants of {len(files)} files in {' '.join(args.folders)} (seed {args.seed})")
    if args.list:
        for m in chosen:
            mark = "  (equivalent)" if m.ident in equivalents else ""
            print(f"{m.ident}  {m.where()}  {m.operator}  {m.change()}{mark}")
        return 0

    for number in SIGNALS:
        signal.signal(number, on_signal)
    runner = Runner(args)
    results = {"killed": [], "survived": [], "equivalent": [], "uncompiled": [], "not run": []}
    started = time.monotonic()
    try:
        runner.baseline()
        for index, mutant in enumerate(chosen, 1):
            if mutant.ident in equivalents:
                results["equivalent"].append(mutant)
                continue
            if args.budget and time.monotonic() - started > args.budget * 60:
                results["not run"].append(mutant)
                continue
            began = time.monotonic()
            with Applied(mutant):
                built, _ = runner.compile()
                found = runner.killer(mutant) if built else None
            if not built:
                outcome = "uncompiled"
                note = ""
            elif found:
                outcome = "killed"
                note = f" by {found}"
            else:
                outcome = "survived"
                note = ""
            results[outcome].append(mutant)
            print(f"[{index}/{len(chosen)}] {outcome:10} {mutant.ident} {mutant.where()} {mutant.operator} "
                  f"{mutant.change()}{note} ({time.monotonic() - began:.0f} s)", flush=True)
    except Interrupted as stop:
        runner.stop_child()
        print(f"mutate: stopped by {stop}; the tree is as it was", file=sys.stderr)
        return 130
    except KeyboardInterrupt:
        runner.stop_child()
        print("mutate: stopped; the tree is as it was", file=sys.stderr)
        return 130
    finally:
        runner.stop_child()

    killed, survived = len(results["killed"]), len(results["survived"])
    print()
    print(f"mutate: {killed} killed, {survived} survived, {len(results['equivalent'])} listed as equivalent, "
          f"{len(results['uncompiled'])} did not compile, {len(results['not run'])} not run "
          f"(time budget); {(time.monotonic() - started) / 60:.0f} min")
    if survived:
        print("survivors (write the test that kills each, or list it in "
              f"{args.equivalent} with the reason):")
        for m in results["survived"]:
            print(f"  {m.ident}  {m.where()}  {m.operator}  {m.change()}")
    if killed + survived:
        print(f"mutate: score {100.0 * killed / (killed + survived):.1f}% "
              f"({killed} of {killed + survived} non-equivalent mutants killed)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
