#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""tables.py [--check]: generates the tables of settings functions in docs/protocol.md from
wire/Settings.h and wire/SettingRecords.h. With --check nothing is written; exit status 1 means
that the page does not match the sources.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs" / "protocol.md"
CATALOGUE = (ROOT / "wire" / "Settings.h").read_text(encoding="utf-8")
RECORDS = (ROOT / "wire" / "SettingRecords.h").read_text(encoding="utf-8")

ROW = re.compile(r"Setting<(\w+)Function::(\w+),\s*(\w+),\s*(\w+)>\{\s*"
                 r'"([^"]*)",\s*"([^"]*)"(?:,\s*(NO_FLAG))?\}')
FIELD = re.compile(r"^    (?P<type>[\w:<>, ]+?) (?P<name>\w+)(?:\[(?P<count>\d+)\])?(?: = [^;]+)?;"
                   r"(?:[ ]*//[ ]*\d+[ ]*(?P<note>.*))?$", re.M)
NUMBERS = {"std::uint8_t": "u8", "std::uint16_t": "u16", "std::uint32_t": "u32",
           "std::int32_t": "i32", "float": "f32"}
UNITS = ("dB", "ms", "Hz")
SPARE = {"1": "one unused byte", "2": "two unused bytes", "3": "three unused bytes"}


def functions():
    """{(kind, enumerator): id}"""
    found = {}
    for kind, body in re.findall(r"enum class (\w+)Function : [\w:]+ \{(.*?)\};", CATALOGUE, re.S):
        for name, number in re.findall(r"(\w+) = (\d+)", body):
            found[kind, name] = int(number)
    return found


def sizes():
    """{record: bytes}, from the assertions in the sources."""
    found = {name: int(size) for name, size in
             re.findall(r"sizeof\((\w+)\) == (\d+)\)?", RECORDS)}
    return {**found, "FunctionRequest": 4, "StatusReply": 4}


def field(match, types):
    kind, name, count, note = match["type"], match["name"], match["count"], match["note"] or ""
    if name.startswith("spare"):
        return SPARE[count] if kind == "std::uint8_t" else "two unused bytes"
    if kind == "Name":
        return name
    if name == "step":
        return "u8 step"
    if kind in NUMBERS:
        text = NUMBERS[kind] + (f"[{count}]" if count else "") + " " + name
        unit = note.split(" ")[0] if note else ""
        return text + (f" in {unit}" if unit in UNITS else "")
    kind = types.get(kind, kind)
    return f"`{kind.removeprefix('audio::')}`"


def contents(record):
    """The fields after the function id or the status."""
    if record in ("FunctionRequest", "StatusReply"):
        return []
    alias = re.search(rf"using {record} = (\w+)<([\w:]+)(?:, (\d+))?>;", RECORDS)
    if alias and alias[1] == "ListReply":
        slot = "name" if alias[2] == "Name" else f"`{alias[2]}`"
        return ["i32 count", f"{slot}[{alias[3]}]"]
    types = {"Value": alias[2]} if alias else {}
    name = alias[1] if alias else record
    body = re.search(rf"^struct {name} \{{\n(.*?)^\}};", RECORDS, re.M | re.S)
    if body is None:
        raise SystemExit(f"{record} is not in wire/SettingRecords.h")
    fields = list(FIELD.finditer(body[1]))
    if len(fields) != body[1].count("\n"):
        raise SystemExit(f"{record} has a field that is not understood")
    return [field(match, types) for match in fields[1:]]


def cell(record):
    if record == "EffectRequest" or record == "EffectReply":
        texts = [text for text in contents(record) if text != "u32 size"] + ["block"]
        # A block is its size followed by that many bytes.
        return f"{', '.join(texts)} ({sizes()[record]} + size)"
    texts = contents(record)
    return f"{', '.join(texts)} ({sizes()[record]})" if texts else "–"


def tables():
    """{kind: lines of its table}"""
    ids = functions()
    rows = ROW.findall(CATALOGUE)
    if len(rows) != len(re.findall(r"Setting<\w+Function::", CATALOGUE)):
        raise SystemExit("a row of wire/Settings.h has a form that is not understood")
    made = {}
    for kind, function, request, reply, name, meaning, no_flag in rows:
        if kind == "Version":
            continue  # described in its own section
        lines = made.setdefault(kind, ["| id | function | about | payload | reply |",
                                       "|---:|---|---|---|---|"])
        mark = " ○" if no_flag else ""
        lines.append(f"| {ids[kind, function]}{mark} | `{name}` | {meaning} | {cell(request)} | "
                     f"{cell(reply)} |")
    return made


def page(text):
    """The page with regenerated tables."""
    for kind, lines in tables().items():
        begin, end = f"<!-- begin {kind} settings -->\n", f"<!-- end {kind} settings -->\n"
        if text.count(begin) != 1 or text.count(end) != 1:
            raise SystemExit(f"docs/protocol.md has no place for the {kind} settings")
        before, rest = text.split(begin)
        text = before + begin + "\n".join(lines) + "\n" + end + rest.split(end)[1]
    return text


def main(arguments):
    if arguments not in ([], ["--check"]):
        raise SystemExit(__doc__)
    text = PAGE.read_text(encoding="utf-8")
    made = page(text)
    if arguments and made != text:
        print("docs/protocol.md is not what wire/ gives: run devkit/protocol/tables.py",
              file=sys.stderr)
        return 1
    if not arguments:
        PAGE.write_text(made, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
