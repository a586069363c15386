"""Tests scripts/check_includes.py: each rule is broken once in a small tree and has to be reported."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
SCRIPT = ROOT / "scripts" / "check_includes.py"


class CheckIncludes(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write("vakbase/base.h", "#pragma once\n")
        self.write("vakenv/core/environment_impl.h", '#include "vakbase/base.h"\n')

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def check(self):
        """Returns the lines that the script prints, after a look at its exit status."""
        run = subprocess.run(
            [sys.executable, SCRIPT, self.root], capture_output=True, text=True, check=False
        )
        self.assertEqual(run.stderr, "")
        self.assertEqual(run.returncode, 1 if run.stdout else 0)
        return run.stdout.splitlines()

    def test_accepts_lower_and_own_layers(self):
        self.write("vakenv/types/rtti.h", '#include <vector>\n#include "vakbase/base.h"\n')
        self.write("vakenv/memory/alloc.h", '#include "vakenv/types/rtti.h"\n')
        self.write("vakmodel/model.h", '#include "vakenv/core/environment_impl.h"\n')
        self.write("vakmodel/model.cpp", '#include "vakmodel/model.h"\n')
        self.assertEqual(self.check(), [])

    def test_reports_an_upper_layer(self):
        self.write("vakenv/core/core.h", '#pragma once\n\n  #  include "vakmodel/model.h"\n')
        self.write("vakmodel/model.h", "")
        self.assertEqual(
            self.check(),
            ['vakenv/core/core.h:3: of layer 3 includes "vakmodel/model.h" of layer 4'],
        )

    def test_sources_of_layers_1_and_2_may_look_into_the_environment(self):
        include = '#include "vakenv/core/environment_impl.h"\n'
        self.write("vakenv/memory/alloc.cpp", include)
        self.write("vaksupport/symbol.cpp", include)
        self.assertEqual(self.check(), [])

    def test_headers_and_layer_0_may_not_look_into_the_environment(self):
        include = '#include "vakenv/core/environment_impl.h"\n'
        self.write("vakenv/memory/alloc.h", include)
        self.write("vakbase/pool.cpp", include)
        offence = 'includes "vakenv/core/environment_impl.h" of layer 3'
        self.assertEqual(
            self.check(),
            [
                f"vakbase/pool.cpp:1: of layer 0 {offence}",
                f"vakenv/memory/alloc.h:1: of layer 1 {offence}",
            ],
        )

    def test_subfolders_may_lie_below_their_parent(self):
        self.write("vakmodel/contract/change.h", '#include "vakmodel/model.h"\n')
        self.write("vakmodel/model.h", "")
        self.assertEqual(
            self.check(),
            ['vakmodel/contract/change.h:1: of layer 2 includes "vakmodel/model.h" of layer 4'],
        )

    def test_reports_a_circle_once(self):
        self.write("vakenv/types/a.h", '#include "vakenv/types/b.h"\n')
        self.write("vakenv/types/b.h", '#include "vakenv/types/a.h"\n')
        self.assertEqual(
            self.check(),
            ["vakenv/types/a.h:1: circle vakenv/types/a.h -> vakenv/types/b.h -> vakenv/types/a.h"],
        )

    def test_reports_names_that_do_not_start_at_the_root(self):
        self.write("vakbase/pool.h", '#include "base.h"\n')
        self.assertEqual(
            self.check(),
            [
                'vakbase/pool.h:1: includes "base.h", which is no file named from the root of the '
                "repository"
            ],
        )

    def test_reports_what_is_not_part_of_the_library(self):
        self.write("tests/help.h", "")
        self.write("vakbase/pool.h", '#include "tests/help.h"\n')
        self.assertEqual(
            self.check(),
            ['vakbase/pool.h:1: includes "tests/help.h", which is not part of the library'],
        )

    def test_reports_other_libraries_below_the_solver(self):
        self.write("vakmodel/model.cpp", "#include <unistd.h>\n#include <coin/Model.hpp>\n")
        self.write("vaksolver/solver.cpp", "#include <coin/Model.hpp>\n")
        self.assertEqual(
            self.check(),
            [
                "vakmodel/model.cpp:2: includes <coin/Model.hpp>, which is not of the standard "
                "library"
            ],
        )

    def test_reports_a_source_that_does_not_start_with_its_own_header(self):
        self.write("vakbase/base.cpp", '#include <vector>\n#include "vakbase/base.h"\n')
        self.assertEqual(
            self.check(),
            ['vakbase/base.cpp:1: does not include its own header "vakbase/base.h" first'],
        )

    def test_reports_a_tree_without_a_library(self):
        with tempfile.TemporaryDirectory() as empty:
            self.root = Path(empty)
            self.assertEqual(
                self.check(), [f"{Path(empty).resolve()}: no file of the library found"]
            )


if __name__ == "__main__":
    unittest.main()
