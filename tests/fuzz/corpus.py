#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""corpus.py expand FILE DIRECTORY, or corpus.py add FILE FINDING COMMENT:
expands a text file of annotated inputs into one file for each input, or appends a finding to it.

A paragraph of the text is one input: comment lines, then lines of hexadecimal pairs and of texts in
quotes with the escapes of C. A comment may also end a line of pairs."""
import pathlib
import re
import sys
import textwrap

PIECE = re.compile(r'\s*(?:([0-9a-f]{2})(?=\s|$)|"((?:[^"\\]|\\.)*)"|#.*)')


def bytes_of(paragraph, place):
    """The bytes of the lines, or None where there are only comments."""
    data = None
    for line in paragraph.splitlines():
        at = 0
        while line[at:].strip():
            piece = PIECE.match(line, at)
            if not piece:
                sys.exit(f"{place}: neither pairs nor text: {line[at:]}")
            at = piece.end()
            if piece[1] is not None:
                data = (data or b"") + bytes.fromhex(piece[1])
            elif piece[2] is not None:
                text = piece[2].encode("ascii").decode("unicode_escape")
                data = (data or b"") + text.encode("latin-1")
    return data


def inputs(path):
    found = [bytes_of(text, path) for text in path.read_text("ascii").split("\n\n")]
    return [data for data in found if data is not None]


def expand(path, directory):
    directory.mkdir(parents=True, exist_ok=True)
    for old in directory.iterdir():
        old.unlink()
    for number, data in enumerate(inputs(path), 1):
        (directory / f"{number:03}").write_bytes(data)


def add(path, finding, comment):
    data = finding.read_bytes()
    if data in inputs(path):
        sys.exit(f"{path} has this input already")
    pairs = textwrap.wrap(data.hex(" "), 95) or ['""']
    lines = textwrap.wrap(comment, 98, initial_indent="# ", subsequent_indent="# ") + pairs
    with path.open("a", encoding="ascii") as text:
        text.write("\n" + "\n".join(lines) + "\n")


def main(command, *arguments):
    if command == "expand" and len(arguments) == 2:
        expand(*map(pathlib.Path, arguments))
    elif command == "add" and len(arguments) == 3:
        add(pathlib.Path(arguments[0]), pathlib.Path(arguments[1]), arguments[2])
    else:
        sys.exit(__doc__)


main(*(sys.argv[1:] or [""]))
