#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the public headers against the exported names and the documented fields.

usage: check_headers.py INCLUDE_DIRECTORY SKELETONS EXPORTS...

- No public or protected member is hidden: a program could name it, and would not link.
- The fields of each exported class are those of its skeleton (SKELETONS is Skeletons.h), in order:
  a surplus field in the padding between two others changes no size and no offset.
- No exported member function of a class of the library is const: const is part of the mangled name.
"""
import pathlib
import re
import sys

HIDDEN = "CABINAUDIO_LOCAL"
EXPORTED = "CABINAUDIO_API"
CLASS = re.compile(r"\b(class|struct)\s+((?:CABINAUDIO_\w+\s+)?)(\w+)[^;(){}]*$")
LOCK_RULE = re.compile(r"\bCABINAUDIO_(?:(?:CAPABILITY|\w*GUARDED_BY|REQUIRES|EXCLUDES|\w*ACQUIRE|RELEASE)"
                       r"\([^()]*\)|SCOPED_CAPABILITY|UNCHECKED_LOCKING)")
FIELD = re.compile(r"\b(m[A-Z]\w*)\s*(?:\[\w+\]\s*)?(?:=[^;]*)?$")


class Scope:
    """A pair of braces: of a class, a namespace, a function."""

    def __init__(self, kind="", name="", exported=False):
        self.kind = kind
        self.name = name
        self.exported = exported
        self.access = "private" if kind == "class" else "public"
        self.fields = []


def declarations(text):
    text = re.sub(r"/\*.*?\*/|//[^\n]*", "", text, flags=re.S)
    text = re.sub(r"^\s*#.*?(?<!\\)$", "", text, flags=re.M)
    return LOCK_RULE.sub("", text)


def scope_of(opening):
    found = CLASS.search(opening)
    if not found or "enum" in opening:
        return Scope()
    return Scope(found[1], found[3], EXPORTED in found[2])


def scan(text):
    """Yields each class of a header, at its end, and each declaration of its members as
    (class, access, declaration)."""
    scopes = [Scope()]
    statement = ""
    for piece in re.split(r"([{};]|\b(?:public|protected|private)\s*:(?!:))", declarations(text)):
        inner = scopes[-1]
        if piece in ("{", "}", ";"):
            if statement.strip() and inner.kind and piece != "}":
                yield inner, inner.access, statement.strip()
            if piece == "{":
                scopes.append(scope_of(statement))
            elif piece == "}":
                yield scopes.pop(), None, None
            statement = ""
        elif re.fullmatch(r"(public|protected|private)\s*:", piece):
            inner.access = piece.rstrip(": ")
        else:
            statement += piece


def classes_and_problems(path, text):
    classes, problems = [], []
    for scope, access, declaration in scan(text):
        if declaration is None:
            if scope.exported:
                classes.append(scope)
            continue
        if access != "private" and HIDDEN in declaration:
            problems.append(f"{path}: {scope.name} has a hidden member that is {access}: "
                            + " ".join(declaration.split()))
        field = FIELD.search(declaration)
        if field and "static" not in declaration and "using" not in declaration:
            scope.fields.append(field[1])
    return classes, problems


def skeletons(path):
    found = {}
    for scope, _, declaration in scan(path.read_text(encoding="utf-8")):
        if not scope.name.endswith("Skeleton"):
            continue
        fields = found.setdefault(scope.name.removesuffix("Skeleton"), [])
        if declaration:
            fields += re.findall(r"\b(m[A-Z]\w*)", declaration)
    return found


def field_problems(found, expected):
    for scope in found:
        is_setting = scope.fields and scope.name.endswith(("Setting", "AudioRecordControl"))
        fields = expected.get(scope.name, expected["Setting"] if is_setting else [])
        surplus = [name for name in scope.fields if name not in fields]
        missing = [name for name in fields if name not in scope.fields]
        if surplus or missing:
            yield (f"{scope.name}: not in the skeleton: {', '.join(surplus) or '-'}, "
                   f"only there: {', '.join(missing) or '-'}")
        elif scope.fields != fields:
            yield f"{scope.name} has its fields in another order than its skeleton"


def constant_functions(listed):
    for name in listed.read_text(encoding="ascii").split():
        if name.startswith("_ZNK") and not re.match(r"_ZNK(St|S[sabiod]|9__gnu_cxx)", name):
            yield f"{listed.name}: exports a const member function: {name}"


def main():
    include, skeleton_header, *exports = map(pathlib.Path, sys.argv[1:])
    found, problems = [], []
    for path in sorted(include.rglob("*.h")):
        classes, wrong = classes_and_problems(path.relative_to(include),
                                              path.read_text(encoding="utf-8"))
        found += classes
        problems += wrong
    expected = skeletons(skeleton_header)
    problems += field_problems(found, expected)
    problems += [f"{name} has a skeleton, but is no exported class"
                 for name in expected.keys() - {scope.name for scope in found}
                 - {"Empty", "Interface", "List", "Format", "Setting"}]
    for listed in exports:
        problems += constant_functions(listed)
    print("\n".join(problems))
    fields = sum(len(scope.fields) for scope in found)
    print(f"{len(found)} exported classes with {fields} fields, {len(expected)} skeletons")
    return 1 if problems or not fields or not exports else 0


if __name__ == "__main__":
    sys.exit(main())
