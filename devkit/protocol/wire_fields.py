# SPDX-License-Identifier: Apache-2.0
"""Generates devkit/trace/WireFields.cpp: the catalogue as constants of C++."""
import json
import re

import fields

PATH = "devkit/trace/WireFields.cpp"

HEAD = """\
// SPDX-License-Identifier: Apache-2.0
// Generated from the headers in wire/ by devkit/protocol/generate.py.
#include "devkit/trace/WireFields.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cabinaudio::trace {
namespace {

// clang-format off
"""

TAIL = """\
template <typename Entry, typename Key>
const Entry* find(std::span<const Entry> entries, const Key& key,
                  std::pair<std::uint32_t, std::uint32_t> wanted) {
    const auto place = std::lower_bound(
        entries.begin(), entries.end(), wanted,
        [&](const Entry& entry, const auto& value) { return key(entry) < value; });
    return place != entries.end() && key(*place) == wanted ? &*place : nullptr;
}

}  // namespace

std::span<const WireOperation> wireOperations() {
    return OPERATIONS;
}

const WireOperation* findOperation(std::uint32_t connection, std::uint32_t function) {
    return find(
        wireOperations(),
        [](const WireOperation& entry) { return std::pair(entry.connection, entry.function); },
        {connection, function});
}

std::span<const WireEvent> wireEvents() {
    return EVENTS;
}

const WireEvent* findEvent(std::uint32_t connection, std::uint32_t event) {
    return find(
        wireEvents(),
        [](const WireEvent& entry) { return std::pair(entry.connection, entry.event); },
        {connection, event});
}

std::span<const WireChoice> connectionTypes() {
    return AUDIO_CONNECT_CHOICES;
}

std::span<const WireChoice> statusCodes() {
    return AUDIO_STATUS_CHOICES;
}

const char* nameOf(std::span<const WireChoice> choices, std::int64_t value) {
    const auto place =
        std::find_if(choices.begin(), choices.end(),
                     [&](const WireChoice& choice) { return choice.value == value; });
    return place != choices.end() ? place->name : nullptr;
}

const WireRecord& clientHeader() {
    return AUDIO_PARAM;
}

const WireRecord& frameHeader() {
    return SOCKET_FRAME_HEADER;
}

const WireRecord& registrationReply() {
    return REGISTRATION_REPLY;
}

}  // namespace cabinaudio::trace
"""


def constant(name):
    """UPPER_CASE of a record's name."""
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).upper()


def text(value):
    return json.dumps(value)


class Choices:
    """The arrays of named values, each written once."""

    def __init__(self, catalogue):
        self.names = {}
        self.lines = []
        for enum, name in (("audio_connect_type", "AUDIO_CONNECT_CHOICES"),
                           ("AudioStatus", "AUDIO_STATUS_CHOICES")):
            self.add(tuple(catalogue.enums[enum].items()), name)

    def add(self, choices, name):
        if not choices:
            return "{}"
        if choices not in self.names:
            self.names[choices] = name
            self.lines.append(f"constexpr std::array {name} = {{")
            self.lines += [f"    WireChoice{{{value}, {text(key)}}}," for key, value in choices]
            self.lines.append("};")
        return self.names[choices]


def record_lines(catalogue, choices, name):
    lines = [f"constexpr std::array {constant(name)}_FIELDS = {{"]
    for leaf in fields.leaves(catalogue, name):
        named = choices.add(leaf.choices, f"{constant(name)}_{constant(leaf.name)}_CHOICES")
        slots = f"&{constant(leaf.record)}" if leaf.record else "nullptr"
        mask = "true" if leaf.is_mask else "false"
        lines.append(f"    WireField{{{text(leaf.name)}, {leaf.offset}, FieldType::{leaf.type}, "
                     f"{leaf.count}, {text(leaf.unit)}, {leaf.size}, {slots}, {named}, {mask}}},")
    block = "true" if name in fields.WITH_BLOCK else "false"
    size = catalogue.record(name).size
    return lines + ["};", f"constexpr WireRecord {constant(name)} = {{{text(name)}, {size}, "
                    f"{constant(name)}_FIELDS, {block}}};", ""]


def operation_lines(catalogue):
    lines = []
    rows = sorted(((connection, operation) for operation in catalogue.operations
                   for connection in operation.connections),
                  key=lambda row: (row[0], row[1].id))
    for connection, operation in rows:
        flag = "true" if operation.has_flag else "false"
        lines.append(f"    WireOperation{{{connection}, {operation.id}, {text(operation.name)}, "
                     f"&{constant(operation.request)}, &{constant(operation.reply)}, {flag}, "
                     f"{text(operation.function)}, {text(operation.meaning)}, "
                     f"{text(operation.unit)}}},")
    return ["constexpr std::array OPERATIONS = {", *lines, "};", ""]


def event_lines(catalogue):
    rows = sorted((connection, event.event, event.name) for event in catalogue.events
                  for connection in event.connections)
    return ["constexpr std::array EVENTS = {",
            *(f"    WireEvent{{{connection}, {event}, {text(name)}}},"
              for connection, event, name in rows), "};", ""]


def make(catalogue, _):
    """The text of the file."""
    choices = Choices(catalogue)
    made = []
    for name in fields.used_records(catalogue):
        made += record_lines(catalogue, choices, name)
    lines = choices.lines + [""] + made + operation_lines(catalogue) + event_lines(catalogue)
    return HEAD + "\n".join(lines) + "\n" + TAIL
