// SPDX-License-Identifier: Apache-2.0
#include "tests/sound/SoundServer.h"

#include "devkit/pipewire/SessionFiles.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

namespace fs = std::filesystem;

constexpr char PIPEWIRE_CONFIGURATION[] = R"(
context.properties = {
    core.daemon = true
    core.name = pipewire-0
    support.dbus = false
    default.clock.rate = 48000
}
context.spa-libs = {
    api.alsa.*      = alsa/libspa-alsa
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-spa-node-factory }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-access args = { } }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-link-factory }
    { name = libpipewire-module-session-manager }
    { name = libpipewire-module-protocol-pulse args = { server.address = [ "unix:SOCKET" ] } }
]
context.objects = [
    { factory = spa-node-factory
      args = { factory.name = support.node.driver node.name = driver priority.driver = 20000 } }
    { factory = adapter
      args = {
          SINK
          node.name      = nothing
          media.class    = Audio/Sink
          audio.position = [ FL FR ]
          object.linger  = true
      }
    }
]
)";

constexpr char NULL_SINK[] = "factory.name = support.null-audio-sink";

// Finds a program and becomes it.
constexpr char SEARCH[] = "/usr/bin/env";

void writeText(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

bool accepts(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + ": too long");
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isThere =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return isThere;
}

}  // namespace

bool haveAll(const Words& programs) {
    const char* const path = std::getenv("PATH");
    return std::all_of(programs.begin(), programs.end(), [&](const std::string& program) {
        std::istringstream directories(path != nullptr ? path : "/usr/bin");
        for (std::string directory; std::getline(directories, directory, ':');)
            if (access((directory + "/" + program).c_str(), X_OK) == 0) return true;
        return false;
    });
}

Words SoundServer::programsOf(Kind kind) {
    if (kind == Kind::PulseAudio) return {"pulseaudio", "pactl", "parec"};
    return {"pipewire", "wireplumber", "pactl", "parec"};
}

SoundServer::SoundServer(Kind kind, std::string sinkArguments)
    : mKind(kind), mSinkArguments(std::move(sinkArguments)) {
    if (mKind == Kind::PipeWire) configurePipeWire();
    setenv("PULSE_SERVER", ("unix:" + file("socket")).c_str(), 1);
    start();
}

SoundServer::~SoundServer() {
    kill();
    unsetenv("PULSE_SERVER");
}

void SoundServer::start() {
    if (mKind == Kind::PulseAudio) {
        launch({"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
                "--log-target=stderr",
                "--load=module-null-sink sink_name=nothing rate=48000 " +
                    (mSinkArguments.empty() ? "norewinds=1" : mSinkArguments),
                "--load=module-native-protocol-unix auth-anonymous=1 socket=" + file("socket")});
    } else {
        launch({"pipewire", "-c", "pipewire.conf"});
        if (!eventually([this] { return accepts(file("pipewire-0")); }))
            throw std::runtime_error(contentsOf(file("log")));
        launch({"wireplumber"});
    }
    if (!eventually([this] { return accepts(file("socket")); }))
        throw std::runtime_error(contentsOf(file("log")));
    // A stream finds the sink once the policy has chosen it.
    const auto hasSink = [] {
        const Outcome info = runProgram({{SEARCH, "pactl", "info"}, {}, {}, "/dev/null"});
        return info.out.find("Default Sink: nothing") != std::string::npos;
    };
    if (!eventually(hasSink)) throw std::runtime_error(contentsOf(file("log")));
}

void SoundServer::kill() {
    for (const auto& process : mProcesses)
        process->send(SIGKILL);
    mProcesses.clear();
    std::error_code ignored;
    fs::remove(file("socket"), ignored);
}

void SoundServer::launch(const Words& words) {
    Start start = {words, environment()};
    start.words.insert(start.words.begin(), SEARCH);
    start.inChild = [log = file("log")] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(fd, STDOUT_FILENO);
        dup2(fd, STDERR_FILENO);
    };
    mProcesses.push_back(std::make_unique<Process>(start));
}

/// Nothing of the user's session.
Variables SoundServer::environment() const {
    const std::string here = mDirectory.path();
    const std::string noBus = "unix:path=" + file("no-bus");
    return {{"HOME", here},
            {"XDG_RUNTIME_DIR", here},
            {"XDG_CONFIG_HOME", here},
            {"XDG_STATE_HOME", here},
            {"PULSE_RUNTIME_PATH", file("run")},
            {"PULSE_STATE_PATH", file("run")},
            {"PULSE_SERVER", ""},
            {"PIPEWIRE_RUNTIME_DIR", here},
            {"PIPEWIRE_CONFIG_DIR", here},
            {"WIREPLUMBER_CONFIG_DIR", file("session")},
            {"DBUS_SESSION_BUS_ADDRESS", noBus},
            {"DBUS_SYSTEM_BUS_ADDRESS", noBus},
            {"LD_PRELOAD", ""}};
}

void SoundServer::configurePipeWire() const {
    std::string configuration = PIPEWIRE_CONFIGURATION;
    configuration.replace(configuration.find("SOCKET"), 6, file("socket"));
    configuration.replace(configuration.find("SINK"), 4,
                          mSinkArguments.empty() ? NULL_SINK : mSinkArguments);
    writeText(file("pipewire.conf"), configuration);
    pipewire::writeSession(file("session"));
}

Monitor::Monitor(const SoundServer& server)
    : mFile(server.file("heard")), mRecorder([this] {
          // Its standard output is a pipe, which nobody reads meanwhile.
          Start start = {{"/bin/sh", "-c",
                          "exec parec --device=nothing.monitor --format=s16le --rate=48000 "
                          "--channels=2 --latency-msec=20 >'" +
                              mFile + "'"}};
          start.inChild = [] { prctl(PR_SET_PDEATHSIG, SIGKILL); };
          return start;
      }()) {
    if (!eventually([this] { return !heard().empty(); }))
        throw std::runtime_error("the monitor records nothing");
}

std::vector<std::int16_t> Monitor::heard() const {
    return rawSamples(mFile);
}

std::vector<std::int16_t> rawSamples(const fs::path& file) {
    const std::string bytes = contentsOf(file);
    std::vector<std::int16_t> samples(bytes.size() / sizeof(std::int16_t));
    if (samples.empty()) return samples;
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(std::int16_t));
    return samples;
}

}  // namespace cabinaudio::test
