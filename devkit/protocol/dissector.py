# SPDX-License-Identifier: Apache-2.0
"""Generates the tables of devkit/wireshark/cabinaudio.lua, between its markers."""
import collections
import json
import re

import fields
import records

PATH = "devkit/wireshark/cabinaudio.lua"
BEGIN = "-- begin catalogue, generated from wire/ by devkit/protocol/generate.py\n"
END = "-- end catalogue\n"

# Records of a capture, with what precedes the names of their fields in filters.
CAPTURE = {"RecordHeader": "", "RingSummary": "ring.", "SoundHeader": "sound.",
           "LostRecords": "lost."}
# Fields whose own name would be another's in filters, or would say too little there.
RENAMED = {("RecordHeader", "magic"): "record.magic", ("RecordHeader", "version"): "record.version",
           ("RecordHeader", "flags"): "record.flags", ("RecordHeader", "detail"): "record.detail",
           ("audio_param", "name"): "client_name", ("audio_param", "length"): "payload_length",
           ("TrackInfo", "type"): "stream_type", ("NamesReply", "slots"): "name",
           ("CreateRequest", "tag"): "tag_number", ("OutputTrack", "tag"): "tag_number",
           ("ChannelStepRequest", "volume"): "step", ("ChannelStepReply", "volume"): "step",
           ("MixerStepsRequest", "gain"): "step"}
TEXTS = {("RecordHeader", "magic")}
HEX = {"magic", "handle", "address"}


def snake(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).lower()


def lua(value):
    if isinstance(value, bool):
        return "true" if value else "false"
    return json.dumps(value)


def table(entries):
    """One line: {key = value, ...}, without the entries that are empty."""
    return "{" + ", ".join(f"{key} = {lua(value)}" for key, value in entries.items()
                           if value != "" and value is not False) + "}"


class Names:
    """The names of fields in filters. Records share them: `cabinaudio.gain` is in 20 records. A
    name has one type; where records disagree, the rarer types are part of the name."""

    def __init__(self, catalogue, used):
        self.rows = []   # of FIELDS
        self._indices = {}
        self._types = collections.defaultdict(collections.Counter)
        self._choices = {}
        uses = collections.Counter(used)
        for operation in catalogue.operations:
            uses.update((operation.request, operation.reply))
        for name in used:
            for leaf in leaves_of(catalogue, name):
                self._types[self.base(name, leaf)][leaf.type] += uses[name]

    @staticmethod
    def base(record, leaf):
        return RENAMED.get((record, leaf.name), CAPTURE.get(record, "") + snake(leaf.name))

    def index(self, record, leaf, choices):
        base = self.base(record, leaf)
        usual = self._types[base].most_common(1)[0][0]
        name = base if leaf.type == usual else f"{base}_{leaf.type.lower()}"
        row = (f"cabinaudio.{name}", leaf.name, leaf.type, choices, leaf.name in HEX)
        if row not in self._indices:
            self.rows.append(row)
            self._indices[row] = len(self.rows)
        return self._indices[row]


def leaves_of(catalogue, name):
    for leaf in fields.leaves(catalogue, name):
        if (name, leaf.name) in TEXTS:
            yield fields.Leaf(leaf.name, leaf.offset, "Text", 1, leaf.count, "", (), False, "")
        else:
            yield leaf


class Choices:
    """The tables of named values, each written once."""

    def __init__(self):
        self.names = {}

    def name(self, leaf, record):
        if not leaf.choices:
            return ""
        return self.names.setdefault(leaf.choices, f"{record}.{leaf.name}")

    def lines(self):
        for choices, name in self.names.items():
            values = ", ".join(f"[{value}] = {lua(key)}" for key, value in choices)
            yield f"    [{lua(name)}] = {{{values}}},"


def record_lines(catalogue, names, choices, name):
    yield (f"    {name} = {{size = {catalogue.record(name).size}, "
           f"block = {lua(name in fields.WITH_BLOCK)}, fields = {{")
    for leaf in leaves_of(catalogue, name):
        named = choices.name(leaf, name)
        entry = {"name": leaf.name, "type": leaf.type, "at": leaf.offset, "count": leaf.count,
                 "size": leaf.size, "unit": leaf.unit, "choices": named, "mask": leaf.is_mask,
                 "slots": leaf.record, "hex": leaf.name in HEX}
        if leaf.type not in ("Unused", "Record"):
            entry["field"] = names.index(name, leaf, "" if leaf.is_mask else named)
        yield f"        {table(entry)},"
    yield "    }},"


def by_connection(rows):
    """Lines of {[connection] = {[number] = row, ...}, ...}."""
    for connection in sorted({row[0] for row in rows}):
        yield f"    [{connection}] = {{"
        for _, number, text in sorted(row for row in rows if row[0] == connection):
            yield f"        [{number}] = {text},"
        yield "    },"


def operation_rows(catalogue):
    return [(connection, operation.id, table({
        "name": operation.name, "enumerator": operation.function, "request": operation.request,
        "reply": operation.reply, "flag": operation.has_flag, "unit": operation.unit}))
        for operation in catalogue.operations for connection in operation.connections]


def event_rows(catalogue):
    return [(connection, event.event, lua(event.name))
            for event in catalogue.events for connection in event.connections]


def catalogue_lines(catalogue):
    used = [*CAPTURE, *fields.used_records(catalogue)]
    names, choices = Names(catalogue, used), Choices()
    made = [line for name in used for line in record_lines(catalogue, names, choices, name)]
    yield "-- Names of values."
    yield from ["local CHOICES = {", *choices.lines(), "}"]
    yield "-- Name in filters, name, type, names of values, hexadecimal."
    yield "local FIELDS = {"
    for row in names.rows:
        yield "    {" + ", ".join(lua(value) for value in row) + "},"
    yield "}"
    yield from ["local RECORDS = {", *made, "}"]
    yield "-- By connection type and function id."
    yield from ["local OPERATIONS = {", *by_connection(operation_rows(catalogue)), "}"]
    yield "-- By connection type and number."
    yield from ["local EVENTS = {", *by_connection(event_rows(catalogue)), "}"]


def make(catalogue, text):
    """The script with regenerated tables."""
    if text.count(BEGIN) != 1 or text.count(END) != 1:
        raise records.NotUnderstood(f"{PATH} has no place for the catalogue")
    before, rest = text.split(BEGIN)
    lines = "\n".join(catalogue_lines(catalogue))
    return before + BEGIN + lines + "\n" + END + rest.split(END)[1]
