#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Reads the external tree with what Buildroot reads it with: kconfig and make.

usage: check.py SOURCE-TREE

Config.in is parsed by kconfiglib, the makefile is run by make, each with stand-ins for what Buildroot
has. What an option selects has to be what the makefile depends on with it, the CMake options have to
exist, version and licence have to be right.
"""
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import kconfiglib

# What a toolchain of Buildroot's says of itself.
TOOLCHAIN = ["BR2_INSTALL_LIBSTDCPP", "BR2_TOOLCHAIN_USES_GLIBC", "BR2_TOOLCHAIN_GCC_AT_LEAST_11",
             "BR2_TOOLCHAIN_HAS_THREADS"]
SWITCHES = ["BR2_PACKAGE_CABINAUDIO", "BR2_PACKAGE_CABINAUDIO_TOOLS",
            "BR2_PACKAGE_CABINAUDIO_DEVKIT", "BR2_PACKAGE_CABINAUDIO_ALSA",
            "BR2_PACKAGE_CABINAUDIO_GSTREAMER", "BR2_PACKAGE_CABINAUDIO_PYTHON",
            "BR2_PACKAGE_CABINAUDIO_TESTING"]
# Options of packages, and no packages.
DETAILS = {"BR2_PACKAGE_CAIRO_PNG": "BR2_PACKAGE_CAIRO",
           "BR2_PACKAGE_FFTW_SINGLE": "BR2_PACKAGE_FFTW",
           "BR2_PACKAGE_GTEST_GMOCK": "BR2_PACKAGE_GTEST",
           "BR2_PACKAGE_NCURSES_WCHAR": "BR2_PACKAGE_NCURSES"}


def selected(external, chosen, problems):
    """The packages that kconfig has switched on besides what was chosen."""
    text = (external / "package/cabinaudio/Config.in").read_text(encoding="utf-8")
    foreign = sorted(set(re.findall(r"BR2_\w+", text)) - set(SWITCHES))
    with tempfile.TemporaryDirectory() as work:
        top = pathlib.Path(work) / "Config.in"
        stubs = "".join(f'config {name}\n\tbool "{name}"\n'
                        + ("\tdefault y\n" if name in TOOLCHAIN else "") for name in foreign)
        top.write_text(f'{stubs}\nsource "{external}/Config.in"\n', encoding="utf-8")
        os.environ["BR2_EXTERNAL_CABINAUDIO_PATH"] = str(external)
        os.environ["KCONFIG_WARN_UNDEF"] = "y"
        config = kconfiglib.Kconfig(str(top), warn_to_stderr=False)
        for name in chosen:
            config.syms[name].set_value(2)
        problems += config.warnings
        for name in chosen:
            if config.syms[name].str_value != "y":
                problems.append(f"{name} cannot be chosen")
        return {DETAILS.get(name, name) for name in foreign
                if name.startswith("BR2_PACKAGE_") and config.syms[name].str_value == "y"}


def made(external, chosen, problems):
    """What make has in the variables of the package."""
    names = ["VERSION", "SITE", "SITE_METHOD", "LICENSE", "LICENSE_FILES", "INSTALL_STAGING",
             "DEPENDENCIES", "CONF_OPTS"]
    script = f"BR2_EXTERNAL_CABINAUDIO_PATH := {external}\n"
    script += "".join(f"{name} := {'y' if name in chosen else ''}\n" for name in SWITCHES)
    script += "cmake-package = CALLED := yes\n"
    script += f"include {external}/external.mk\n"
    script += "all:\n\t@:\n$(info CALLED=$(CALLED))\n"
    script += "".join(f"$(info {name}=$(CABINAUDIO_{name}))\n" for name in names)
    run = subprocess.run(["make", "--no-print-directory", "--warn-undefined-variables", "-f", "-"],
                         input=script, capture_output=True, text=True, check=False)
    unset = [line for line in run.stderr.splitlines() if line.startswith(str(external))]
    if run.returncode or unset:
        problems.append(f"make: {run.stderr.strip()}")
    values = dict(line.split("=", 1) for line in run.stdout.splitlines() if "=" in line)
    if values.get("CALLED") != "yes":
        problems.append("cabinaudio.mk does not make a package of itself")
    return values


def package_symbol(name):
    return "BR2_PACKAGE_" + name.upper().replace("-", "_")


def check_choice(external, chosen, options, problems):
    values = made(external, chosen, problems)
    # Programs of the building machine are not selected.
    depends = {package_symbol(name) for name in values.get("DEPENDENCIES", "").split()
               if not name.startswith("host-")}
    selects = selected(external, chosen, problems)
    if depends != selects:
        problems.append(f"{chosen[-1]}: depends on and selects differ: "
                        f"{' '.join(sorted(depends ^ selects))}")
    for option in re.findall(r"-D(CABINAUDIO_\w+)=", values.get("CONF_OPTS", "")):
        if option not in options:
            problems.append(f"CMake has no option {option}")
    return values


def check_sums(external, tree, problems):
    for line in (external / "package/cabinaudio/cabinaudio.hash").read_text().splitlines():
        if line.startswith("#"):
            continue
        kind, value, name = line.split()
        if kind != "sha256" or hashlib.sha256((tree / name).read_bytes()).hexdigest() != value:
            problems.append(f"cabinaudio.hash: {name} has another sum")


def main():
    tree = pathlib.Path(sys.argv[1]).resolve()
    external = tree / "packaging/buildroot"
    problems = []
    options = set()
    for path in [tree / "CMakeLists.txt", *tree.glob("*/CMakeLists.txt")]:
        options |= set(re.findall(r"(?:option|set|find_path)\((CABINAUDIO_\w+)",
                                   path.read_text(encoding="utf-8")))
    description = (external / "external.desc").read_text(encoding="utf-8")
    if not re.fullmatch(r"name: CABINAUDIO\ndesc: \S.*\n", description):
        problems.append("external.desc is not as Buildroot wants it")
    try:
        for chosen in (SWITCHES[:1], *([SWITCHES[0], one] for one in SWITCHES[1:]), SWITCHES):
            values = check_choice(external, chosen, options, problems)
    except kconfiglib.KconfigError as error:
        print(f"buildroot: {error}")
        return 1
    project = re.search(r"project\(cabinaudio VERSION ([\d.]+)", (tree / "CMakeLists.txt").read_text())
    if values.get("VERSION") != project[1]:
        problems.append(f"version {values.get('VERSION')} instead of {project[1]}")
    if pathlib.Path(values.get("SITE") or "/").resolve() != tree:
        problems.append(f"{values.get('SITE')} is not the source tree")
    if values.get("LICENSE") != "Apache-2.0" or not (tree / values.get("LICENSE_FILES", "")).is_file():
        problems.append("the licence is not told")
    check_sums(external, tree, problems)
    for problem in problems:
        print(f"buildroot: {problem}")
    return 1 if problems else 0


if len(sys.argv) != 2:
    print(__doc__.split("\n\n")[1], file=sys.stderr)
    sys.exit(2)
sys.exit(main())
