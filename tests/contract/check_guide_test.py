#!/usr/bin/env python3
"""Shows that check_messages.py and check_snippets.py find what differs between the guide and the code."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_messages  # noqa: E402
import check_snippets  # noqa: E402


def find_in(module, files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return module.find_offences(Path(folder))


class Messages(unittest.TestCase):
    TABLE = "| message | cause | what to do |\n|---|---|---|\n"

    def find(self, source, rows):
        return find_in(
            check_messages, {"vakthing/a.cpp": "", "vakbase/a.cpp": source, "docs/guide/errors.md": self.TABLE + rows}
        )

    def test_accepts_what_is_explained(self):
        source = 'void f() { throw VakWrongUsage("Do not;"\n    " do so."); }\n'
        self.assertEqual(self.find(source, "| `Do not; do so.` | It was done. | Do it not. |\n"), [])

    def test_finds_a_message_without_a_row(self):
        self.assertEqual(
            self.find('void f() { throw E("Do not."); throw E("Nor this."); }\n', "| `Do not.` | A. | B. |\n"),
            ["docs/guide/errors.md: does not explain `Nor this.` of vakbase/a.cpp"],
        )

    def test_finds_a_row_that_nothing_says(self):
        self.assertEqual(
            self.find('void f() { throw E("Do not."); }\n', "| `Do not.` | A. | B. |\n| `Old one.` | A. | B. |\n"),
            ["docs/guide/errors.md: explains `Old one.`, which nothing says"],
        )

    def test_finds_a_row_without_a_remedy(self):
        self.assertIn(
            "docs/guide/errors.md: this row has no message, cause and remedy: | `Do not.` | A. |  |",
            self.find('void f() { throw E("Do not."); }\n', "| `Do not.` | A. |  |\n"),
        )

    def test_puts_a_mark_where_values_are_put_in(self):
        source = 'void f() { VakThrowModelError(x, "%s is %.3g high.", a, b); }\n'
        self.assertEqual(self.find(source, "| `… is … high.` | A. | B. |\n"), [])

    def test_takes_what_is_said_in_the_place_of_something_else(self):
        source = 'X x[] = {inOurWords("Bad thing", "it is bad"), inOurWords("Good thing", "it is good")};\n'
        self.assertEqual(self.find(source, "| `it is bad` | A. | B. |\n| `it is good` | A. | B. |\n"), [])

    def test_reads_no_comments(self):
        source = '// throw E("No message.");\nvoid f() { throw E("Do not."); }\n'
        self.assertEqual(self.find(source, "| `Do not.` | A. | B. |\n"), [])


class Snippets(unittest.TestCase):
    PROGRAM = "int main() {\n  f();\n  g();\n}\n"

    def find(self, page):
        return find_in(
            check_snippets,
            {"README.md": page, "examples/a.cpp": self.PROGRAM, "examples/a.txt": "one\ntwo\nthree\n"},
        )

    def test_accepts_lines_of_a_program_with_other_indentation(self):
        self.assertEqual(self.find("```cpp\nf();\ng();\n```\n\n```text\ntwo\nthree\n```\n"), [])

    def test_finds_code_that_no_program_has(self):
        self.assertEqual(
            self.find("# A\n\n```cpp\nf();\nh();\n```\n"),
            ["README.md:3: nothing in examples/**/*.cpp has this block of cpp"],
        )

    def test_finds_output_that_no_program_writes(self):
        self.assertEqual(
            self.find("```text\none\nthree\n```\n"),
            ["README.md:1: nothing in examples/**/*.txt has this block of text"],
        )

    def test_finds_blocks_without_a_mark(self):
        self.assertIn(
            'README.md:1: a block is marked "", none of cpp, text, cmake, sh, console, diagram',
            self.find("```\nf();\n```\n"),
        )

    def test_finds_that_there_is_nothing_to_look_at(self):
        self.assertEqual(self.find("Nothing.\n"), ["no block was found"])


if __name__ == "__main__":
    unittest.main()
