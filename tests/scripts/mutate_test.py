#!/usr/bin/env python3
"""scripts/mutate.py on a tree of its own: which lines its rules change,
that a mutant's id outlives lines moving, that the sample is spread over
the files, and that the tree is put back however a run ends."""

import importlib.util
import os
import signal
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
SCRIPT = os.path.join(HERE, "..", "..", "scripts", "mutate.py")
spec = importlib.util.spec_from_file_location("mutate", SCRIPT)
mutate = importlib.util.module_from_spec(spec)
spec.loader.exec_module(mutate)

SOURCE = """\
// if (a < b) return 1;
int F(int a, int b) {
  const char* s = "a < b";
  CB_ASSERT(a < b);
  /* if (a < b)
     return 2; */
  if (a < b && !Done()) return a + 1;
  return 7;
}
void G() {
  Step();
}
"""


class MutateTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        mutate.ROOT = self.folder.name
        self.write("src/f.cpp", SOURCE)

    def write(self, path, text):
        full = os.path.join(self.folder.name, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as f:
            f.write(text)

    def read(self, path):
        with open(os.path.join(self.folder.name, path), encoding="utf-8") as f:
            return f.read()

    def test_rules_change_code_only(self):
        made = {(m.line + 1, m.mutated.strip()) for m in mutate.mutants_of_file("src/f.cpp")}
        self.assertEqual({line for line, _ in made}, {7, 8, 10})
        for expected in [
            (7, "if (a <= b && !Done()) return a + 1;"),
            (7, "if (a < b || !Done()) return a + 1;"),
            (7, "if (a < b && Done()) return a + 1;"),
            (7, "if (a < b && !Done()) return a - 1;"),
            (7, "if (true) return a + 1;"),
            (7, "if (!(a < b && !Done())) return a + 1;"),
            (8, "return 8;"),
            (8, "return 6;"),
            (10, "void G() { return;"),
        ]:
            self.assertIn(expected, made)

    def test_ids_outlive_lines_moving(self):
        mutants = mutate.mutants_of_file("src/f.cpp")
        self.write("src/f.cpp", "#include <x>\n\n" + SOURCE)
        moved = mutate.mutants_of_file("src/f.cpp")
        self.assertEqual([(m.ident, m.line + 2) for m in mutants], [(m.ident, m.line) for m in moved])
        self.assertEqual(len({m.ident for m in mutants}), len(mutants))

    def test_the_sample_takes_every_file_in_turn_and_repeats(self):
        for name in "abc":
            self.write(f"src/{name}.cpp", SOURCE)
        files = mutate.source_files(["src"], False)
        sample = mutate.sample(files, 4, 5)
        self.assertEqual(sorted(m.path for m in sample[:4]),
                         ["src/a.cpp", "src/b.cpp", "src/c.cpp", "src/f.cpp"])
        self.assertEqual([m.ident for m in sample], [m.ident for m in mutate.sample(files, 4, 5)])

    def test_a_mutant_is_taken_out_when_the_run_is_stopped(self):
        mutant = mutate.mutants_of_file("src/f.cpp")[0]
        previous = signal.signal(signal.SIGTERM, mutate.on_signal)
        self.addCleanup(signal.signal, signal.SIGTERM, previous)
        with self.assertRaises(mutate.Interrupted):
            with mutate.Applied(mutant):
                self.assertIn(mutant.mutated, self.read("src/f.cpp"))
                os.kill(os.getpid(), signal.SIGTERM)
        self.assertEqual(self.read("src/f.cpp"), SOURCE)
        self.assertEqual(os.listdir(os.path.join(self.folder.name, "src")), ["f.cpp"])

    def test_a_run_killed_outright_is_put_right_by_the_next(self):
        self.write("src/f.cpp", "mutated\n")
        self.write("src/f.cpp" + mutate.BACKUP, SOURCE)
        mutate.restore_left_backups()
        self.assertEqual(self.read("src/f.cpp"), SOURCE)
        self.assertEqual(os.listdir(os.path.join(self.folder.name, "src")), ["f.cpp"])

    def test_equivalents_need_a_reason(self):
        self.write("list.txt", "# comment\n1234abcd  a.cpp:3  x -> y  -- never read\n5678ef00  b.cpp:9\n")
        self.assertEqual(mutate.read_equivalents("list.txt"), {"1234abcd": "never read"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
