#!/usr/bin/env python3
"""Shows that check_contracts.py finds classes without a contract, and nothing where all have one."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_contracts  # noqa: E402

CONTRACT = "///\n/// Threads: confined.\n/// Phases: open.\n"


class Contracts(unittest.TestCase):
    def find(self, text):
        with tempfile.TemporaryDirectory() as folder:
            module = Path(folder) / "vakthing"
            module.mkdir()
            (module / "CMakeLists.txt").write_text("vak_module(HEADERS thing.h)\n")
            (module / "thing.h").write_text(text)
            return check_contracts.find_offences(Path(folder))

    def test_accepts_a_class_with_both_lines(self):
        self.assertEqual(self.find(f"/// A thing.\n{CONTRACT}class VakThing {{\n}};\n"), [])

    def test_looks_above_a_template_head(self):
        self.assertEqual(self.find(f"/// A thing.\n{CONTRACT}template <class T>\nstruct VakThing {{\n}};\n"), [])

    def test_finds_a_class_without_lines(self):
        self.assertEqual(
            self.find("/// A thing.\nclass VakThing {\n};\n"),
            [
                'vakthing/thing.h: VakThing has no line "Threads:"',
                'vakthing/thing.h: VakThing has no line "Phases:"',
            ],
        )

    def test_finds_lines_of_another_class_only(self):
        offences = self.find(f"/// A thing.\n{CONTRACT}class VakThing {{\n}};\nstruct VakOther {{\n}};\n")
        self.assertEqual(len(offences), 2)

    def test_finds_words_that_mean_nothing(self):
        text = "/// Threads: maybe.\n/// Phases: open.\nclass VakThing {\n};\n"
        self.assertEqual(
            self.find(text),
            [
                'vakthing/thing.h: VakThing has behind "Threads:" none of the words '
                "thread safe, confined, read-shared"
            ],
        )

    def test_passes_over_names_nested_classes_and_exceptions(self):
        root = f"/// Base.\n{CONTRACT}class VakException {{\n}};\n"
        text = "class VakName;\nclass VakError : public VakException {\n};\nclass VakName::Part {\n};\n"
        self.assertEqual(self.find(root + text), [])

    def test_finds_that_there_is_nothing_to_look_at(self):
        self.assertEqual(self.find("int f();\n"), ["no public class was found"])


if __name__ == "__main__":
    unittest.main()
