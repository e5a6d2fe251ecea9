# SPDX-License-Identifier: Apache-2.0
"""The security page: that there is each test, source and limit that it names."""

import fnmatch
import re
import unittest

from surroundings import SOURCE

PAGE = (SOURCE / "docs" / "security.md").read_text()
TEST = re.compile(r"\bTEST(?:_F|_P)?\((\w+),\s*(\w+)\)")


def tests():
    """Suite.Name of every test of the tree."""
    return {f"{suite}.{name}" for source in (SOURCE / "tests").rglob("*.cpp")
            for suite, name in TEST.findall(source.read_text())}


def rows():
    """The cells of the threat tables."""
    cells = [[cell.strip() for cell in line.strip("|").split("|")]
             for line in PAGE.splitlines() if line.startswith("|")]
    return [row for row in cells if len(row) == 3 and row[0] not in ("", "threat")
            and not set(row[0]) <= {"-"}]


class SecurityPage(unittest.TestCase):
    def test_names_tests_that_there_are(self):
        known = tests()
        named = [name for row in rows() for name in re.findall(r"`(\w+\.[\w*]+)`", row[2])]
        self.assertGreater(len(named), 20)
        for name in named:
            with self.subTest(name):
                self.assertTrue(fnmatch.filter(known, name), "no such test")

    def test_names_sources_that_there_are(self):
        named = re.findall(r"`((?:devkit|shm|tests)/[\w/.]+)`", PAGE)
        self.assertGreater(len(named), 8)
        for name in named:
            with self.subTest(name):
                self.assertTrue((SOURCE / name).exists(), "no such file")


if __name__ == "__main__":
    unittest.main()
