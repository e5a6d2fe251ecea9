// SPDX-License-Identifier: Apache-2.0
#include "tests/trace/Captured.h"

#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/Error.h"

#include <sys/mman.h>
#include <unistd.h>

#include <numeric>

namespace cabinaudio::test {

trace::Record fullRecord(std::size_t bytes) {
    trace::Record record;
    record.timeNs = 1'700'000'000'123'456'789;
    record.kind = trace::Kind::ToClient;
    record.connection = 7;
    record.pid = 4711;
    record.type = 131;
    record.function = 20;
    record.detail = 0x1'0000'0001;
    record.bytes.resize(bytes);
    std::iota(record.bytes.begin(), record.bytes.end(), std::uint8_t{1});
    return record;
}

Captured readBack(const std::vector<std::uint8_t>& bytes, const std::string& name) {
    const int file = memfd_create("capture", MFD_CLOEXEC);
    const bool isWritten =
        write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
        lseek(file, 0, SEEK_SET) == 0;
    Captured result;
    try {
        trace::CaptureReader reader(file, name);
        while (auto record = reader.next())
            result.records.push_back(std::move(*record));
    } catch (const trace::Error& error) {
        result.error = error.what();
    }
    close(file);
    if (!isWritten) result.error = "the test's file was not written";
    return result;
}

}  // namespace cabinaudio::test
