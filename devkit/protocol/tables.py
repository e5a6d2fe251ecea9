# SPDX-License-Identifier: Apache-2.0
"""Generates the tables of settings functions in docs/protocol.md."""
import records

PATH = "docs/protocol.md"

NUMBERS = {"std::uint8_t": "u8", "std::uint16_t": "u16", "std::uint32_t": "u32",
           "std::int32_t": "i32", "float": "f32"}
UNITS = ("dB", "ms", "Hz")  # that the tables show
SPARE = {1: "one unused byte", 2: "two unused bytes", 3: "three unused bytes"}
STREAMS = ("Sink", "Track", "Capture", "Uplink")


def field_text(catalogue, field):
    if field.is_spare:
        return SPARE[catalogue.size_of(field.type) * (field.count or 1)]
    if field.type == records.TEXT:
        return field.name
    if field.name == "step":
        return "u8 step"
    if field.type in NUMBERS:
        text = NUMBERS[field.type] + (f"[{field.count}]" if field.count else "") + " " + field.name
        return text + (f" in {field.unit}" if field.unit in UNITS else "")
    return f"`{field.type}`"


def contents(catalogue, name):
    """The fields after the function id or the status."""
    texts = []
    for field in catalogue.record(name).fields[1:]:
        if field.type.startswith("List<"):
            count, slots = catalogue.record(field.type).fields
            slot = "name" if slots.type == records.TEXT else f"`{slots.type}`"
            texts += [f"{NUMBERS[count.type]} count", f"{slot}[{slots.count}]"]
        else:
            texts.append(field_text(catalogue, field))
    return texts


def cell(catalogue, name):
    texts, size = contents(catalogue, name), catalogue.record(name).size
    if name in ("EffectRequest", "EffectReply"):
        # A block is its size followed by that many bytes.
        return f"{', '.join([*texts[:-1], 'block'])} ({size} + size)"
    return f"{', '.join(texts)} ({size})" if texts else "–"


def tables(catalogue):
    """{kind: lines of its table}"""
    made = {}
    for operation in catalogue.operations:
        if operation.kind in ("Version", *STREAMS):
            continue  # described in sections of their own
        lines = made.setdefault(operation.kind, ["| id | function | about | payload | reply |",
                                                 "|---:|---|---|---|---|"])
        mark = "" if operation.has_flag else " ○"
        lines.append(f"| {operation.id}{mark} | `{operation.name}` | {operation.meaning} | "
                     f"{cell(catalogue, operation.request)} | "
                     f"{cell(catalogue, operation.reply)} |")
    return made


def make(catalogue, text):
    """The page with regenerated tables."""
    for kind, lines in tables(catalogue).items():
        begin, end = f"<!-- begin {kind} settings -->\n", f"<!-- end {kind} settings -->\n"
        if text.count(begin) != 1 or text.count(end) != 1:
            raise records.NotUnderstood(f"{PATH} has no place for the {kind} settings")
        before, rest = text.split(begin)
        text = before + begin + "\n".join(lines) + "\n" + end + rest.split(end)[1]
    return text
