// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Files.h"
#include "tests/support/Process.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Whether these programs are installed.
[[nodiscard]] bool haveAll(const Words& programs);

/// A desktop's sound server with one sink, "nothing", which has a monitor and plays to nothing
/// unless it is given another factory. It shares nothing with the user's own one. While this object
/// exists, PULSE_SERVER names its socket; child processes find it there.
class SoundServer {
public:
    enum class Kind { PulseAudio, PipeWire };

    /// The programs that it consists of.
    [[nodiscard]] static Words programsOf(Kind kind);

    /// Started and accepting clients when the constructor returns.
    /// @param sinkArguments  instead of the usual ones: arguments of PulseAudio's module,
    /// properties
    ///                       of PipeWire's node, beginning with its factory
    explicit SoundServer(Kind kind, std::string sinkArguments = {});
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    /// Starts it again after kill().
    void start();
    /// Ends it at once.
    void kill();
    /// Sends a signal to its main process.
    void send(int signal) const { mProcesses.front()->send(signal); }

    [[nodiscard]] std::string file(const std::string& name) const { return mDirectory.file(name); }

private:
    void launch(const Words& words);
    [[nodiscard]] Variables environment() const;
    void configurePipeWire() const;

    TemporaryDirectory mDirectory;
    Kind mKind;
    std::string mSinkArguments;
    std::vector<std::unique_ptr<Process>> mProcesses;  // the main one first
};

/// Records the sink's monitor into a file.
class Monitor {
public:
    /// Recording when the constructor returns.
    explicit Monitor(const SoundServer& server);

    /// Everything heard so far: 48 kHz, 16 bits, two channels.
    [[nodiscard]] std::vector<std::int16_t> heard() const;

private:
    std::string mFile;
    Process mRecorder;
};

/// 16-bit samples of a file without a header.
[[nodiscard]] std::vector<std::int16_t> rawSamples(const std::filesystem::path& file);

}  // namespace cabinaudio::test
