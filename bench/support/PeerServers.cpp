// SPDX-License-Identifier: Apache-2.0
#include "bench/support/PeerServers.h"

#include "devkit/pipewire/SessionFiles.h"

#include <dlfcn.h>

#include <filesystem>
#include <string_view>

namespace cabinaudio::bench {

namespace {

namespace fs = std::filesystem;

/// The modules that a stream needs, and a sink that plays nothing. No session manager: the stream
/// is ready once the server has created its node; nothing links it to the sink.
constexpr char PIPEWIRE_CONFIGURATION[] = R"(
context.properties = {
    core.daemon = true
    core.name = cabinaudio-bench
    support.dbus = false
    default.clock.rate = 48000
}
context.spa-libs = {
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
    MODULES
]
context.objects = [
    { factory = adapter
      args = {
          factory.name     = support.null-audio-sink
          node.name        = nothing
          media.class      = Audio/Sink
          audio.position   = [ FL FR ]
          object.linger    = true
      }
    }
]
)";

std::string socketIn(const std::string& directory) {
    return directory + "/socket";
}

/// Path of this program's board stand-in: it maps the names of shared memory, so a server must use
/// the same one.
std::string boardLibrary() {
    Dl_info where{};
    void* const function = dlsym(RTLD_DEFAULT, "cabinaudio_board_active");
    return function != nullptr && dladdr(function, &where) != 0 ? where.dli_fname : "";
}

std::string busConfiguration(const std::string& directory) {
    return "<busconfig><type>custom</type><listen>" + busAddress(directory) +
           "</listen><auth>EXTERNAL</auth><policy context='default'>"
           "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
           "<allow own='*'/></policy></busconfig>";
}

}  // namespace

Daemon::Start pulseServer(const std::string& directory, const std::string& sinkArguments) {
    return {{"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1",
             "--disallow-module-loading=no", "--log-target=stderr",
             "--load=module-native-protocol-unix auth-anonymous=1 socket=" + socketIn(directory),
             "--load=module-null-sink " + sinkArguments},
            {"HOME=" + directory, "XDG_RUNTIME_DIR=" + directory, "PULSE_RUNTIME_PATH=" + directory,
             "PULSE_STATE_PATH=" + directory},
            directory + "/log"};
}

std::string pulseAddress(const std::string& directory) {
    return "unix:" + socketIn(directory);
}

Daemon::Start pipeWireServer(const std::string& directory, const std::string& modules) {
    constexpr std::string_view PLACE = "MODULES";
    std::string configuration = PIPEWIRE_CONFIGURATION;
    configuration.replace(configuration.find(PLACE), PLACE.size(), modules);
    writeFile(directory + "/pipewire.conf", configuration);
    return {{"pipewire", "-c", "pipewire.conf"},
            {"PIPEWIRE_CONFIG_DIR=" + directory, "PIPEWIRE_RUNTIME_DIR=" + directory,
             "HOME=" + directory},
            directory + "/log"};
}

Daemon::Start pipeWireSession(const std::string& directory) {
    const fs::path session = fs::path(directory) / "session";
    pipewire::writeSession(session);
    const std::string noBus = "unix:path=" + directory + "/no-bus";
    return {{"wireplumber"},
            {"WIREPLUMBER_CONFIG_DIR=" + session.string(), "PIPEWIRE_RUNTIME_DIR=" + directory,
             "PIPEWIRE_REMOTE=" + std::string(PIPEWIRE_CORE), "HOME=" + directory,
             "XDG_RUNTIME_DIR=" + directory, "XDG_STATE_HOME=" + directory,
             "DBUS_SESSION_BUS_ADDRESS=" + noBus, "DBUS_SYSTEM_BUS_ADDRESS=" + noBus},
            directory + "/session.log"};
}

Daemon::Start busServer(const std::string& directory) {
    writeFile(directory + "/bus.conf", busConfiguration(directory));
    return {{"dbus-daemon", "--config-file=" + directory + "/bus.conf", "--nofork", "--nopidfile",
             "--nosyslog"},
            {"HOME=" + directory},
            directory + "/log"};
}

std::string busAddress(const std::string& directory) {
    return "unix:path=" + socketIn(directory);
}

Daemon::Start jackServer(const std::string& directory, const std::string& name) {
    return {{"jackd", "--no-realtime", "--temporary", "--name", name, "-d", "dummy", "-r", "48000",
             "-p", "1024"},
            {"JACK_NO_AUDIO_RESERVATION=1", "HOME=" + directory, "LD_PRELOAD=" + boardLibrary()},
            directory + "/log"};
}

}  // namespace cabinaudio::bench
