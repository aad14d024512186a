"""Which sources scripts/lint looks at again: lint_test.py LINT COMPILER. A linter of its own notes what it is shown."""

import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

LINT, COMPILER = sys.argv.pop(1), sys.argv.pop(1)

# Finds fault with sources that say BAD.
LINTER = """#!/bin/sh
case $1 in --version) cat version; exit ;; esac
for source; do :; done
echo "$source" >>seen
! grep -n BAD "$source"
"""


class LintTest(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.TemporaryDirectory()
        self.addCleanup(self.place.cleanup)
        self.root = Path(self.place.name).resolve()
        for folder in ("bin", "build", "src"):
            (self.root / folder).mkdir()
        self.write("bin/clang-tidy", LINTER).chmod(0o700)
        self.write("version", "one")
        self.write(".clang-tidy", "Checks: bugprone-*")
        self.write("src/shared.h", "int Shared();\n")
        self.write("src/a.cpp", '#include "shared.h"\n')
        self.write("src/b.cpp", "int b;\n")
        self.compile_with("-DONE")

    def write(self, name, text):
        path = self.root / name
        path.write_text(text)
        return path

    def compile_with(self, option):
        entries = [{"directory": str(self.root / "build"), "file": str(self.root / source),
                    "command": f"ccache {COMPILER} {option} -o {source}.o -c {self.root / source}"}
                   for source in ("src/a.cpp", "src/b.cpp")]
        self.write("build/compile_commands.json", json.dumps(entries))

    def lint(self, *sources, status=0):
        """The sources that the linter was shown."""
        (self.root / "seen").unlink(missing_ok=True)
        environment = dict(os.environ, PATH=f"{self.root}/bin:{os.environ['PATH']}")
        sources = sources or ("src/a.cpp", "src/b.cpp")
        answer = subprocess.run([LINT, "build", *sources], cwd=self.root, env=environment, capture_output=True, text=True)
        self.assertEqual(answer.returncode, status, answer.stdout + answer.stderr)
        self.output = answer.stdout
        seen = self.root / "seen"
        return sorted(seen.read_text().split()) if seen.exists() else []

    def test_a_clean_clone_lints_all(self):
        self.assertEqual(self.lint(), ["src/a.cpp", "src/b.cpp"])

    def test_what_was_clean_is_left_out(self):
        self.lint()
        self.assertEqual(self.lint(), [])

    def test_a_changed_source_is_linted(self):
        self.lint()
        self.write("src/b.cpp", "int c;\n")
        self.assertEqual(self.lint(), ["src/b.cpp"])

    def test_a_changed_header_brings_back_who_includes_it(self):
        self.lint()
        self.write("src/shared.h", "int Other();\n")
        self.assertEqual(self.lint(), ["src/a.cpp"])

    def test_other_rules_bring_back_all(self):
        for name in (".clang-tidy", "src/.clang-tidy"):
            self.lint()
            self.write(name, "Checks: performance-*")
            self.assertEqual(self.lint(), ["src/a.cpp", "src/b.cpp"], name)

    def test_another_linter_brings_back_all(self):
        self.lint()
        self.write("version", "two")
        self.assertEqual(self.lint(), ["src/a.cpp", "src/b.cpp"])

    def test_another_command_brings_back_all(self):
        self.lint()
        self.compile_with("-DTWO")
        self.assertEqual(self.lint(), ["src/a.cpp", "src/b.cpp"])

    def test_findings_are_shown_each_time(self):
        self.lint()
        self.write("src/b.cpp", "int BAD;\n")
        for _ in range(2):
            self.assertEqual(self.lint(status=1), ["src/b.cpp"])
            self.assertIn("int BAD;", self.output)

    def test_what_does_not_compile_is_linted_each_time(self):
        self.write("src/b.cpp", '#include "nowhere.h"\n')
        for _ in range(2):
            self.assertEqual(self.lint("src/b.cpp"), ["src/b.cpp"])

    def test_a_source_that_the_build_leaves_out_is_read_like_its_neighbour(self):
        self.write("src/c.cpp", '#include "shared.h"\n')
        self.assertEqual(self.lint("src/c.cpp"), ["src/c.cpp"])
        self.assertEqual(self.lint("src/c.cpp"), [])
        self.write("src/shared.h", "int Other();\n")
        self.assertEqual(self.lint("src/c.cpp"), ["src/c.cpp"])

    def test_a_source_of_which_nothing_is_known_is_linted_each_time(self):
        self.write("alone.cpp", "int alone;\n")
        for _ in range(2):
            self.assertEqual(self.lint("alone.cpp"), ["alone.cpp"])


if __name__ == "__main__":
    unittest.main()
