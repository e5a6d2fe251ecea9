#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Reads the recipe and the layer's configuration as BitBake would, as far as they go.

usage: check.py SOURCE-TREE [INSTALL-TREE]

Every line has to be an assignment, an `inherit`, a function or a comment. Beyond that: the version
is the project's, the licence's sum is right, Python in values compiles, CMake options exist. With an
INSTALL-TREE (of the prefix /usr) every file in it has to belong to a package.
"""
import fnmatch
import hashlib
import pathlib
import re
import sys

ASSIGNMENT = re.compile(
    r"(?P<name>[A-Za-z_][\w-]*(?::[\w${}-]+)*)(?:\[(?P<flag>[\w-]+)\])?\s*"
    r"(?P<operator>\?\?=|\?=|:=|\+=|=\+|\.=|=\.|=)\s*"
    r"(?P<quote>[\"'])(?P<value>.*)(?P=quote)$")
INHERIT = re.compile(r"inherit( [a-z][\w-]*)+$")
NEEDED = ["SUMMARY", "LICENSE", "LIC_FILES_CHKSUM", "EXTERNALSRC", "EXTRA_OECMAKE"]
DIRECTORIES = {"bindir": "/usr/bin", "libdir": "/usr/lib", "includedir": "/usr/include",
               "datadir": "/usr/share", "docdir": "/usr/share/doc", "mandir": "/usr/share/man"}


def logical_lines(text):
    pending, start = "", 0
    for number, line in enumerate(text.splitlines(), 1):
        start = start if pending else number
        if line.endswith("\\"):
            pending += line[:-1]
            continue
        yield start, pending + line
        pending = ""
    if pending:
        yield start, pending + "\\"


class Recipe:
    def __init__(self, path, problems):
        self.values = {}
        self.flags = {}
        self.inherited = []
        for number, line in logical_lines(path.read_text(encoding="utf-8")):
            if not line.strip() or line.startswith("#"):
                continue
            match = ASSIGNMENT.match(line)
            if match and match["quote"] not in match["value"].replace("\\" + match["quote"], ""):
                self.assign(match)
            elif INHERIT.match(line):
                self.inherited += line.split()[1:]
            else:
                problems.append(f"{path}:{number}: cannot be parsed: {line}")

    def assign(self, match):
        where = self.flags.setdefault(match["name"], {}) if match["flag"] else self.values
        name = match["flag"] or match["name"]
        old = where.get(name)
        operator, value = match["operator"], match["value"]
        if operator in ("?=", "??="):
            where[name] = value if old is None else old
        elif operator in ("+=", ".="):
            where[name] = (old or "") + (" " if operator == "+=" else "") + value
        elif operator in ("=+", "=."):
            where[name] = value + (" " if operator == "=+" else "") + (old or "")
        else:
            where[name] = value


def check_python(recipe, problems):
    texts = list(recipe.values.items())
    for name, value in texts:
        for code in re.findall(r"\$\{@(.*?)\}(?=[^}]|$)", value):
            try:
                compile(code, name, "eval")
            except SyntaxError as error:
                problems.append(f"{name}: {error.msg} in {code}")


def check_values(tree, recipe_path, recipe, problems):
    for name in NEEDED:
        if not recipe.values.get(name):
            problems.append(f"{name} is missing")
    for name in ("cmake", "externalsrc"):
        if name not in recipe.inherited:
            problems.append(f"does not inherit {name}")
    project = re.search(r"project\(cabinaudio VERSION ([\d.]+)",
                        (tree / "CMakeLists.txt").read_text(encoding="utf-8"))[1]
    if recipe_path.stem != f"cabinaudio_{project}":
        problems.append(f"{recipe_path.name} is not the recipe of version {project}")
    licence = re.fullmatch(r"file://(\S+);md5=([0-9a-f]{32})",
                           recipe.values.get("LIC_FILES_CHKSUM", ""))
    if not licence:
        problems.append("LIC_FILES_CHKSUM has no sum")
    elif hashlib.md5((tree / licence[1]).read_bytes()).hexdigest() != licence[2]:
        problems.append(f"{licence[1]} has another sum")
    up = re.search(r"'((?:/\.\.)+)'", recipe.values.get("EXTERNALSRC", ""))
    if not up or (recipe_path.parent / up[1].strip("/")).resolve() != tree.resolve():
        problems.append("EXTERNALSRC is not the source tree")


def check_options(tree, recipe, problems):
    declared = set()
    for path in [tree / "CMakeLists.txt", *tree.glob("*/CMakeLists.txt")]:
        declared |= set(re.findall(r"(?:option|set|find_path)\((CABINAUDIO_\w+)",
                                   path.read_text(encoding="utf-8")))
    configurations = recipe.flags.get("PACKAGECONFIG", {})
    for name, value in configurations.items():
        if len(value.split(",")) < 3:
            problems.append(f"PACKAGECONFIG[{name}] has no on, off and dependencies")
    for name in recipe.values.get("PACKAGECONFIG", "").split():
        if name not in configurations:
            problems.append(f"PACKAGECONFIG names {name}, which is not there")
    texts = [recipe.values.get("EXTRA_OECMAKE", ""), *configurations.values()]
    for option in re.findall(r"-D(CABINAUDIO_\w+)=", " ".join(texts)):
        if option not in declared:
            problems.append(f"CMake has no option {option}")


def expand(recipe, text):
    def value(match):
        name = match[1]
        return {"PN": "cabinaudio", **DIRECTORIES}.get(name, recipe.values.get(name, match[0]))
    return re.sub(r"\$\{(\w+)\}", value, text)


def owner(patterns, path):
    for package, pattern in patterns:
        if fnmatch.fnmatch(path, pattern) or path.startswith(pattern + "/"):
            return package
    return None


def check_files(recipe, install_tree, problems):
    packages = ["cabinaudio-staticdev", "cabinaudio-dev", "cabinaudio-doc",
                *expand(recipe, recipe.values["PACKAGE_BEFORE_PN"]).split(), "cabinaudio"]
    files = {expand(recipe, name)[len("FILES:"):]: expand(recipe, value).split()
             for name, value in recipe.values.items() if name.startswith("FILES:")}
    for package in packages:
        if package not in files:
            problems.append(f"no FILES for {package}")
    patterns = [(package, pattern) for package in packages for pattern in files.get(package, [])]
    seen = set()
    for path in sorted(install_tree.rglob("*")):
        if path.is_dir() and not path.is_symlink():
            continue
        # A distribution's own directory of the architecture does not exist there.
        name = "/" + re.sub(r"^usr/lib/[^/]*-linux-[^/]*/", "usr/lib/",
                            str(path.relative_to(install_tree)))
        package = owner(patterns, name)
        if package is None:
            problems.append(f"{name} is in no package")
        seen.add(package)
    for package in ("cabinaudio", "cabinaudio-dev", "cabinaudio-tools", "cabinaudio-devkit",
                    "cabinaudio-alsa", "cabinaudio-gstreamer", "cabinaudio-python",
                    "cabinaudio-staticdev"):
        if package not in seen:
            problems.append(f"{package} is empty")


def main():
    tree = pathlib.Path(sys.argv[1])
    layer = tree / "packaging/yocto"
    problems = []
    recipes = list(layer.glob("recipes-*/*/*.bb"))
    if len(recipes) != 1:
        problems.append(f"{len(recipes)} recipes instead of one")
    for path in recipes:
        recipe = Recipe(path, problems)
        check_python(recipe, problems)
        check_values(tree, path, recipe, problems)
        check_options(tree, recipe, problems)
        if len(sys.argv) > 2:
            check_files(recipe, pathlib.Path(sys.argv[2]), problems)
    configuration = Recipe(layer / "conf/layer.conf", problems)
    for name in ("BBFILES", "BBFILE_COLLECTIONS", "LAYERSERIES_COMPAT_cabinaudio"):
        if name not in configuration.values:
            problems.append(f"layer.conf does not set {name}")
    for problem in problems:
        print(f"yocto: {problem}")
    return 1 if problems else 0


if len(sys.argv) not in (2, 3):
    print(__doc__.split("\n\n")[1], file=sys.stderr)
    sys.exit(2)
sys.exit(main())
