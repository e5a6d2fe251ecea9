// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Heard.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// Something that took effect at a frame of the output: a setting, ducking, a start, an end.
struct Change {
    std::uint64_t frame = 0;
    double ms = 0;
    std::string what;
    std::string json;  ///< all that the report says of it, as a JSON object
};

/// What a server has left. The files live as long as the result, or the TestServer, does.
class Result {
public:
    Result(std::shared_ptr<TestDirectory> directory, std::string directoryPath, int exitStatus,
           int signal, bool isCrash = false);

    /// What came out of the loudspeakers.
    /// @throws Failure when there is no such file, for example after a crash
    [[nodiscard]] Heard heard() const;
    /// As Heard::stem().
    [[nodiscard]] Sound stem(const std::string& stream) const;
    /// The server's report, a JSON object. @throws Failure when there is none
    [[nodiscard]] std::string report() const;
    /// Errors of time: who was waited for in vain, and what no frame decided. Empty when all went
    /// well, and in Real and Fast.
    [[nodiscard]] std::vector<std::string> errors() const;
    /// At which frame each setting, start, end and ducking took effect.
    [[nodiscard]] std::vector<Change> changes() const;

    /// What the server has printed.
    [[nodiscard]] std::string log() const;
    /// 0, or 5 when there are errors of time; -1 when a signal ended the server.
    [[nodiscard]] int exitStatus() const { return mExitStatus; }
    /// The signal that ended the server; 0 for none.
    [[nodiscard]] int signal() const { return mSignal; }
    /// Whether TestServer::crash() ended the server.
    [[nodiscard]] bool isCrash() const { return mIsCrash; }
    /// heard.wav, report.json, stems/, server.log.
    [[nodiscard]] const std::string& directory() const { return mPath; }

private:
    std::shared_ptr<TestDirectory> mDirectory;  // empty when somebody else owns it
    std::string mPath;
    mutable std::optional<Heard> mHeard;  // read when it is asked for
    int mExitStatus;
    int mSignal;
    bool mIsCrash;
};

}  // namespace cabinaudio::testing
