# SPDX-License-Identifier: Apache-2.0
"""Fields as a reader of messages sees them: a record inside a record is replaced by its fields,
texts and bytes without meaning are one field each, and only lists keep records of their own.
"""
import dataclasses

import records

TYPES = {"std::uint8_t": "U8", "std::uint16_t": "U16", "std::uint32_t": "U32",
         "std::uint64_t": "U64", "std::int32_t": "I32", "float": "F32"}
# Records outside the operations.
FRAMES = ("audio_param", "SocketFrameHeader", "RegistrationReply")
# Followed by as many bytes as their last field says.
WITH_BLOCK = ("EffectRequest", "EffectReply")


@dataclasses.dataclass(frozen=True)
class Leaf:
    name: str
    offset: int
    type: str          # U8, ..., F32, Text, Bytes, Unused, Record
    count: int         # elements
    size: int          # bytes of an element
    unit: str
    choices: tuple     # (enumerator, value)
    is_mask: bool
    record: str        # of the elements of a list, else empty


def leaves(catalogue, name):
    """The fields of a record, without gaps."""
    found = _leaves(catalogue, name, 0)
    names = [leaf.name for leaf in found]
    for leaf in found:
        if names.count(leaf.name) > 1:
            raise records.NotUnderstood(f"{name} has two fields {leaf.name}")
    return found


def _leaves(catalogue, name, offset):
    found = []
    for field in catalogue.record(name).fields:
        place = offset + field.offset
        if catalogue.is_record(field.type) and field.type != records.TEXT and not field.count:
            found += _leaves(catalogue, field.type, place)
        else:
            found.append(_leaf(catalogue, field, place))
    return found


def _leaf(catalogue, field, offset):
    size, count = catalogue.size_of(field.type), field.count or 1
    choices = catalogue.choices(field)
    kind, record = TYPES.get(catalogue.plain(field.type)), ""
    if field.is_spare:
        kind, size, count, choices = "Unused", size * count, 1, {}
    elif field.type == records.TEXT:
        kind = "Text"
    elif field.type == "char" or field.name.startswith("opaque") and size == 1:
        kind, size, count = "Text" if field.type == "char" else "Bytes", size * count, 1
    elif kind is None:
        kind, record = "Record", field.type
    return Leaf(field.name, offset, kind, count, size, field.unit, tuple(choices.items()),
                catalogue.is_mask(choices), record)


def used_records(catalogue):
    """Names of all records on the wire, each after those that it needs."""
    names = []

    def use(name):
        for leaf in leaves(catalogue, name):
            if leaf.record:
                use(leaf.record)
        if name not in names:
            names.append(name)

    for name in FRAMES:
        use(name)
    for operation in catalogue.operations:
        use(operation.request)
        use(operation.reply)
    return names
