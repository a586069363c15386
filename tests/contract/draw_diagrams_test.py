#!/usr/bin/env python3
"""Shows what the diagrams of draw_diagrams.py are made of, and that a stale one is noticed."""

import contextlib
import io
import shutil
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import draw_diagrams  # noqa: E402


class DrawDiagrams(unittest.TestCase):
    def test_modules_depend_through_headers_alone(self):
        includes = {
            "vakenv/arrays/array.h": [(1, '"', "vakenv/memory/env.h"), (2, "<", "span")],
            "vakenv/arrays/array.cpp": [(1, '"', "vakenv/types/rtti.h")],
            "vakenv/memory/env.h": [(1, '"', "vakenv/fwd.h")],
            "vakenv/types/rtti.h": [],
            "vakenv/fwd.h": [],
        }
        edges = draw_diagrams.module_edges(includes)
        self.assertEqual(edges, {("vakenv/arrays", "vakenv/memory")})

    def test_implied_edges_are_left_out(self):
        edges = {("a", "b"), ("b", "c"), ("c", "d"), ("a", "d"), ("a", "c")}
        self.assertEqual(draw_diagrams.reduce_edges(edges), [("a", "b"), ("b", "c"), ("c", "d")])

    def test_classes_are_read_with_their_bases(self):
        classes = draw_diagrams.read_classes(draw_diagrams.read_includes(draw_diagrams.ROOT))
        self.assertEqual(classes["VakModelVarI"], ["VakNumVarI"])
        self.assertEqual(classes["VakException"], ["VakExceptionBase"])
        self.assertEqual(classes["VakNumArray"], ["VakArray"])
        self.assertIn("VakEnvObjectI", classes["VakEnvHashTable"])
        self.assertIn("VakModelVarI", draw_diagrams.below(classes, "VakRtti"))
        self.assertNotIn("VakException", draw_diagrams.below(classes, "VakRtti"))

    @unittest.skipIf(shutil.which("dot") is None, "Graphviz is not installed")
    def test_a_stale_or_missing_diagram_is_noticed(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(draw_diagrams.main([folder]), 0)
            self.assertEqual(draw_diagrams.main(["--check", folder]), 0)
            path = Path(folder) / "layers.svg"
            path.write_text(path.read_text(encoding="utf-8").replace("from ", "from 0"), encoding="utf-8")
            (Path(folder) / "objects.svg").unlink()
            said = io.StringIO()
            with contextlib.redirect_stdout(said):
                self.assertEqual(draw_diagrams.main(["--check", folder]), 1)
            self.assertEqual(said.getvalue().count("does not show the code as it is"), 2)


if __name__ == "__main__":
    unittest.main()
