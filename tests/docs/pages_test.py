# SPDX-License-Identifier: Apache-2.0
"""The pages of docs/: their commands, their programs, and where they lead to.

A fenced block of the kind "console" is a terminal (see shell.py). One of the kind "cpp" that has a
main() is a program, with "// NAME.cpp" in its first line: the page's terminals find it compiled as
./NAME, and run it. One whose first line is "// in a function" is compiled inside of one; others are
excerpts. One of the kind "python" is a program or a test, with "# NAME.py" in its first line: the
page's terminals find it and run it. One of the kind "cmake" is a project that builds the page's programs.
"""

import re
import unittest

from shell import run_session
from surroundings import (
    CMAKE,
    COMPILER,
    LIBDIR,
    PREFIX,
    PYTHON_DIRECTORY,
    SOURCE,
    fresh_directory,
    run,
)

GUIDES = sorted((SOURCE / "docs").glob("[a-z]*.md"))
DECISIONS = sorted((SOURCE / "docs" / "decisions").glob("[a-z]*.md"))
PAGES = [SOURCE / "docs" / "README.md", *GUIDES,
         SOURCE / "docs" / "decisions" / "README.md", *DECISIONS]

_FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)

# What blocks that are inside of functions may use.
_INCLUDES = [
    "cabinaudio/QVAudioRecordControl.h",
    "cabinaudio/client/ClientAppSetting.h",
    "cabinaudio/client/ClientMixerSetting.h",
    "cabinaudio/client/ClientRecord.h",
    "cabinaudio/client/ClientRecordControl.h",
    "cabinaudio/client/ClientRecordRt.h",
    "cabinaudio/client/ClientSink.h",
    "cabinaudio/client/ClientSourceSetting.h",
    "cabinaudio/client/ClientTrack.h",
    "cabinaudio/client/ClientVersionSetting.h",
    "cabinaudio/client/ClientVolumeSetting.h",
    "cabinaudio/diag/AudioConfig.h",
    "cabinaudio/diag/AudioDump.h",
    "cstdio",
    "cstring",
    "vector",
]

# What they may take as given.
_GIVEN = """
[[maybe_unused]] AudioFormatDesc format{0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
[[maybe_unused]] std::vector<unsigned char> data(192000);
[[maybe_unused]] int status = 0;
"""

_WARNINGS = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror"]


def blocks(page, kind):
    return [text for found, text in _FENCE.findall(page.read_text()) if found == kind]


def compile_program(source, program):
    library = PREFIX / LIBDIR
    run(COMPILER, *_WARNINGS, "-I", PREFIX / "include", source, "-o", program, "-L", library,
        f"-Wl,-rpath,{library}", "-lcabinaudio", "-pthread")


def program_name(text):
    return re.match(r"// (\S+)\.cpp\n", text).group(1)


def compile_programs(page, directory):
    """The programs of a page. Returns their paths."""
    programs = []
    for text in blocks(page, "cpp"):
        if "int main(" not in text:
            continue
        program = directory / program_name(text)
        source = program.with_suffix(".cpp")
        source.write_text(text)
        compile_program(source, program)
        programs.append(program)
    return programs


def write_scripts(page, directory):
    """The Python programs of a page. Returns their paths."""
    scripts = []
    for text in blocks(page, "python"):
        if named_file(text):
            continue  # a part of it; see Excerpts
        script = directory / re.match(r"# (\S+\.py)\n", text).group(1)
        script.write_text(text)
        scripts.append(script)
    return scripts


class Commands(unittest.TestCase):
    def test_do_what_they_say(self):
        for page in PAGES:
            if blocks(page, "python") and not PYTHON_DIRECTORY:
                continue
            lines = "\n".join(blocks(page, "console")).splitlines()
            if not lines:
                continue
            with self.subTest(page.name):
                directory = fresh_directory(f"programs-{page.stem}")
                programs = compile_programs(page, directory) + write_scripts(page, directory)
                run_session(self, page.name, lines, programs)

    def test_are_all_of_a_kind_that_is_tested(self):
        """No page shows commands in a way that nothing looks at."""
        for page in PAGES:
            for kind, text in _FENCE.findall(page.read_text()):
                if "$ " in text or "cabinaudio " in text:
                    with self.subTest(page.name, block=text):
                        self.assertIn(kind, ("console", "cpp", "cmake", "python", ""))
                if kind == "":
                    with self.subTest(page.name, block=text):
                        self.assertNotRegex(text, r"(?m)^\$? ?cabinaudio(-run|-server)? ")


class Snippets(unittest.TestCase):
    def test_that_are_programs_run_in_their_page(self):
        count = 0
        for page in PAGES:
            terminal = "\n".join(blocks(page, "console"))
            for text in blocks(page, "cpp"):
                if "int main(" in text:
                    count += 1
                    with self.subTest(page.name, program=text.splitlines()[0]):
                        self.assertIn(f"cabinaudio-run ./{program_name(text)}", terminal)
        self.assertGreater(count, 0)

    def test_of_python_run_in_their_page(self):
        for page in PAGES:
            terminal = "\n".join(blocks(page, "console"))
            for text in blocks(page, "python"):
                if named_file(text):
                    continue  # a part of it; see Excerpts
                with self.subTest(page.name, program=text.splitlines()[0]):
                    name = re.match(r"# (\S+\.py)\n", text).group(1)
                    self.assertRegex(terminal, rf"\$ python3 .*\b{re.escape(name)}")

    def test_that_are_projects_build(self):
        count = 0
        for page in PAGES:
            for project in blocks(page, "cmake"):
                if named_file(project):
                    continue  # a part of it; see Excerpts
                count += 1
                directory = fresh_directory(f"project-{page.stem}")
                compile_programs(page, directory)  # leaves their sources
                (directory / "CMakeLists.txt").write_text(project)
                run(CMAKE, "-S", directory, "-B", directory / "build",
                    f"-DCMAKE_PREFIX_PATH={PREFIX}", f"-DCMAKE_CXX_COMPILER={COMPILER}")
                run(CMAKE, "--build", directory / "build")
        self.assertGreater(count, 0)

    def test_that_are_parts_of_programs_compile(self):
        text = "".join(f"#include <{header}>\n" for header in _INCLUDES)
        count = 0
        for page in PAGES:
            for index, block in enumerate(blocks(page, "cpp")):
                if not block.startswith("// in a function\n"):
                    continue
                count += 1
                name = f"{page.stem}_{index}".replace("-", "_")
                text += f"\nint {name}();\nint {name}() {{{_GIVEN}\n{block}\nreturn status;\n}}\n"
        self.assertGreater(count, 0)
        directory = fresh_directory("parts")
        source = directory / "parts.cpp"
        source.write_text(text)
        run(COMPILER, *_WARNINGS, "-I", PREFIX / "include", "-fsyntax-only", source)


def named_file(block):
    """The file of the source tree that the block's first line names in a comment, if any."""
    found = re.match(r"(?://|#) (\S+/\S+)\n", block)
    path = SOURCE / found[1] if found else None
    return path if path and path.is_file() else None


class Excerpts(unittest.TestCase):
    """Blocks whose first line is the path of a file are parts of it."""

    def test_are_in_their_files(self):
        count = 0
        for page in PAGES:
            for _, block in _FENCE.findall(page.read_text()):
                file = named_file(block)
                if file is None:
                    continue
                count += 1
                with self.subTest(page.name, file=file.name):
                    self.assertIn(block.split("\n", 1)[1], file.read_text())
        self.assertGreater(count, 0)


class Volumes(unittest.TestCase):
    """The table of steps, dB and percent, asked of the server."""

    def test_are_what_the_server_makes_of_steps(self):
        rows = re.findall(r"^\| (\d+) \| (-?[\d.]+) \| ([\d.]+) \|$",
                          (SOURCE / "docs" / "settings.md").read_text(), re.MULTILINE)
        self.assertGreater(len(rows), 10)
        lines = ["$ cabinaudio-server &"]
        for step, decibel, percent in rows:
            lines += [f"$ cabinaudio set volume.master={step}",
                      "$ cabinaudio get volume.master",
                      f"volume.master={decibel}dB"]
            left = 0 if step == "0" else 100 * 10 ** (float(decibel) / 20)
            with self.subTest(step):
                self.assertAlmostEqual(float(percent), left, delta=left * 0.003)
        run_session(self, "volumes", lines)


class Links(unittest.TestCase):
    def test_lead_somewhere(self):
        for page in [*PAGES, SOURCE / "README.md"]:
            text = re.sub(_FENCE, "", page.read_text())
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                if re.match(r"[a-z]+:", target):
                    continue
                path, _, anchor = target.partition("#")
                file = (page.parent / path).resolve() if path else page
                with self.subTest(page.name, target=target):
                    self.assertTrue(file.exists())
                    if anchor and file.suffix == ".md":
                        self.assertIn(anchor, anchors(file))

    def test_lead_to_every_page_from_the_index(self):
        for pages in (GUIDES, DECISIONS):
            index = (pages[0].parent / "README.md").read_text()
            for page in pages:
                self.assertIn(f"]({page.name})", index)


class Decisions(unittest.TestCase):
    """The code and the tests that a decision names."""

    def test_name_files_that_exist(self):
        for page in DECISIONS:
            files = re.findall(r"`([\w-]+(?:/[\w.-]+)+\.\w+)`", page.read_text())
            with self.subTest(page.name):
                self.assertTrue(files)
                for name in files:
                    self.assertTrue((SOURCE / name).exists(), name)

    def test_name_tests_that_exist(self):
        known = set()
        for source in (SOURCE / "tests").rglob("*.cpp"):
            known.update(map(".".join, re.findall(
                r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", source.read_text(),
                re.MULTILINE)))
        named = {(page.name, name) for page in DECISIONS
                 for name in re.findall(r"`([A-Z]\w+\.[A-Z]\w+)`", page.read_text())}
        self.assertTrue(named)
        for page, name in sorted(named):
            with self.subTest(page, test=name):
                self.assertTrue(name in known)


def anchors(page):
    found = set()
    for heading in re.findall(r"^#+ (.*)$", page.read_text(), re.MULTILINE):
        words = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
        found.add(re.sub(r"[^\w\- ]", "", words).replace(" ", "-"))
    return found


if __name__ == "__main__":
    unittest.main()
