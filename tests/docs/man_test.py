# SPDX-License-Identifier: Apache-2.0
"""The man pages: their form, that they name every option there is and none else, and that their
examples do what they say."""

import re
import shutil
import unittest

from shell import run_session
from surroundings import BIN, SOURCE, run

PAGES = sorted((SOURCE / "man").glob("*.[0-9]"))
SECTIONS = ["NAME", "DESCRIPTION", "EXIT STATUS", "FILES", "ENVIRONMENT", "EXAMPLES", "SEE ALSO"]

# What a page tells of: the programs and sub-commands whose help it has to agree with.
COVERED = {
    "cabinaudio.1": [
        ["cabinaudio"],
        ["cabinaudio", "version"],
        ["cabinaudio", "doctor"],
        ["cabinaudio", "server"],
        ["cabinaudio", "server", "state"],
        ["cabinaudio", "server", "source"],
        ["cabinaudio", "server", "source", "activate"],
        ["cabinaudio", "server", "source", "withdraw"],
        ["cabinaudio", "server", "stream", "remove"],
        ["cabinaudio", "server", "ring", "announce"],
        ["cabinaudio", "server", "uplink", "ring", "on"],
        ["cabinaudio", "server", "uplink", "ring", "off"],
        ["cabinaudio", "server", "stall"],
        ["cabinaudio", "server", "fault", "short-reply"],
        ["cabinaudio", "server", "fault", "wrong-magic"],
        ["cabinaudio", "server", "time"],
        ["cabinaudio", "server", "time", "run"],
        ["cabinaudio", "server", "time", "stop"],
        ["cabinaudio", "server", "time", "go"],
        ["cabinaudio", "server", "time", "await"],
        ["cabinaudio", "server", "time", "hold"],
        ["cabinaudio", "server", "time", "settle"],
        ["cabinaudio", "server", "at"],
        ["cabinaudio", "server", "crash"],
    ],
    "cabinaudio-check.1": [["cabinaudio", "check"]],
    "cabinaudio-listen.1": [["cabinaudio", "listen"]],
    "cabinaudio-play.1": [["cabinaudio", "play"]],
    "cabinaudio-record.1": [["cabinaudio", "record"]],
    "cabinaudio-scenario.1": [["cabinaudio", "scenario"]],
    "cabinaudio-settings.1": [
        ["cabinaudio", "get"],
        ["cabinaudio", "set"],
        ["cabinaudio", "list"],
        ["cabinaudio", "describe"],
        ["cabinaudio", "monitor"],
    ],
    "cabinaudio-top.1": [["cabinaudio", "top"]],
    "cabinaudio-trace.1": [["cabinaudio", "trace"]],
    "cabinaudio-run.1": [["cabinaudio-run"]],
    "cabinaudio-server.1": [["cabinaudio-server"]],
}


def rendered(page):
    """The page as a terminal shows it, in one column of plain text."""
    return re.sub(".\b", "", run("mandoc", "-T", "ascii", "-O", "width=200", page))


def options_of_help(command):
    text = run(BIN / command[0], *command[1:], "--help")
    long = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text))
    short = set(re.findall(r"^\s+(-[a-z]),", text, re.MULTILINE))
    return long, short


def examples(page):
    """The lines of the displays in the section EXAMPLES."""
    lines, inside, shown = [], False, False
    for line in page.read_text().splitlines():
        if line.startswith(".Sh "):
            inside = line == ".Sh EXAMPLES"
        elif inside and line.startswith(".Bd"):
            shown = True
        elif line.startswith(".Ed"):
            shown = False
        elif inside and shown:
            lines.append(plain(line))
    return lines


def plain(line):
    for escape, text in ((r"\(aq", "'"), (r"\(dq", '"'), (r"\(ti", "~"), (r"\(ha", "^"),
                         (r"\&", ""), (r"\-", "-"), (r"\e", "\\")):
        line = line.replace(escape, text)
    return line


@unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
class ManPages(unittest.TestCase):
    def test_are_all_known_here(self):
        self.assertEqual({page.name for page in PAGES}, {*COVERED, "cabinaudio-alsa.5", "libcabinaudio.3"})

    def test_have_the_form_of_man_pages(self):
        for page in PAGES:
            with self.subTest(page.name):
                self.assertEqual(run("mandoc", "-T", "lint", "-W", "warning", page), "")

    def test_have_all_sections(self):
        for page in PAGES:
            found = re.findall(r"^\.Sh (.*)$", page.read_text(), re.MULTILINE)
            with self.subTest(page.name):
                self.assertEqual([section for section in SECTIONS if section not in found], [])

    def test_name_every_option_of_the_help(self):
        for page, commands in COVERED.items():
            text = rendered(SOURCE / "man" / page)
            for command in commands:
                long, short = options_of_help(command)
                self.assertIn("--help", long)
                for option in sorted(long | short):
                    with self.subTest(page, command=command, option=option):
                        self.assertRegex(text, rf"(?<![\w-]){option}(?![\w-])")

    def test_name_no_option_that_does_not_exist(self):
        every = set()
        for commands in COVERED.values():
            for command in commands:
                every |= options_of_help(command)[0]
        for page in PAGES:
            for option in re.findall(r"(?<![\w-])--[a-z][a-z-]*", rendered(page)):
                with self.subTest(page.name, option=option):
                    self.assertIn(option, every | {"--cflags", "--libs"})  # pkg-config's


class ManExamples(unittest.TestCase):
    def test_do_what_they_say(self):
        for page in PAGES:
            with self.subTest(page.name):
                run_session(self, page.name, examples(page))


if __name__ == "__main__":
    unittest.main()
