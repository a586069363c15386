#!/usr/bin/env python3
"""Shows that check_tree.py finds each kind of offence, and nothing in a tree without any."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
import check_tree  # noqa: E402

HEADER = "include/vak/vakenv/core/version.h"


class CheckTree(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.prefix = Path(folder.name)
        self.add(HEADER, '#include "vakenv/fwd.h"\n')
        self.add("include/vak/vakenv/fwd.h", "#include <cstddef>\n")
        self.add("lib/libvak.a", "code")
        self.add("share/doc/Vak/LICENSE", "terms")
        self.headers = {"vakenv/core/version.h", "vakenv/fwd.h"}

    def add(self, name, text, mode=0o644):
        path = self.prefix / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)

    def offences(self):
        return check_tree.find_offences(
            self.prefix, self.headers, ["lib/*libvak.a", "share/*"], ["/home/builder"]
        )

    def test_accepts_what_is_expected(self):
        self.assertEqual(self.offences(), [])

    def test_refuses_an_empty_tree(self):
        offences = check_tree.find_offences(self.prefix / "nothing", self.headers, [], [])
        self.assertEqual(offences, [f"{self.prefix}/nothing: nothing is installed"])

    def test_finds_a_file_that_no_rule_expects(self):
        self.add("lib/libgtest.a", "")
        self.assertEqual(self.offences(), ["lib/libgtest.a: no rule expects it"])

    def test_finds_a_private_header(self):
        self.add("include/vak/vakenv/text.h", "")
        self.assertEqual(self.offences(), ["include/vak/vakenv/text.h: is private"])

    def test_finds_a_missing_header(self):
        self.headers.add("vakenv/arrays.h")
        self.assertEqual(self.offences(), ["include/vak/vakenv/arrays.h: is missing"])

    def test_finds_that_a_required_file_is_missing(self):
        (self.prefix / "share/doc/Vak/LICENSE").unlink()
        self.assertEqual(self.offences(), ["share/*: is missing"])

    def test_accepts_a_required_file_in_a_folder_of_the_architecture(self):
        (self.prefix / "lib/libvak.a").unlink()
        self.add("lib/x86_64-linux-gnu/libvak.a", "code")
        self.assertEqual(self.offences(), [])

    def test_finds_an_include_of_a_header_that_is_not_installed(self):
        self.add(HEADER, '#include "vakenv/text.h"\n')
        self.assertEqual(
            self.offences(), [f"{HEADER}: includes vakenv/text.h, which is not installed"]
        )

    def test_finds_the_name_of_a_folder_of_the_build(self):
        self.add("lib/libvak.a", "assert in /home/builder/vak")
        self.assertEqual(self.offences(), ["lib/libvak.a: names /home/builder"])

    def test_finds_wrong_permissions(self):
        self.add("lib/libvak.a", "", mode=0o664)
        self.add("bin/vak-solve", "", mode=0o644)
        self.assertEqual(
            self.offences(), ["bin/vak-solve: has mode 644", "lib/libvak.a: has mode 664"]
        )


if __name__ == "__main__":
    unittest.main()
