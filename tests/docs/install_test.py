# SPDX-License-Identifier: Apache-2.0
"""The tree that the documents' commands are run with."""

import unittest

from surroundings import BIN, BUILD, CMAKE, PREFIX, fresh_directory, run


class AnInstalledTree(unittest.TestCase):
    def test_has_the_programs_and_their_pages(self):
        fresh_directory("prefix")
        run(CMAKE, "--install", BUILD, "--prefix", PREFIX)
        for program in ("cabinaudio", "cabinaudio-run", "cabinaudio-server"):
            self.assertTrue((BIN / program).is_file(), program)
            self.assertTrue((PREFIX / "share" / "man" / "man1" / f"{program}.1").is_file(), program)
        self.assertTrue((PREFIX / "share" / "man" / "man3" / "libcabinaudio.3").is_file())


if __name__ == "__main__":
    unittest.main()
