// SPDX-License-Identifier: Apache-2.0
#include "tests/board/Capture.h"

#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/Error.h"
#include "wire/Frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>

namespace cabinaudio::test {

using trace::Kind;
using trace::Record;

namespace {

bool registers(const Record& record, const std::string& name) {
    if (record.kind != Kind::ToServer || record.bytes.size() != sizeof(audio_param)) return false;
    audio_param header;
    std::memcpy(&header, record.bytes.data(), sizeof header);
    return header.cmd == AUDIO_CMD_REGISTER && name == header.name;
}

}  // namespace

std::vector<Record> Capture::connection(std::uint32_t number) const {
    std::vector<Record> found;
    std::copy_if(records.begin(), records.end(), std::back_inserter(found),
                 [&](const Record& record) { return record.connection == number; });
    return found;
}

std::vector<Record> Capture::connectionNamed(const std::string& name) const {
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record& record) { return registers(record, name); });
    return found != records.end() ? connection(found->connection) : std::vector<Record>();
}

std::size_t Capture::connections() const {
    std::set<std::uint32_t> numbers;
    for (const Record& record : records)
        numbers.insert(record.connection);
    return numbers.size();
}

Capture readCapture(const std::string& file) {
    Capture capture;
    try {
        trace::CaptureReader reader(file);
        while (const std::optional<Record> record = reader.next())
            capture.records.push_back(*record);
    } catch (const trace::Error& error) {
        capture.isCut = true;
    }
    return capture;
}

std::vector<Record> ofKind(const std::vector<Record>& records, Kind kind) {
    std::vector<Record> found;
    std::copy_if(records.begin(), records.end(), std::back_inserter(found),
                 [&](const Record& record) { return record.kind == kind; });
    return found;
}

std::vector<std::uint8_t> joined(const std::vector<Record>& records, Kind kind) {
    std::vector<std::uint8_t> bytes;
    for (const Record& record : ofKind(records, kind))
        bytes.insert(bytes.end(), record.bytes.begin(), record.bytes.end());
    return bytes;
}

std::uint32_t wordAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    std::uint32_t word = 0;
    if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

}  // namespace cabinaudio::test
