# SPDX-License-Identifier: Apache-2.0
"""The tree that the documents' commands are run with."""

import unittest

from surroundings import BIN, BUILD, CMAKE, PREFIX, SOURCE, fresh_directory, run


class AnInstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        fresh_directory("prefix")
        run(CMAKE, "--install", BUILD, "--prefix", PREFIX)

    def test_has_the_programs_and_their_pages(self):
        for program in ("cabinaudio", "cabinaudio-run", "cabinaudio-server"):
            self.assertTrue((BIN / program).is_file(), program)
            self.assertTrue((PREFIX / "share" / "man" / "man1" / f"{program}.1").is_file(), program)
        self.assertTrue((PREFIX / "share" / "man" / "man3" / "libcabinaudio.3").is_file())

    def test_has_the_guides_and_the_examples(self):
        installed = PREFIX / "share" / "doc" / "cabinaudio"
        for directory in ("docs", "docs/decisions", "examples", "examples/testing"):
            names = {path.name for path in (SOURCE / directory).iterdir()
                     if path.suffix in (".md", ".cpp", ".h")}
            there = {path.name for path in (installed / directory).iterdir()}
            self.assertTrue(names)
            self.assertEqual(names - there, set())
        for name in ("README.md", "docs/images/demo.png", "docs/performance/call.svg",
                     "examples/CMakeLists.txt", "examples/Makefile"):
            self.assertEqual((installed / name).read_bytes(), (SOURCE / name).read_bytes(), name)
        self.assertFalse((installed / "docs" / "Doxyfile").exists())


if __name__ == "__main__":
    unittest.main()
