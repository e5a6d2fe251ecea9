// SPDX-License-Identifier: Apache-2.0
// Captures as we write them, whole and cut off.
#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/Error.h"
#include "tests/support/Files.h"
#include "tests/trace/Captured.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace cabinaudio::test {

namespace {

using testing::StartsWith;
using trace::CaptureReader;
using trace::CaptureWriter;
using trace::Record;

std::vector<std::uint8_t> captureOf(const std::vector<Record>& records) {
    auto bytes = trace::openingBlocks();
    for (const Record& record : records) {
        const auto block = trace::blockOf(record);
        bytes.insert(bytes.end(), block.begin(), block.end());
    }
    return bytes;
}

TEST(Capture, GivesBackEveryFieldOfARecord) {
    // All lengths of padding.
    const std::vector<Record> records = {fullRecord(0), fullRecord(1), fullRecord(2), fullRecord(3),
                                         fullRecord(100'000)};
    const Captured read = readBack(captureOf(records), "capture");
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.records, records);
}

TEST(Capture, WithoutRecordsIsACapture) {
    const Captured read = readBack(captureOf({}), "capture");
    EXPECT_EQ(read.error, "");
    EXPECT_TRUE(read.records.empty());
}

TEST(Capture, CutOffAnywhereGivesItsWholeRecordsAndThePlace) {
    const auto whole = captureOf({fullRecord(5), fullRecord(6)});
    const std::size_t opening = trace::openingBlocks().size();
    const std::size_t second = opening + trace::blockOf(fullRecord(5)).size();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Captured read =
            readBack({whole.begin(), whole.begin() + static_cast<int>(size)}, "half.pcapng");
        EXPECT_EQ(read.records.size(), size >= second ? 1U : 0U) << size;
        const bool endsBetweenBlocks =
            size == sizeof(trace::SECTION) || size == opening || size == second;
        if (endsBetweenBlocks) {
            EXPECT_EQ(read.error, "") << size;
        } else {
            EXPECT_THAT(read.error, StartsWith("half.pcapng: ")) << size;
        }
    }
    const Captured read = readBack({whole.begin(), whole.end() - 1}, "half.pcapng");
    EXPECT_EQ(read.error, "half.pcapng: cut off at byte " + std::to_string(whole.size() - 1) +
                              ", in the block that begins at byte " + std::to_string(second));
}

TEST(Capture, WriterAndReaderUseFilesByName) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("capture.pcapng");
    std::ofstream(path) << "an older and longer file, which must not remain behind the capture";
    {
        CaptureWriter writer(path);
        writer.write(fullRecord(10));
        writer.flush();
        // A reader sees what was flushed, while the file is still being written.
        CaptureReader early(path);
        EXPECT_EQ(early.next(), fullRecord(10));
        EXPECT_EQ(early.next(), std::nullopt);
        writer.write(fullRecord(11));
    }
    CaptureReader reader(path);
    EXPECT_EQ(reader.next(), fullRecord(10));
    EXPECT_EQ(reader.next(), fullRecord(11));
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_EQ(reader.size(), std::filesystem::file_size(path));
}

TEST(Capture, FilesThatCannotBeOpenedAreNamed) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("none/capture.pcapng");
    const auto namesTheFile =
        testing::ThrowsMessage<trace::Error>(path + ": No such file or directory");
    EXPECT_THAT([&] { CaptureWriter writer(path); }, namesTheFile);
    EXPECT_THAT([&] { CaptureReader reader(path); }, namesTheFile);
}

TEST(Capture, FullDiskIsAnError) {
    CaptureWriter writer("/dev/full");
    EXPECT_THAT([&] { writer.flush(); },
                testing::ThrowsMessage<trace::Error>("/dev/full: No space left on device"));
}

}  // namespace

}  // namespace cabinaudio::test
