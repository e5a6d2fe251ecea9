// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/LinkPolicy.h>
#include <cabinaudio/testing/Server.h>

#include "testing/src/Programs.h"
#include "testing/src/Report.h"
#include "testing/src/ServerProcess.h"
#include "testing/src/Text.h"

#include <stdlib.h>
#include <sys/random.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::testing {
namespace {

constexpr char INSTANCE_VARIABLE[] = "CABINAUDIO_INSTANCE";
/// Where clients look for the user's diagnostics settings: a test is not to find them, and leaves
/// nothing there.
constexpr char CONFIG_VARIABLE[] = "CABINAUDIO_CONFIG_DIR";
/// On a busy machine, in an emulator, with sanitizers.
constexpr std::chrono::minutes ANSWER_BOUND{1};

std::string newInstance() {
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != sizeof random)
        throw Failure(withReason("cannot name a server instance"));
    char name[18];
    std::snprintf(name, sizeof name, "t%016llx", static_cast<unsigned long long>(random));
    return name;
}

std::string millisecondsIn(std::chrono::milliseconds time) {
    return std::to_string(time.count());
}

using Words = std::vector<std::string>;

void add(Words& words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
}

Words timeWords(const ServerOptions& options) {
    if (options.time == Time::Real) return {};
    if (options.time == Time::Fast) return {"--fast"};
    Words words = {"--time", options.time == Time::Lockstep ? "lockstep" : "stepped"};
    add(words, {"--patience", millisecondsIn(options.patience)});
    if (options.isStrict) words.emplace_back("--strict");
    if (options.hold != 0) add(words, {"--hold", std::to_string(options.hold)});
    for (const Await& one : options.await)
        add(words, {"--await", one.stream + "@" + millisecondsIn(one.at)});
    for (const At& one : options.at)
        add(words, {"--at", millisecondsIn(one.at) + ":" + one.command});
    return words;
}

Words serverWords(const ServerOptions& options, const std::string& directory) {
    Words words = {serverProgram(),
                   "--output",
                   "wav:" + directory + "/heard.wav",
                   "--report",
                   directory + "/report.json",
                   "--stems",
                   directory + "/stems"};
    add(words, timeWords(options));
    for (const auto& [tag, input] : options.inputs)
        add(words, {"--input", tag.empty() ? input : tag + "=" + input});
    add(words, options.arguments);
    return words;
}

/// Sets a variable of this process and restores its value at the end.
class EnvironmentChange {
public:
    EnvironmentChange(const char* name, const std::string& value) : mName(name) {
        if (const char* const before = getenv(name)) mBefore = before;
        setenv(name, value.c_str(), 1);
    }
    ~EnvironmentChange() {
        if (mBefore)
            setenv(mName, mBefore->c_str(), 1);
        else
            unsetenv(mName);
    }
    EnvironmentChange(const EnvironmentChange&) = delete;
    EnvironmentChange& operator=(const EnvironmentChange&) = delete;

private:
    const char* mName;
    std::optional<std::string> mBefore;
};

/// Time stands while a test thinks: the library must not give up the server meanwhile.
void limitWaits() {
    LinkPolicy policy = linkPolicy();
    policy.replyTimeout = std::chrono::minutes(1);
    policy.wakesOnServerLoss = true;
    setLinkPolicy(policy);
}

}  // namespace

class TestServer::Inside {
public:
    Inside(const ServerOptions& options, std::shared_ptr<TestDirectory> own, std::string directory)
        : mOwn(std::move(own)),
          mDirectory(std::move(directory)),
          mInstance(newInstance()),
          mOptions(options),
          mRunDirectory(mDirectory),
          mProcess(newProcess()),
          mChange(INSTANCE_VARIABLE, mInstance),
          mConfigChange(CONFIG_VARIABLE, configDirectory()) {
        limitWaits();
    }

    [[nodiscard]] std::string configDirectory() const { return mDirectory + "/config"; }
    [[nodiscard]] std::string logPath() const { return mRunDirectory + "/server.log"; }

    std::string ask(const std::string& line) const {  // NOLINT(modernize-use-nodiscard): "ok"
        std::string answer = mProcess->ask(line, mOptions.patience + ANSWER_BOUND);
        if (answer.rfind("error: ", 0) == 0)
            throw Failure("command '" + line + "': " + answer.substr(answer.find(' ') + 1));
        return answer;
    }

    const Result& end(int signal) {
        if (mHasEnded) return mResults.back();
        const bool isCrash = signal == SIGKILL && mProcess->isRunning();
        mProcess->send(signal);
        const int status = mProcess->wait(ANSWER_BOUND);
        std::error_code notEmpty;  // a test has put settings there
        std::filesystem::remove(configDirectory(), notEmpty);
        mResults.emplace_back(mOwn, mRunDirectory, WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                              WIFSIGNALED(status) ? WTERMSIG(status) : 0, isCrash);
        mHasEnded = true;
        return mResults.back();
    }

    void startAgain() {
        mRunDirectory = mDirectory + "/run" + std::to_string(mResults.size() + 1);
        std::filesystem::create_directories(mRunDirectory);
        mProcess = newProcess();
        mHasEnded = false;
    }

    [[nodiscard]] std::unique_ptr<ServerProcess> newProcess() const {
        return std::make_unique<ServerProcess>(serverWords(mOptions, mRunDirectory), mInstance,
                                               logPath(), mOptions.patience);
    }

    std::shared_ptr<TestDirectory> mOwn;
    std::string mDirectory;
    std::string mInstance;
    ServerOptions mOptions;
    std::string mRunDirectory;
    std::unique_ptr<ServerProcess> mProcess;
    EnvironmentChange mChange;
    EnvironmentChange mConfigChange;
    std::deque<Result> mResults;
    bool mHasEnded = false;
};

TestServer::TestServer(const ServerOptions& options) {
    auto own = std::make_shared<TestDirectory>();
    const std::string path = own->path();
    mInside = std::make_unique<Inside>(options, std::move(own), path);
}

TestServer::TestServer(const ServerOptions& options, const std::string& directory)
    : mInside(std::make_unique<Inside>(options, nullptr, directory)) {}

TestServer::~TestServer() {
    mInside->end(SIGTERM);
}

const std::string& TestServer::instance() const {
    return mInside->mInstance;
}

const std::string& TestServer::directory() const {
    return mInside->mDirectory;
}

pid_t TestServer::pid() const {
    return mInside->mProcess->pid();
}

std::string TestServer::log() const {
    return contentsOf(mInside->logPath());
}

std::string TestServer::command(const std::string& line) {
    return mInside->ask(line);
}

std::string TestServer::state() {
    return mInside->ask("state");
}

void TestServer::run(std::chrono::milliseconds duration) {
    mInside->ask("time run " + millisecondsIn(duration));
}

void TestServer::stopTime() {
    mInside->ask("time stop");
}

void TestServer::stopTime(std::chrono::milliseconds at) {
    mInside->ask("time stop " + millisecondsIn(at));
}

void TestServer::goOn() {
    mInside->ask("time go");
}

void TestServer::settle() {
    mInside->ask("time settle");
}

void TestServer::hold(unsigned streams) {
    mInside->ask("time hold " + std::to_string(streams));
}

void TestServer::await(const std::string& stream, std::chrono::milliseconds at) {
    mInside->ask("time await " + stream + " " + millisecondsIn(at));
}

void TestServer::at(std::chrono::milliseconds at, const std::string& command) {
    mInside->ask("at " + millisecondsIn(at) + " " + command);
}

void TestServer::untilFinished(const std::string& stream, std::chrono::milliseconds bound) {
    constexpr std::chrono::milliseconds PAUSE{5};
    const auto deadline = std::chrono::steady_clock::now() + bound;
    bool hasPlayed = false;
    for (;;) {
        const Playing playing = playingIn(state(), stream);
        // A stream that has ended is removed by its program at any time.
        if (playing.finishes > 0 || (hasPlayed && !playing.exists)) return;
        hasPlayed = hasPlayed || playing.isActive;
        if (std::chrono::steady_clock::now() >= deadline)
            throw Failure("stream \"" + stream + "\" has not finished within " +
                          millisecondsIn(bound) + " ms: it " +
                          (!playing.exists    ? "does not exist"
                           : playing.isActive ? "plays"
                                              : "does not play"));
        std::this_thread::sleep_for(PAUSE);
    }
}

void TestServer::damageReply(Damage damage, const std::string& request, const std::string& client) {
    const std::string how = damage == Damage::ShortReply ? "short-reply " : "wrong-magic ";
    mInside->ask("fault " + how + request + (client.empty() ? "" : " " + client));
}

void TestServer::stall(std::chrono::milliseconds duration) {
    mInside->ask("stall " + millisecondsIn(duration));
}

void TestServer::crash() {
    mInside->end(SIGKILL);
}

const Result& TestServer::stop() {
    return mInside->end(SIGTERM);
}

Result TestServer::restart() {
    Result before = mInside->end(SIGTERM);
    mInside->startAgain();
    return before;
}

const std::deque<Result>& TestServer::results() const {
    return mInside->mResults;
}

bool TestServer::isRunning() const {
    return mInside->mProcess->isRunning();
}

}  // namespace cabinaudio::testing
