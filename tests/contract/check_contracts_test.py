#!/usr/bin/env python3
"""Shows that check_contracts.py finds what has no contract, and nothing where all have one."""

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

    def test_finds_what_hands_out_or_takes_back_in_silence(self):
        for member in ("void* allocate(long n);", "static void GiveBack(void* p);", "void end();"):
            text = f"/// A thing.\n{CONTRACT}class VakThing {{\n public:\n  {member}\n}};\n"
            offences = self.find(text)
            self.assertEqual(len(offences), 1, member)
            self.assertRegex(offences[0], 'VakThing has (allocate|giveBack|end) and no line "Gives back:"$')
            self.assertEqual(self.find(text.replace("open.\n", "open.\n/// Gives back: something.\n")), [])

    def test_finds_what_delete_gives_back_in_silence(self):
        base = f"/// Base.\n{CONTRACT}class VakEnvObjectI {{\n}};\n"
        middle = f"/// A.\n{CONTRACT}/// Gives back: `delete`.\nclass VakMiddle : public VakEnvObjectI {{\n}};\n"
        text = f"/// B.\n{CONTRACT}class VakThing : public VakMiddle {{\n}};\n"
        self.assertEqual(
            self.find(base + middle + text), ['vakthing/thing.h: VakThing has delete and no line "Gives back:"']
        )

    def test_passes_over_loops_private_functions_and_longer_words(self):
        members = " public:\n  int* begin();\n  int* end();\n  bool isFree();\n  void frees();\n private:\n  void* make();\n"
        self.assertEqual(self.find(f"/// A thing.\n{CONTRACT}class VakThing {{\n{members}}};\n"), [])

    def test_lets_an_argument_of_a_class_speak_for_a_free_function(self):
        text = "/// Does it.\nvoid VakDo(int n, const VakThing& thing);\n"
        self.assertEqual(self.find(f"/// A thing.\n{CONTRACT}class VakThing {{\n}};\n\n{text}"), [])

    def find_beside_a_class(self, text):
        return self.find(f"/// A thing.\n{CONTRACT}class VakThing {{\n}};\n\n{text}")

    def test_finds_a_free_function_without_lines(self):
        self.assertEqual(
            self.find_beside_a_class("/// Does it.\nvoid VakDo(int n);\n"),
            [
                'vakthing/thing.h: VakDo has no argument of a class and does not say "Threads:"',
                'vakthing/thing.h: VakDo has no argument of a class and does not say "Phases:"',
            ],
        )

    def test_accepts_lines_above_neighbours_and_on_one_line(self):
        comment = "/// Threads: thread safe. Phases: any.\n"
        neighbours = "template <class T>\nT VakDo(T n) {\n  return n;\n}\ninline void VakDoMore(int n) {}\n"
        self.assertEqual(self.find_beside_a_class(f"/// Does it.\n{comment}{neighbours}"), [])
        apart = neighbours.replace("inline", "\ninline")
        self.assertEqual(len(self.find_beside_a_class(f"/// Does it.\n{comment}{apart}")), 2)

    def test_finds_words_of_a_free_function_that_mean_nothing(self):
        self.assertEqual(
            self.find_beside_a_class("/// Threads: maybe. Phases: anyhow.\nVakThing VakDo(VakThing& thing);\n"),
            [
                'vakthing/thing.h: VakDo has behind "Threads:" none of the words thread safe, confined, read-shared',
                'vakthing/thing.h: VakDo has behind "Phases:" none of the words any, open, told, ending',
            ],
        )

    def test_finds_a_free_function_that_hands_out_in_silence(self):
        text = "/// Threads: confined.\n/// Phases: open.\nchar* VakMakeText(int n);\n"
        self.assertEqual(
            self.find_beside_a_class(text),
            ['vakthing/thing.h: VakMakeText hands something out and does not say "Gives back:"'],
        )
        self.assertEqual(self.find_beside_a_class(text.replace("char*", "VakThing")), [])
        said = text.replace("char*", "/// Gives back: delete[].\nchar*")
        self.assertEqual(self.find_beside_a_class(said), [])

    def test_leaves_members_outside_their_class_to_the_class(self):
        self.assertEqual(self.find_beside_a_class("inline int VakThing::getSize(int n) { return n; }\n"), [])

    def test_finds_that_there_is_nothing_to_look_at(self):
        self.assertEqual(self.find("int f();\n"), ["no public class was found"])


if __name__ == "__main__":
    unittest.main()
