#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""units.py BUILD-DIRECTORY: finds names that hide others because sources are compiled together.

A unit includes several sources of a target, one after the other. What a source includes, and what it
keeps to itself in an anonymous namespace, is then visible in those behind it. The compiler refuses two
definitions of the same thing. But a name hides that of an outer namespace without a word, even that of
the namespace around its anonymous one, and a call may reach a function that was not meant if the
arguments can be converted.

A source is therefore refused if it uses a name which it has itself, or which a header that it includes
declares, while another source of the target brings a name that hides it.
"""
import argparse
import collections
import functools
import json
import re
import subprocess
import sys
from pathlib import Path

KINDS = {"alias", "class", "enum", "enumerator", "externvar", "function", "prototype", "struct",
         "typedef", "union", "using", "variable"}
ANONYMOUS = "(anonymous)"
# Found by the types of their arguments, wherever they stand.
FOUND_BY_TYPE = {"PrintTo"}
# Macros, which ctags takes for declarations of functions.
MACRO = re.compile(r"offsetof|[A-Z][A-Z_]*")
INCLUDED = re.compile(r'^\s*#\s*include\s+["<]([^">]+)[">]', re.MULTILINE)
SILENT = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)

# The scope is a namespace, with ANONYMOUS at its end if only its source sees the name.
Name = collections.namedtuple("Name", "file line scope text")


def is_within(inner, outer):
    """Whether a namespace stands in another one."""
    return inner != outer and (outer == "" or inner.startswith(outer + "::"))


class Files:
    """Sources of a tree and the headers that they include, with the names in their namespaces."""

    def __init__(self, root, sources):
        self.root = root
        self.names = collections.defaultdict(list)  # by file
        self.named = collections.defaultdict(list)  # by name
        headers = {header for source in sources for header in self.headers_of(source)}
        for name in tags_of(sorted(sources | headers)):
            self.names[name.file].append(name)
            self.named[name.text].append(name)

    @functools.lru_cache(maxsize=None)
    def scopes(self, path):
        """Namespaces to which a source adds something."""
        return {name.scope for name in self.names[path]}

    @functools.lru_cache(maxsize=None)
    def includes(self, path):
        text = path.read_text(encoding="utf-8")
        places = (self.root, self.root / "include", self.root / "testing/include", path.parent)
        return {next((place / name for place in places if (place / name).is_file()), None)
                for name in INCLUDED.findall(text)} - {None}

    @functools.lru_cache(maxsize=None)
    def headers_of(self, path):
        """All headers of the tree that a file includes, directly or not."""
        found, new = set(), self.includes(path)
        while new:
            found |= new
            new = set().union(*map(self.includes, new)) - found
        return found

    @functools.lru_cache(maxsize=None)
    def words(self, path):
        """Words of a source that are no members and have no scope before them."""
        text = SILENT.sub(" ", path.read_text(encoding="utf-8"))
        return set(re.findall(r"(?<![\w.:>])[A-Za-z_]\w*|(?<=[^-]>)[A-Za-z_]\w*", text))


def tags_of(paths):
    """Names at namespace level, each with its file."""
    done = subprocess.run(
        ["ctags", "--output-format=json", "--languages=C++", "--langmap=C++:.cpp.h", "--fields=+nsSK",
         "--kinds-C++=+pxl-l", "-f", "-", "-L", "-"],
        input="\n".join(map(str, paths)), check=True, stdout=subprocess.PIPE, text=True)
    for line in done.stdout.splitlines():
        tag = json.loads(line)
        if (tag["kind"] in KINDS and tag.get("scopeKind", "namespace") == "namespace" and
                not (tag["kind"] in ("function", "prototype") and MACRO.fullmatch(tag["name"]))):
            scope = re.sub("__anon[0-9a-f]+", ANONYMOUS, tag.get("scope", ""))
            yield Name(Path(tag["path"]), tag["line"], scope, tag["name"])


def targets_of(root, build):
    """For each target of a build, the sources of the tree that its units include."""
    targets = collections.defaultdict(set)
    for unit in build.rglob("Unity/unity_*_cxx.cxx"):
        paths = map(Path, INCLUDED.findall(unit.read_text(encoding="utf-8")))
        targets[unit.parent.parent.stem] |= {path for path in paths
                                             if path.is_relative_to(root)
                                             and not path.is_relative_to(build)}
    return targets


def hides(files, source, name):
    """Whether a source uses a name, and a name of another file hides what it means."""
    if name.text in FOUND_BY_TYPE or name.text not in files.words(source):
        return False
    seen_from = [scope for scope in files.scopes(source)
                 if scope == name.scope or is_within(scope, name.scope)]
    own = files.headers_of(source) | {source}
    return bool(seen_from) and any(meant.file in own and is_within(name.scope, meant.scope)
                                   for meant in files.named[name.text])


def findings_in(files, sources):
    """Names of one source, or of what it includes, that hide what another source of a target means."""
    brought = set().union(sources, *map(files.headers_of, sources))
    for source in sources:
        for file in brought - files.headers_of(source) - {source}:
            yield from ((name, source) for name in files.names[file] if hides(files, source, name))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    options = parser.parse_args()
    root = Path.cwd()
    targets = targets_of(root, root / options.build)
    if not targets:
        sys.exit(f"units.py: {options.build} compiles no sources together")
    files = Files(root, set().union(*targets.values()))
    findings = {(name.file.relative_to(root), name.line, name.text, source.relative_to(root))
                for sources in targets.values() for name, source in findings_in(files, sources)}
    for path, line, name, source in sorted(findings):
        print(f"{path}:{line}: {name} hides what {source} means")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
