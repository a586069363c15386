#!/usr/bin/env python3
"""Shows what the completion of vak-solve offers in bash.

usage: completion_test.py SCRIPT
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(sys.argv.pop()).resolve()
# What bash does when the tabulator key is pressed behind the last word, as it is said by `complete`.
PRESS_TAB = """
source "$1" && shift
[[ $(complete -p vak-solve) == *" -F _vak_solve "* ]] || exit 1
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
_vak_solve
[[ ${#COMPREPLY[@]} = 0 ]] || printf '%s\\n' "${COMPREPLY[@]}"
"""


class Completion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for name in ("plan.mps", "plan.lp", "plan.mps.gz", "plan.lp.bz2", "plan.txt", "notes", "my plan.lp"):
            (self.folder / name).touch()
        (self.folder / "models").mkdir()

    def offers(self, *words):
        done = subprocess.run(
            ["bash", "-c", PRESS_TAB, "bash", str(SCRIPT), "vak-solve", *words],
            cwd=self.folder,
            capture_output=True,
            text=True,
            check=True,
        )
        self.assertEqual(done.stderr, "")
        return sorted(done.stdout.splitlines())

    def test_offers_the_options_that_begin_so(self):
        self.assertEqual(self.offers("--re"), ["--remove", "--report"])
        self.assertEqual(self.offers("plan.mps", "--ver"), ["--version"])

    def test_offers_model_files_and_folders(self):
        models = ["models", "my plan.lp", "plan.lp", "plan.lp.bz2", "plan.mps", "plan.mps.gz"]
        self.assertEqual(self.offers(""), models)
        self.assertEqual(self.offers("--json", "plan.l"), ["plan.lp", "plan.lp.bz2"])

    def test_offers_every_file_to_write_to(self):
        self.assertEqual(self.offers("--write", "n"), ["notes"])
        # The equals sign is a word of its own for bash.
        self.assertEqual(self.offers("--write", "=", "n"), ["notes"])
        self.assertIn("notes", self.offers("--write", "="))

    def test_offers_nothing_where_a_value_stands(self):
        for option in ("--set", "--fix", "--remove", "--time-limit", "--gap", "--rows"):
            self.assertEqual(self.offers(option, ""), [], option)
            self.assertEqual(self.offers(option, "=", ""), [], option)


if __name__ == "__main__":
    unittest.main()
