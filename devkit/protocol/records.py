# SPDX-License-Identifier: Apache-2.0
"""The catalogue as data: records, operations, events and constants as the headers in wire/ (and the
public headers that they use) and the layout of captures declare them. A declaration that is not understood, or whose offsets
or size differ from what its comments and assertions say, ends the program with one line.
"""
import dataclasses
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = {name: f"{directory}/{name}.h" for directory, names in {
    "include/cabinaudio": ["QVAudioTypes", "QVAudioSettingTypes"],
    "include/cabinaudio/foundation": ["AudioStatus", "AudioConnectType", "AudioTypes"],
    "wire": ["Frame", "Stream", "StreamOperations", "SettingRecords", "Settings"],
    "client": ["UplinkCodec"],
    "devkit/trace": ["RecordHeader"],
}.items() for name in names}

PRIMITIVES = {"std::uint8_t": 1, "std::uint16_t": 2, "std::uint32_t": 4, "std::int32_t": 4,
              "std::uint64_t": 8, "float": 4, "char": 1}
UNITS = ("dB", "ms", "us", "Hz", "bytes", "frames", "millionths")
TEXT = "Name"  # the record that is a text

ROW = re.compile(r"(Setting|StreamOperation)<(\w+Function)::(\w+),\s*(\w+),\s*(\w+)>\{\s*"
                 r'"([^"]*)",\s*"([^"]*)"(?:,\s*(NO_FLAG|UNFLAGGED))?\}')
STRUCT = re.compile(r"^(?:template <([^>]*)>\n)?struct (\w+) \{\n(.*?)^\};", re.M | re.S)
MEMBER = re.compile(r"^    (?:alignas\((\d+)\) )?(?P<type>[\w:<>, ]+?) (?P<name>\w+)"
                    r"(?:\[(?P<count>\w+)\])?(?: = [^;]+)?;"
                    r"(?:[ ]*//(?:/<)?[ ]*(?P<comment>.*))?$")
ENUM = re.compile(r"^enum (?:class )?(\w+) : ([\w:]+) \{(.*?)\};", re.M | re.S)
CONSTANT = re.compile(r"^(?:inline )?constexpr std::uint32_t ([A-Z]\w*) = (\w+);", re.M)


class NotUnderstood(SystemExit):
    """Ends the program."""


@dataclasses.dataclass(frozen=True)
class Field:
    """A member of a record, as it is declared."""
    name: str
    type: str       # of an element, without namespace
    count: int      # elements; 0: not an array
    offset: int
    note: str

    @property
    def is_spare(self):
        return self.name.startswith("spare")

    @property
    def unit(self):
        """Of the value; empty without one."""
        longer = {"frames per second": "Hz", "microseconds": "us", "moved by": "bytes",
                  "of the ring, bytes": "bytes"}
        for words, unit in longer.items():
            if words in self.note:
                return unit
        first = re.split(r"[ ,;]", self.note)[0]
        if first in UNITS:
            return first
        limits = re.fullmatch(r"-?[\d.]+ to -?[\d.]+ (\w+)", self.note)
        return limits[1] if limits and limits[1] in UNITS else ""


@dataclasses.dataclass(frozen=True)
class Record:
    name: str
    size: int
    fields: tuple


@dataclasses.dataclass(frozen=True)
class Operation:
    kind: str        # of the function ids: Volume, Stream, Capture, ...
    function: str    # its enumerator
    id: int
    connections: tuple  # connection types: numbers
    request: str
    reply: str
    name: str
    meaning: str
    has_flag: bool

    @property
    def unit(self):
        """Unit of the fields named `value`, which many operations share; empty without one."""
        found = re.search(r", in (\w+)$", self.meaning)
        if found:
            return {"microseconds": "us"}.get(found[1], found[1])
        return "%" if self.meaning.endswith("to a percentage") else ""


@dataclasses.dataclass(frozen=True)
class Event:
    connections: tuple
    event: int
    name: str        # its enumerator


class Catalogue:
    """Everything, read once."""

    def __init__(self, root=ROOT):
        self.texts = {name: (root / path).read_text(encoding="utf-8")
                      for name, path in HEADERS.items()}
        self.all = "\n".join(self.texts.values())
        self.constants = {name: int(value, 0) for name, value in CONSTANT.findall(self.all)}
        self.enums = {}         # {name: {enumerator: value}}
        self._underlying = {}
        for name, underlying, body in ENUM.findall(self.all):
            body = re.sub(r"//.*", "", body)
            self.enums[name] = {key: int(value, 0)
                                for key, value in re.findall(r"(\w+) = (-?\w+)", body)}
            self._underlying[name] = underlying
        self._structs = {name: (parameters, body)
                         for parameters, name, body in STRUCT.findall(self.all)}
        self._aliases = {name: (template, [a.strip() for a in arguments.split(",")])
                         for name, template, arguments in
                         re.findall(r"^using (\w+) = (\w+)<([^>]*)>;", self.all, re.M)}
        self._sizes = {name: int(size) for name, size in
                       re.findall(r"sizeof\((\w+)\) == (\d+)\b", self.all)}
        self._offsets = {(record, field): int(offset) for record, field, offset in
                         re.findall(r"offsetof\((\w+), (\w+)\) == (\d+)", self.all)}
        self._records = {}
        self.operations = self._read_operations()
        self.events = self._read_events()

    # ---- Records ----------------------------------------------------------------------------

    def record(self, name):
        """A record by its name, or `Template<arguments>`."""
        name = name.removeprefix("audio::")
        if name not in self._records:
            self._records[name] = self._read_record(name)
        return self._records[name]

    def is_record(self, kind):
        return "<" in kind or kind in self._structs or kind in self._aliases

    def size_of(self, kind):
        kind = self._underlying.get(kind, kind)
        return PRIMITIVES[kind] if kind in PRIMITIVES else self.record(kind).size

    def plain(self, kind):
        """The number type of an enumeration; every other type unchanged."""
        return self._underlying.get(kind, kind)

    def _read_record(self, name):
        template, arguments = self._aliases.get(name, (name, []))
        if "<" in name:
            template, rest = name.rstrip(">").split("<", 1)
            arguments = [argument.strip() for argument in rest.split(",")]
        if template not in self._structs:
            raise NotUnderstood(f"the record {name} is declared nowhere")
        parameters, body = self._structs[template]
        names = [word.split()[-1] for word in parameters.split(",")] if parameters else []
        for parameter, argument in zip(names, arguments):
            body = re.sub(rf"\b{parameter}\b", argument, body)
        fields, end, widest = [], 0, 1
        for line in body.splitlines():
            if not line.strip() or line.strip().startswith(("//", "static ")):
                continue
            field, size = self._read_member(name, line, end)
            if field.offset != end:
                raise NotUnderstood(f"{name} has unnamed bytes before {field.name}")
            fields.append(field)
            widest = max(widest, self._alignment(field.type))
            end += size
        if end % widest:
            raise NotUnderstood(f"{name} has unnamed bytes at its end")
        if self._sizes.get(name, end) != end:
            raise NotUnderstood(f"{name} has {end} bytes, its assertion says {self._sizes[name]}")
        return Record(name, end, tuple(fields))

    def _read_member(self, record, line, end):
        match = MEMBER.match(line)
        if match is None:
            raise NotUnderstood(f"{record} has a field that is not understood: {line.strip()}")
        kind = match["type"].removeprefix("const ").replace("audio::", "")
        count = int(match["count"]) if match["count"] else 0
        alignment = self._alignment(kind)
        offset = (end + alignment - 1) // alignment * alignment
        comment = re.match(r"(\d+)(?:\s+|$)(.*)", match["comment"] or "")
        # Comments of public types without an offset are all text.
        is_offset = comment is not None and not comment[2].startswith(("to ", "is ", "at most"))
        note = comment[2] if is_offset else match["comment"] or ""
        stated = [int(comment[1])] if is_offset else []
        if (record, match["name"]) in self._offsets:
            stated.append(self._offsets[record, match["name"]])
        for other in stated:
            if other != offset:
                raise NotUnderstood(f"{record}::{match['name']} is at {offset}, not at {other}")
        return (Field(match["name"], kind, count, offset, note.strip()),
                self.size_of(kind) * (count or 1))

    def _alignment(self, kind):
        kind = self.plain(kind)
        if kind in PRIMITIVES:
            return PRIMITIVES[kind]
        return max(self._alignment(field.type) for field in self.record(kind).fields)

    # ---- Names of values --------------------------------------------------------------------

    def choices(self, field):
        """{enumerator: value} of a field; empty when its values have no names."""
        if field.name == "status":
            return self.enums["AudioStatus"]
        if field.name == "codecType":
            return self._constants(r"CODEC_\w+")
        if field.type in self.enums:
            return self.enums[field.type]
        prefix = re.match(r"([A-Z_]+_)\*", field.note)
        if prefix:
            return self._constants(prefix[1] + r"\w+")
        words = re.findall(r"\w+", field.note)
        named = next((word for word in words if word in self.enums), None)
        enum = self.enums[named] if named is not None and "::" not in field.note else {}
        return {**enum, **{word: self.constants[word] for word in words
                           if word in self.constants}}

    def _constants(self, expression):
        return {name: value for name, value in self.constants.items()
                if re.fullmatch(expression, name)}

    @staticmethod
    def is_mask(choices):
        """Whether the values are bits that can be combined."""
        bits = [value for value in choices.values() if value]
        return len(bits) > 3 and all(value > 0 and value & (value - 1) == 0 for value in bits)

    # ---- Operations and events --------------------------------------------------------------

    def connections_of(self, kind):
        """Connection types of a table of streams' operations: SINK, TRACK, ..."""
        found = re.search(rf"\b{kind}_CONNECTIONS\{{(.*?)\}};", self.all, re.S)
        if found is None:
            raise NotUnderstood(f"wire/StreamOperations.h has no {kind}_CONNECTIONS")
        return tuple(self.enums["audio_connect_type"][word]
                     for word in re.findall(r"\w+", found[1]))

    def _read_operations(self):
        found = []
        settings, streams = self.texts["Settings"], self.texts["StreamOperations"]
        for row in self._rows("wire/Settings.h", settings, "Setting"):
            kind = row[1].removesuffix("Function")
            word = re.search(rf"connectionOf\({row[1]}\) \{{\s*return (\w+);", settings)
            connection = self.enums["audio_connect_type"][word[1]]
            found.append(self._operation(row, kind, (connection,)))
        for kind, body in re.findall(r"std::tuple (\w+)_OPERATIONS\{(.*?)^\};", streams,
                                     re.S | re.M):
            for row in self._rows("wire/StreamOperations.h", body, "StreamOperation"):
                found.append(self._operation(row, kind.capitalize(), self.connections_of(kind)))
        return found

    @staticmethod
    def _rows(name, text, template):
        rows = ROW.findall(text)
        if len(rows) != len(re.findall(rf"\b{template}<\w+Function::", text)):
            raise NotUnderstood(f"a row of {name} has a form that is not understood")
        return rows

    def _operation(self, row, kind, connections):
        _, ids, function, request, reply, name, meaning, no_flag = row
        for record in (request, reply):
            self.record(record)
        return Operation(kind, function, self.enums[ids][function], connections, request, reply,
                         name, meaning, not no_flag)

    def _read_events(self):
        return [Event(self.connections_of(table), value, name)
                for enum, tables in {"SinkEvent": ["SINK"], "TrackEvent": ["TRACK"],
                                     "CaptureEvent": ["CAPTURE", "UPLINK"]}.items()
                for table in tables for name, value in self.enums[enum].items()]
