// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Result.h>
#include <cabinaudio/testing/ServerOptions.h>

#include <sys/types.h>

#include <chrono>
#include <deque>
#include <memory>
#include <string>

namespace cabinaudio::testing {

/// How a reply is damaged: its second half is missing, or its first word is not that of a reply,
/// with which the client's connection ends.
enum class Damage { ShortReply, WrongMagic };

/// A development server of the test's own: in its own instance, with its output in a file. It
/// serves when the constructor returns, and is ended by the destructor, at the latest with the
/// thread that made it.
///
/// While it lives, CABINAUDIO_INSTANCE of this process names its instance, so that objects of the
/// library reach it, and CABINAUDIO_CONFIG_DIR a directory of the test, so that none finds the
/// user's diagnostics settings; the link policy of this process has a limit of 60 s. So there can
/// be one at a time in a process, and it must be made before the first object of the library. The
/// test program itself needs `cabinaudio-run` for streams, see cabinaudio_discover_tests().
///
/// cabinaudio-server is CABINAUDIO_SERVER of the environment, otherwise found in PATH. Functions
/// throw Failure when the server is gone or refuses; none waits longer than the options' patience
/// and a minute. For one thread at a time.
class TestServer {
public:
    /// Its files are in a TestDirectory of its own.
    /// @throws Failure when it does not come up, with what it said
    explicit TestServer(const ServerOptions& options = {});
    /// Its files are in this directory, which must exist.
    TestServer(const ServerOptions& options, const std::string& directory);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    [[nodiscard]] const std::string& instance() const;
    [[nodiscard]] const std::string& directory() const;
    [[nodiscard]] pid_t pid() const;
    /// What it has printed so far, in this run.
    [[nodiscard]] std::string log() const;

    /// Sends a line to the control socket. @return the answer, as `cabinaudio server` prints it
    /// @throws Failure with the answer when that is an error
    std::string command(const std::string& line);
    /// The answer to `state`, a JSON object.
    [[nodiscard]] std::string state();

    /// Lets time pass in Stepped, or after stopTime(). Returns when it has.
    void run(std::chrono::milliseconds duration);
    /// Lets time stand, now or at a moment of the output.
    void stopTime();
    void stopTime(std::chrono::milliseconds at);
    /// Lets time pass again.
    void goOn();
    /// Returns when all that is queued now is the same in every run.
    void settle();
    void hold(unsigned streams);
    void await(const std::string& stream, std::chrono::milliseconds at = {});
    void at(std::chrono::milliseconds at, const std::string& command);
    /// Waits until a playback stream of this name has been played to its end. Looks every few
    /// milliseconds: for a stream that its program destroys at once, wait for the program.
    /// @throws Failure when the bound is over
    void untilFinished(const std::string& stream,
                       std::chrono::milliseconds bound = std::chrono::minutes(1));

    /// Faults, now; as commands they can also be given to at().
    void withdraw(const std::string& sink) { command("source withdraw " + sink); }
    void activate(const std::string& sink) { command("source activate " + sink); }
    void remove(const std::string& stream) { command("stream remove " + stream); }
    void uplinkRing(bool on) { command(on ? "uplink ring on" : "uplink ring off"); }
    /// Damages the next reply to a request, which is named as in the server's trace; "any" is each.
    /// @param client  name of a stream; by default the reply to any client
    /// @throws Failure when there is no such request
    void damageReply(Damage damage, const std::string& request, const std::string& client = {});
    /// The server answers nothing for so long, in real time.
    void stall(std::chrono::milliseconds duration);
    /// Ends the server as a crash does, and waits for that.
    void crash();

    /// Ends the server, so that it writes its files. The result is the same for each call until
    /// restart(), and stays valid.
    const Result& stop();
    /// Starts the server again, after crash() or stop() or while it runs: in the same instance and
    /// with the same options; time begins at 0, and settings have their initial values. Objects of
    /// the library see the loss of the server; those made later reach the new run. Files of the
    /// second run are in run2/ of directory(), and so on.
    /// @return the result of the run before
    /// @throws Failure when it does not come up
    Result restart();
    /// Of the runs that have ended, the first one first.
    [[nodiscard]] const std::deque<Result>& results() const;
    [[nodiscard]] bool isRunning() const;

private:
    class Inside;
    std::unique_ptr<Inside> mInside;
};

}  // namespace cabinaudio::testing
