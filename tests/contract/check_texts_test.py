#!/usr/bin/env python3
"""Shows that check_texts.py finds each kind of offence, and nothing in texts without any."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_texts  # noqa: E402
from check_includes import LAYERS  # noqa: E402

CHANGELOG = """# Changelog

## [Unreleased]

### Added

- **Arrays**: chunks,
  as spans.

### Fixed

- A leak.

## [2.4.1] - 2026-11-21

### Security

- A hole.

## [2.4.0] - 2026-02-28

### Added

- Everything.
"""


class Changelog(unittest.TestCase):
    def expect(self, old, new, *offences):
        self.assertIn(old, CHANGELOG)
        self.assertEqual(
            check_texts.find_changelog_offences(CHANGELOG.replace(old, new, 1)),
            [f"CHANGELOG.md: {offence}" for offence in offences],
        )

    def test_accepts_a_sound_one(self):
        self.assertEqual(check_texts.find_changelog_offences(CHANGELOG), [])

    def test_wants_its_title(self):
        self.expect("# Changelog\n", "# News\n", 'does not begin with "# Changelog"')

    def test_knows_its_headings(self):
        self.expect(
            "### Fixed",
            "### Mended",
            '[Unreleased] has the heading "Mended", which is none of '
            "Added, Changed, Deprecated, Removed, Fixed, Security",
        )

    def test_wants_headings_in_order(self):
        self.expect(
            "### Added\n\n- **Arrays**",
            "### Security\n\n- **Arrays**",
            "[Unreleased] has its headings twice or out of order: Security, Fixed",
        )

    def test_wants_headings_once(self):
        self.expect(
            "### Fixed", "### Added", "[Unreleased] has its headings twice or out of order: Added, Added"
        )

    def test_wants_entries(self):
        self.expect("- A leak.\n", "", "[Unreleased] has nothing under Fixed")

    def test_wants_list_items(self):
        self.expect(
            "- A leak.\n", "- A leak.\nOne more.\n", '[Unreleased] has a line that is no entry: "One more."'
        )

    def test_wants_releases_by_number_and_date(self):
        self.expect(
            "[2.4.1] - 2026-11-21", "2.4.1", '"2.4.1" is neither [Unreleased] nor [MAJOR.MINOR.PATCH] - DATE'
        )

    def test_wants_dates_of_the_calendar(self):
        self.expect(
            "2026-02-28", "2026-02-30", "[2.4.0] - 2026-02-30 has no date of the calendar"
        )

    def test_wants_the_newest_release_first(self):
        self.expect("[2.4.0]", "[2.10.0]", "[2.10.0] - 2026-02-28 does not come before a newer release")

    def test_wants_unreleased_first(self):
        self.expect("[2.4.0] - 2026-02-28", "[Unreleased]", "[Unreleased] does not come first")


class References(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.add("vakbase/memory.h", "class VakMemory { void allocate(); };")
        self.add("CHANGELOG.md", CHANGELOG)

    def add(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def test_accepts_what_is_there(self):
        self.add("docs/page.md", "`vakbase/memory.h` has `VakMemory::allocate`; [up](../CHANGELOG.md#a)")
        self.assertEqual(check_texts.find_offences(self.root), [])

    def test_finds_a_path_that_is_gone(self):
        self.add("docs/page.md", "See `vakbase/pool.h`.")
        self.assertEqual(
            check_texts.find_offences(self.root),
            ["docs/page.md: names vakbase/pool.h, which is not there"],
        )

    def test_finds_a_name_that_is_gone(self):
        self.add("GUIDE.md", "Call `VakMemory::obtain()`.")
        self.assertEqual(
            check_texts.find_offences(self.root),
            ["GUIDE.md: names VakMemory::obtain, which is not in the code"],
        )

    def test_finds_a_link_that_leads_nowhere(self):
        self.add("GUIDE.md", "See [there](docs/there.md).")
        self.assertEqual(
            check_texts.find_offences(self.root), ["GUIDE.md: links to docs/there.md, which is not there"]
        )

    def test_passes_over_blocks_of_code_and_paths_elsewhere(self):
        self.add("GUIDE.md", "```\n`VakGone`\n```\n`build/release` and `include/vak`")
        self.assertEqual(check_texts.find_offences(self.root), [])

    def test_wants_a_changelog(self):
        (self.root / "CHANGELOG.md").unlink()
        self.assertEqual(check_texts.find_offences(self.root), ["CHANGELOG.md: is not there"])


class Commands(unittest.TestCase):
    PRESETS = """{
      "configurePresets": [{"name": "base", "hidden": true}, {"name": "dev"}, {"name": "run"}],
      "buildPresets": [{"name": "dev"}, {"name": "run"}],
      "testPresets": [{"name": "dev"}, {"name": "dev-slow"}]
    }"""

    def find(self, commands):
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            (root / "scripts").mkdir()
            for name, mode in (("go.sh", 0o755), ("lib.sh", 0o644)):
                (root / "scripts" / name).write_text("")
                (root / "scripts" / name).chmod(mode)
            (root / "CMakePresets.json").write_text(self.PRESETS)
            (root / "CHANGELOG.md").write_text(CHANGELOG)
            (root / "PAGE.md").write_text(f"# Page\n\n```sh\n{commands}\n```\n")
            return check_texts.find_offences(root)

    def test_accepts_what_can_be_typed(self):
        commands = "scripts/go.sh 60  # a minute\ncmake --preset dev && cmake --build --preset run\n"
        self.assertEqual(self.find(commands + "ctest --preset dev-slow"), [])

    def test_finds_what_bash_cannot_read(self):
        offences = self.find("if true; then")
        self.assertEqual(len(offences), 1)
        self.assertIn("PAGE.md:3: bash cannot read these commands: ", offences[0])

    def test_finds_a_script_that_is_gone(self):
        self.assertEqual(self.find("scripts/gone.sh --all"), ["PAGE.md:3: scripts/gone.sh cannot be run"])

    def test_finds_a_script_that_cannot_be_run(self):
        self.assertEqual(self.find("scripts/lib.sh"), ["PAGE.md:3: scripts/lib.sh cannot be run"])

    def test_finds_presets_that_a_command_does_not_know(self):
        self.assertEqual(
            self.find("cmake --preset base\ncmake --build --preset dev-slow\nctest --preset run"),
            [
                "PAGE.md:3: cmake knows no preset base",
                "PAGE.md:3: cmake --build knows no preset dev-slow",
                "PAGE.md:3: ctest knows no preset run",
            ],
        )


class Modules(unittest.TestCase):
    def setUp(self):
        words = {0: "nothing", 1: "layers 0 and 1"}
        self.rows = {
            module: f"| `{module}/` | things | {words.get(layer, f'layers 0 to {layer}')} |"
            for module, layer in LAYERS.items()
            if not module.endswith(".h")
        }

    def offences(self):
        return check_texts.find_module_offences("\n".join(self.rows.values()))

    def test_accepts_a_table_that_agrees(self):
        self.assertEqual(self.offences(), [])

    def test_finds_a_missing_module(self):
        del self.rows["vakenv/core"]
        self.assertEqual(self.offences(), ["README.md: the table of modules lacks vakenv/core"])

    def test_finds_a_wrong_layer(self):
        self.rows["vakenv/core"] = "| `vakenv/core/` | things | layers 0 to 4 |"
        self.assertEqual(
            self.offences(),
            [
                "README.md: vakenv/core may depend on layers 0 to 3, and not, as the table says, "
                '"layers 0 to 4"'
            ],
        )

    def test_finds_an_unknown_module(self):
        self.rows["vaknew"] = "| `vaknew/` | things | layers 0 to 4 |"
        self.assertEqual(self.offences(), ["README.md: check_includes.py does not know vaknew"])


if __name__ == "__main__":
    unittest.main()
